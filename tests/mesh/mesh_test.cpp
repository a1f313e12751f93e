// Daemons on real links: virtual cables in a network namespace of the test's own, and a message bus of its own.
#include <net/if.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <csignal>
#include <regex>

#include "qel/ieee1905_1/framework_tlvs.h"
#include "tests/mesh/mesh_fixture.h"
#include "tests/mesh/process.h"
#include "tests/net/private_network.h"
#include "tests/support/testing.h"
#include "tools/meshd/entity/frame.h"
#include "tools/meshd/entity/messages.h"

namespace meshd::test {
namespace {

TEST_F(MeshTest, ThreeInAChainFindEachOtherAndMissWhoLeaves) {
  qel::test::add_veth_pair("a0", "b0");
  qel::test::add_veth_pair("b1", "c0");
  const MACAddress a = device_mac(1), b = device_mac(2), c = device_mac(3);
  Process events = run({MESHCTL, "events", name("b")});
  Process json_events = run({MESHCTL, "events", "--json", name("b")});
  Process capture = run({MESHDUMP, "--reencode", "--interface", "a0"});
  Process kept = run({MESHDUMP, "--write", folder_ + "/capture", "--interface", "a0"});
  start_meshd("a", {"--al-mac", a.to_string(), "--interface", "a0"});
  start_meshd("b", {"--al-mac", b.to_string(), "--interface", "b0", "b1"});
  start_meshd("c", {"--al-mac", c.to_string(), "--interface", "c0"});

  expect_view("b", {answered(a), answered(c), link(a, b), link(c, b), link(b, a), link(b, c)});
  expect_view("a", {answered(b), link(b, c), listed(c)});
  EXPECT_THAT(meshctl({"list"}), name("a") + "\n" + name("b") + "\n" + name("c") + "\n");
  EXPECT_THAT(neighbors("b"),
              AllOf(HasSubstr(a.to_string()), HasSubstr(" on b0,"), HasSubstr(c.to_string()), HasSubstr(" on b1,")));

  EXPECT_THAT(mesh("b", "BLOCK", "b1"), "b1 is blocked\n");
  EXPECT_FALSE(contains(view("b"), c.to_string()));
  EXPECT_TRUE(matches(interfaces("b"), "b0 [^,]* up, [^\n]* frames\nb1 [^\n]*, blocked\n"));
  expect_view("a", {R"("blocked":\[\{"mac":"[^"]*","name":"b1","type":"ETHERNET","filter_actions":3\}\])"},
              c.to_string());
  EXPECT_TRUE(eventually([&] {
    return contains(capture.out(), " (b1) type: ETHERNET filter_actions: 0000000000000011");
  })) << capture.out();
  EXPECT_THAT(mesh("b", "UNBLOCK", "b1"), "b1 is not blocked\n");
  expect_view("a", {listed(c)}, R"("b1")");
  capture.signal(SIGTERM);
  EXPECT_EQ(capture.wait(), 0) << capture.err();
  EXPECT_THAT(capture.err(), HasSubstr(" re-encoded to the same octets, 0 differ, 0 not encodable"));
  EXPECT_THAT(capture.out(), HasSubstr("type: QEL_MESHD_VERSION_TLV QEL Meshd Version: "));

  daemons_[2].signal(SIGKILL);
  expect_view("b", {answered(a)}, c.to_string());
  expect_view("a", {}, c.to_string());
  EXPECT_TRUE(eventually([&] {
    return matches(events.out(), "(^|\n)2[0-9T:.-]+Z NEIGHBOR_LOST " + c.to_string() + "\n");
  })) << events.out()
      << events.err();
  EXPECT_TRUE(eventually([&] {
    return matches(json_events.out(), R"(\{"time":"2[0-9T:.-]+Z","name":")" + name("b") +
                                          R"(","event":"NEIGHBOR_LOST","data":")" + c.to_string() + "\"\\}\n");
  })) << json_events.out();
  EXPECT_THAT(meshctl({"topology"}, 2),
              HasSubstr("several daemons are running, name one of them: " + name("a") + ", " + name("b")));

  for (const std::size_t survivor : {0U, 1U}) {
    daemons_[survivor].signal(survivor == 0 ? SIGTERM : SIGINT);
    EXPECT_EQ(daemons_[survivor].wait(), 0);
  }
  EXPECT_FALSE(std::filesystem::exists("/dev/shm/" + name("a") + "_log"));
  EXPECT_THAT(meshctl({"list"}), IsEmpty());
  EXPECT_THAT(meshctl({"log", name("c")}), HasSubstr("found neighbor " + b.to_string())) << "of the one killed";
  if (const std::string ring = "/dev/shm/" + name("c") + "_log"; chown(ring.c_str(), 65534, 65534) == 0) {
    EXPECT_THAT(meshctl({"log", name("c")}, 1), HasSubstr(", not to root, to you or to the group"));
  }

  if (std::system("command -v tshark >/dev/null") != 0) {
    GTEST_SKIP() << "tshark, which would look at the frames too, is not installed";
  }
  kept.signal(SIGTERM);
  EXPECT_EQ(kept.wait(), 0) << kept.err();
  Process whole = run({"tshark", "-r", folder_ + "/capture", "-V"});
  ASSERT_EQ(whole.wait(), 0) << whole.err();
  EXPECT_THAT(whole.out(),
              AllOf(HasSubstr("Message type: Topology response (0x0003)"), HasSubstr("1905 device information type"),
                    HasSubstr("1905 neighbor device"), HasSubstr("End of message")));
  EXPECT_THAT(whole.out(), Not(testing::ContainsRegex("Expert Info \\((Note|Warning|Error)|Malformed")));
}

TEST_F(MeshTest, ASlowPortKeepsNothingElseWaiting) {
  for (const std::string port : {"s", "t", "u"}) {
    qel::test::add_veth_pair(port + "0", port + "1");
  }
  if (std::system("tc qdisc add dev t0 root tbf rate 1kbit burst 1600 limit 9000000") != 0) {
    GTEST_SKIP() << "no traffic shaping to be had";
  }
  start_meshd("s", {"--discovery-interval", "600", "--interface", "s0", "t0", "u0"});
  ASSERT_TRUE(listens("s"));
  Plug near("s1");
  Plug far("u1");
  for (std::uint8_t device = 1; device <= 150; ++device) {
    near.send(topology_notification(device_mac(device)), device_mac(device), CMDU_MULTICAST_ADDRESS, {},
              MAX_FRAME_SIZE);
    ASSERT_TRUE(far.receive([&](const Frame& frame) { return originator(frame) == device_mac(device); })) << +device;
  }
  EXPECT_THAT(interfaces("s"),
              testing::ContainsRegex("t0 [^\n]* dropped [1-9][0-9]? frames\nu0 .* dropped 0 frames\n"));
  const std::string trouble = "ERROR: meshd: cannot send on t0: Resource temporarily unavailable";
  EXPECT_TRUE(eventually([&] {
    return matches(daemons_[0].err(), trouble + "\n" + trouble + R"( \([1-9][0-9]? more times\))");
  })) << daemons_[0].err();
}

TEST_F(MeshTest, OnlyUntaggedFramesAreItsOwn) {
  qel::test::add_veth_pair("v0", "v1");
  qel::test::add_veth_pair("w0", "w1");
  start_meshd("v", {"--al-mac", device_mac(99).to_string(), "--interface", "v0", "w0"});
  ASSERT_TRUE(listens("v"));
  Plug near("v1");
  Plug far("w1");
  const struct {
    Octets tags;
    bool taken;
  } rows[] = {{{}, true},
              {{0x81, 0x00, 0x00, 0x00}, true},
              {{0x81, 0x00, 0xA0, 0x00}, true},
              {{0x81, 0x00, 0x00, 0x64}, false},
              {{0x88, 0xA8, 0x00, 0x64}, false},
              {{0x88, 0xA8, 0x00, 0x64, 0x81, 0x00, 0x00, 0x64}, false},
              {{0x81, 0x00, 0x00, 0x00, 0x81, 0x00, 0x00, 0x64}, false},
              {{}, true}};
  std::set<MACAddress> expected{device_mac(99)}, seen;  // the daemon's own, and what it relays
  std::uint8_t device = 0;
  for (const auto& [tags, taken] : rows) {
    const MACAddress sender = device_mac(++device);
    near.send(topology_notification(sender), sender, CMDU_MULTICAST_ADDRESS, tags);
    if (taken) {
      expected.insert(sender);
    }
  }
  EXPECT_TRUE(far.receive([&](const Frame& frame) {
    seen.insert(originator(frame));
    return originator(frame) == device_mac(device);
  }));
  seen.insert(device_mac(99));
  EXPECT_EQ(seen, expected);
}

/// The kernel reports what happens here: the next regular announcement would come in ten minutes.
TEST_F(MeshTest, FollowsItsInterface) {
  qel::test::add_veth_pair("m0", "m1");
  qel::test::ip("link set m1 down");
  qel::test::ip("link set m0 address " + device_mac(6).to_string());
  // As the service, which has one capability.
  daemons_.emplace_back(Process(folder_, {"setpriv", "--bounding-set", "-all,+net_raw", MESHD, "--name", name("m"),
                                          "--discovery-interval", "600", "--interface", "m0"}));
  ASSERT_TRUE(listens("m"));
  EXPECT_THAT(interfaces("m"), AllOf(HasSubstr("m0 "), HasSubstr(" down, ")));
  std::optional<Plug> plug(std::in_place, "m1");
  const auto announces = [&](const std::string& what, const MACAddress& address) {
    Codec codec;
    EXPECT_TRUE(plug->receive([&](const Frame& frame) {
      if (frame.head.get_message_type() != MessageType::TOPOLOGY_DISCOVERY_MESSAGE) {
        return false;
      }
      const Message message = codec.decode(frame);
      const auto& tlv = **std::next(message.get_list().get_TLV_list().begin());
      return static_cast<const MACAddressTLVCommon<TLVType::MAC_ADDRESS>&>(tlv).get_MAC() == address;
    })) << what;
  };
  const auto has_neighbor = [&](const std::string& interface) {
    return eventually([&] {
      plug->send(topology_discovery(device_mac(1), device_mac(2)), device_mac(1));
      return contains(neighbors("m"), " on " + interface + ",");
    });
  };
  const auto loses_neighbor = [&] { return eventually([&] { return neighbors("m").empty(); }); };
  qel::test::ip("link set m1 up");
  announces("carrier", device_mac(6));
  EXPECT_TRUE(has_neighbor("m0"));
  qel::test::ip("link set m1 down");
  EXPECT_TRUE(loses_neighbor()) << "carrier lost";
  qel::test::ip("link set m1 up");
  announces("carrier again", device_mac(6));
  qel::test::ip("link set m0 address " + device_mac(7).to_string());
  announces("new address", device_mac(7));
  const std::string index = std::to_string(if_nametoindex("m0"));
  qel::test::ip("link set m0 down");
  qel::test::ip("link set m0 name other");
  qel::test::ip("link set other up");
  EXPECT_TRUE(has_neighbor("other")) << interfaces("m");
  EXPECT_THAT(interfaces("m"), HasSubstr("other "));
  qel::test::remove_interface("other");
  EXPECT_TRUE(loses_neighbor()) << "gone";
  EXPECT_TRUE(eventually([&] { return contains(interfaces("m"), " down, "); }));
  qel::test::ip("link set lo name m0");
  EXPECT_TRUE(
      eventually([&] { return contains(daemons_[0].err(), "meshd: cannot use m0: not an Ethernet interface\n"); }));
  qel::test::ip("link set m0 name lo");
  const auto recreate = [&](const MACAddress& address) {  // by chance with the number of the old one
    qel::test::ip("link add m0 up index " + index + " address " + address.to_string() + " type veth peer name m1");
    plug.emplace("m1");
    qel::test::ip("link set m1 up");
  };
  recreate(device_mac(8));
  announces("recreated", device_mac(8));
  daemons_[0].signal(SIGSTOP);
  qel::test::remove_interface("m0");
  recreate(device_mac(9));
  daemons_[0].signal(SIGCONT);
  announces("recreated meanwhile", device_mac(9));
  EXPECT_TRUE(has_neighbor("m0")) << interfaces("m");
}

TEST_F(MeshTest, SaysWhyItCannotStart) {
  qel::test::add_veth_pair("g0", "g1");
  start_meshd("g", {"--interface", "g0"});
  ASSERT_TRUE(listens("g"));
  const struct {
    std::vector<std::string> options;
    int status;
    const char* text;
  } rows[] = {
      {{"--interface", "nosuch0"}, 1, "meshd: interface nosuch0: No such device\n"},
      {{"--interface", "nosuch0", "--daemonize"}, 1, "interface nosuch0"},
      {{"--interface", "nosuch*"}, 1, "meshd: interface nosuch*: none matches from whose"},
      {{"--interface", "lo"}, 1, "meshd: interface lo: not an Ethernet interface\n"},
      {{"--interface", "g0", "g0"}, 2, "'g0' is given twice"},
      {{"--interface", "g0", "--al-mac", "01:80:C2:00:00:13"}, 2, "not the MAC address of a"},
      {{"--interface", "g0", "--name", "n"}, 2, "--name is given twice"},
      {{"--interface", "g0", "--debug", "--daemonize"}, 2, "--debug needs a value"},
      {{"--interface", "g0", "--backhaul", "g0"}, 2, "give --agent too"},
      {{"--interface", "g0", "--policy", "p"}, 2, "give --controller too"},
      {{"--interface", "g0", "--agent"}, 1, "only meshd-wifi has"},
      {{"--interface", "g0", "--debug", "meshd", "nosuch"}, 2, "unknown component 'nosuch'; the components are "},
      {{"--interface", "g0", "--nosuch"}, 2, "unknown option '--nosuch'"},
      {{"--interface", "g0", "--discovery-interval", "3601"}, 2, "'3601' is not a number from 1 to 3600"},
      {{"g0"}, 2, "unexpected argument 'g0'"},
      {{}, 2, "--interface is required"},
  };
  for (const auto& row : rows) {
    Process& meshd = start_meshd("x", row.options);
    EXPECT_EQ(meshd.wait(), row.status) << row.text;
    EXPECT_THAT(meshd.err(), HasSubstr(row.text));
  }
  // What the fixed texts do not contain.
  const std::string full = "mount -t tmpfs -o size=4k none /dev/shm && exec \"$0\" --interface g1";
  const std::pair<std::vector<std::string>, const char*> causes[] = {
      {{MESHD, "--interface", "g1", "--name", name("g")}, "\": File exists\n.* might already be running\n"},
      {{"env", "QELIPC_BUS_ADDRESS=unix:path=/nonexistent", MESHD, "--interface", "g1", "--name", name("x")},
       "\": No such file or directory\n"},
      {{"unshare", "--mount", "sh", "-c", full, MESHD}, "\": No space left on device\n"}};
  for (const auto& [command, cause] : causes) {
    Process failing = run(command);
    EXPECT_EQ(failing.wait(), 1) << cause;
    EXPECT_THAT(failing.err(), testing::ContainsRegex(cause));
  }
}

TEST_F(MeshTest, TakesEveryComponentThatLogs) {
  const std::string root = QEL_TEST_DATA "/../../";
  Process grep = run({"grep", "-rhoE", "stream\\(\"[^\"]+", "--include=*.cpp", root + "qel", root + "tools/meshd"});
  ASSERT_EQ(grep.wait(), 0);
  std::vector<std::string> command{MESHD, "--interface", "nosuch0", "--name", name("o"), "--debug"};
  std::istringstream uses(grep.out());
  for (std::string use; std::getline(uses, use);) {
    command.push_back(use.substr(use.find('"') + 1));
  }
  EXPECT_GT(command.size(), 10U);
  Process meshd = run(command);
  EXPECT_EQ(meshd.wait(), 1) << meshd.err();
}

TEST_F(MeshTest, RunsInTheBackgroundOnceItWorks) {
  qel::test::add_veth_pair("h0", "h1");
  ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 1), 0);  // the daemon becomes our child when its parent ends
  Process& starter = start_meshd("h", {"--interface", "h0", "--daemonize"});
  EXPECT_EQ(starter.wait(), 0) << starter.err();
  EXPECT_THAT(view("h"), HasSubstr(R"("name":"h0")"));
  Plug plug("h1");
  EXPECT_TRUE(plug.receive(MessageType::TOPOLOGY_DISCOVERY_MESSAGE));
  Process log = run({MESHCTL, "log", "--follow", name("h")});
  ASSERT_TRUE(eventually([&] { return contains(log.out(), "meshd: " + name("h") + " is 02:"); })) << log.err();
  const pid_t daemon = child_that_runs(MESHD);
  ASSERT_GT(daemon, 0);
  expect_capabilities(daemon, "0000000000003000");
  kill(daemon, SIGTERM);
  int status = -1;
  EXPECT_EQ(waitpid(daemon, &status, 0), daemon);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(log.wait(), 0) << "the log ends with the daemon";
  EXPECT_THAT(log.out(), HasSubstr("meshd: exiting\n"));
  EXPECT_TRUE(eventually([&] { return meshctl({"list"}).empty(); }));
}

TEST_F(MeshTest, TheShellAnswersAndLeaves) {
  qel::test::add_veth_pair("i0", "i1");
  start_meshd("i", {"--interface", "i0"});
  ASSERT_TRUE(listens("i"));
  EXPECT_THAT(meshctl({"exec", name("i"), "HELP", "mesh"}), HasSubstr("NEIGHBORS"));
  EXPECT_THAT(mesh("i", "topology", "dot"), HasSubstr("graph mesh {\n"));
  EXPECT_EQ(meshctl({"topology", "--dot", name("i")}), mesh("i", "topology", "dot"));
  EXPECT_EQ(meshctl({"topology"}), meshctl({"topology", name("i")})) << "the only one";
  const struct {
    std::vector<std::string> words;
    int status;
    std::string said;
  } refused[] = {
      {{"exec", name("i"), "mesh", "TOPOLOGY", "PNG"}, 1, "the formats are"},
      {{"exec", name("i"), "mesh", "NOTHING"}, 1, "module \"mesh\" has no command \"NOTHING\", try HELP mesh\n"},
      {{"exec", name("i"), "mesh"}, 1, "module \"mesh\" needs one of its commands:\n  TOPOLOGY "},
      {{"exec", name("i"), "mesh", "BLOCK"}, 1, "the name of an interface is required\n"},
      {{"exec", name("i"), "mesh", "UNBLOCK", "i1"}, 1, "'i1' is not one of our interfaces\n"},
      {{"exec", name("i"), "mesh", "BLOCK", "[big, \"bad] world"}, 1, "'[big, \"bad] world' is not one of our"},
      {{"exec", name("i"), "mesh", "BLOCK", "--json"}, 1, "'--json' is not one of our"},
      {{"exec", name("i"), "--", "mesh", "BLOCK", ""}, 1, "the name of an interface is"},
      {{"exec", name("i"), std::string(65536, 'x')}, 1, "the command is longer than 64 KiB"},
      {{"exec", name("nobody"), "HELP"}, 1, "no daemon named"},
      {{"shell", name("nobody")}, 1, "no daemon named"},
      {{"topology", "--dot", "--json", name("i")}, 2, "meshctl --help"},
      {{"log", name("nobody")}, 1, "there is no log"},
      {{"radios", name("i")}, 1, "meshctl: '" + name("i") + "' has no Wi-Fi\n"},
      {{"clients", "--watch", name("i")}, 1, "' has no Wi-Fi\n"},
      {{"opclass", "--radio", "phy0"}, 1, "' has no Wi-Fi\n"},
      {{"mesh", name("i")}, 1, "' is no controller\n"},
      {{"plan", "--apply"}, 1, "' is no controller\n"},
      {{"channel", "attic", "36", "30"}, 2, "WIDTH: 30 not in"},
      {{"bogus"}, 2, "meshctl: unknown command 'bogus' (see"},
      {{"--bogus"}, 2, "unknown option '--bogus'"},
      {{}, 2, "a command is required"},
  };
  for (const auto& [words, status, said] : refused) {
    std::vector<std::string> command = words;
    command.insert(command.begin(), MESHCTL);
    Process process = run(command);
    EXPECT_EQ(process.wait(), status) << said;
    EXPECT_THAT(process.err(), HasSubstr(said));
    EXPECT_THAT(process.out(), IsEmpty()) << said;
  }
  EXPECT_THAT(meshctl({"shell", name("i")}, 0, "\nmesh COUNTERS\nwhat\nQUIT\nmesh INTERFACES\n"),
              AllOf(HasSubstr("rejected 0\n"), HasSubstr("what"), Not(HasSubstr("i0"))));
}

/// Sends a command of one word through the bus, and waits for the error.
void send_command(const std::string& name, const std::string& word) {
  sd_bus* bus = nullptr;
  sd_bus_message* call = nullptr;
  ASSERT_GE(sd_bus_new(&bus), 0);
  sd_bus_set_address(bus, std::getenv("QELIPC_BUS_ADDRESS"));
  sd_bus_set_bus_client(bus, 1);
  ASSERT_GE(sd_bus_start(bus), 0);
  const std::string label = std::regex_replace(name, std::regex("_"), "_5f");
  sd_bus_message_new_method_call(bus, &call, ("org.qel.ipc." + label).c_str(), ("/org/qel/ipc/" + label).c_str(),
                                 "org.qel.ipc.Endpoint1", "Command");
  ASSERT_GE(sd_bus_message_append(call, "as", 1, word.c_str()), 0);
  EXPECT_LT(sd_bus_call(bus, call, 20'000'000, nullptr, nullptr), 0);
  sd_bus_message_unref(call);
  sd_bus_close_unref(bus);
}

TEST_F(MeshTest, NobodyMakesItGrowThroughTheBus) {
  if (qel::test::SANITIZED) {
    GTEST_SKIP() << "memory is not limited under sanitizers";
  }
  qel::test::add_veth_pair("l0", "l1");
  start_meshd("l", {"--interface", "l0"});
  ASSERT_TRUE(listens("l"));
  for (const std::size_t size : {20'000'000U, 60'000'000U}) {
    send_command(name("l"), std::string(size, 'x'));
    EXPECT_TRUE(listens("l"));
  }
  Process peak = run({"grep", "-o", "VmHWM:.*", "/proc/" + std::to_string(child_that_runs(MESHD)) + "/status"});
  ASSERT_EQ(peak.wait(), 0);
  EXPECT_LT(std::stoul(peak.out().substr(6)), 48U * 1024) << "KiB";
}

/// Frames and turns of its timers fail meanwhile; an interface is exchanged.
TEST_F(MeshTest, OutlivesALackOfMemory) {
  if (qel::test::SANITIZED) {
    GTEST_SKIP() << "a sanitizer has an allocator of its own";
  }
  qel::test::add_veth_pair("p0", "p1");
  const std::string flag = folder_ + "/no_memory";
  daemons_.emplace_back(
      Process(folder_, {"env", "LD_PRELOAD=" + qel::test::program("scarce_memory.so"), "NO_MEMORY=" + flag, MESHD,
                        "--name", name("p"), "--discovery-interval", "1", "--interface", "p0"}));
  ASSERT_TRUE(listens("p"));
  Plug plug("p1");
  std::ofstream(flag).close();
  plug.send(topology_discovery(device_mac(1), device_mac(1)), device_mac(1));
  ASSERT_TRUE(eventually([&] { return std::filesystem::file_size(flag) > 5; }));
  qel::test::remove_interface("p0");
  qel::test::add_veth_pair("p0", "p1");
  std::filesystem::remove(flag);
  ASSERT_TRUE(listens("p"));
  EXPECT_TRUE(Plug("p1").receive(MessageType::TOPOLOGY_DISCOVERY_MESSAGE));
  EXPECT_THAT(daemons_[0].err(), testing::ContainsRegex("out of memory: lost 1 received frames and [1-9][0-9]* turns"));
  daemons_[0].signal(SIGTERM);
  EXPECT_EQ(daemons_[0].wait(), 0);
}

TEST_F(MeshTest, FramesAreCapturedLive) {
  qel::test::add_veth_pair("j0", "j1");
  Process capture = run({MESHDUMP, "--json", "--quiet", "--interface", "j1"});
  Plug plug("j1");
  Octets tagged = qel::test::frames_of_capture(TWO_NODES).at(0);
  Octets foreign = tagged;
  foreign[12] = 0x08;
  tagged.insert(tagged.begin() + 12, {0x81, 0x00, 0x00, 0x05});
  EXPECT_TRUE(eventually([&] {  // it may not listen yet
    plug.send(foreign);
    plug.send(tagged);  // captured on its way out
    return contains(capture.out(), R"("src":"02:19:05:AA:00:01")");
  })) << capture.err();
  expect_capabilities(child_that_runs(MESHDUMP), "0000000000000000");
  capture.signal(SIGINT);
  EXPECT_EQ(capture.wait(), 0);
  EXPECT_THAT(capture.err(), IsEmpty());
}

}  // namespace
}  // namespace meshd::test
