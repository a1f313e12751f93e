// Daemons on routers: their ports are in bridges, which forward between them.
#include <linux/if_ether.h>
#include <sys/stat.h>

#include <cstdlib>
#include <regex>

#include "qel/ieee1905_1/message_builder.h"
#include "tests/mesh/mesh_fixture.h"
#include "tests/net/private_network.h"
#include "tests/support/testing.h"
#include "tools/meshd/entity/messages.h"

namespace meshd::test {
namespace {

using qel::test::add_veth_pair;
using qel::test::ip;

constexpr std::uint16_t OTHER_ETHERTYPE = 0x88B5;  // for experiments (IEEE Std 802-2014, 9.2.3)
const std::string WITHOUT_RIGHTS = "ERROR: meshd: cannot keep bridges from forwarding discovery between our ports: ";

/// A bridge that forwards at once, and LLDP too.
void add_bridge(const std::string& name, const std::vector<std::string>& ports) {
  ip("link add name " + name + " up type bridge stp_state 0 forward_delay 0 mcast_snooping 0 group_fwd_mask 0x4000");
  for (const std::string& port : ports) {
    ip("link set dev " + port + " master " + name);
  }
}

class BridgeTest : public MeshTest {
 protected:
  /// Which of these a bridge forwards from the far end of one cable to that of the other, by their places.
  std::set<std::size_t> forwarded(const std::string& from, const std::string& to, const MACAddress& al_mac) {
    const struct {
      MACAddress destination;
      Octets type;  // with the tags before it
    } frames[] = {{CMDU_MULTICAST_ADDRESS, {0x89, 0x3A}},
                  {CMDU_MULTICAST_ADDRESS, {0x81, 0x00, 0xA0, 0x00, 0x89, 0x3A}},
                  {MACAddress({0x01, 0x80, 0xC2, 0x00, 0x00, 0x0E}), {0x88, 0xCC}},
                  {al_mac, {0x89, 0x3A}},
                  {CMDU_MULTICAST_ADDRESS, {0x81, 0x00, 0x00, 0x05, 0x89, 0x3A}},
                  {CMDU_MULTICAST_ADDRESS, {OTHER_ETHERTYPE >> 8U, OTHER_ETHERTYPE & 0xFFU}},
                  {device_mac(99), {0x89, 0x3A}}};  // the last one goes through in any case
    const qel::FileDescriptor tap = qel::test::open_packet_socket(to, ETH_P_ALL);
    const qel::FileDescriptor plug = qel::test::open_packet_socket(from, OTHER_ETHERTYPE);
    for (std::size_t place = 0; place < std::size(frames); ++place) {
      Octets frame(60);
      std::ranges::copy(frames[place].destination.octets(), frame.begin());
      std::ranges::copy(device_mac(static_cast<std::uint8_t>(100 + place)).octets(), frame.begin() + 6);
      std::ranges::copy(frames[place].type, frame.begin() + 12);
      EXPECT_EQ(::send(plug.get(), frame.data(), frame.size(), 0), 60);
    }
    std::set<std::size_t> places;
    for (pollfd ready{tap.get(), POLLIN, 0}; !places.contains(std::size(frames) - 1) && poll(&ready, 1, 5000) == 1;) {
      Octets frame(60);
      // What the frames had of tags is taken off.
      if (recv(tap.get(), frame.data(), frame.size(), 0) >= 56 && frame[6] == 0x02 && frame[11] >= 100) {
        places.insert(frame[11] - 100U);
      }
    }
    return places;
  }
};

TEST_F(BridgeTest, NodesInAChainOfBridgesAreNeighborsOfTheNextOneOnly) {
  add_veth_pair("ba1", "bb0");
  add_veth_pair("bb1", "bc0");
  add_veth_pair("bc1", "bh");
  add_bridge("ba", {"ba1"});
  add_bridge("bb", {"bb0", "bb1"});
  add_bridge("bc", {"bc0", "bc1"});
  const MACAddress a = device_mac(1), b = device_mac(2), c = device_mac(3);
  start_meshd("bb", {"--al-mac", b.to_string(), "--interface", "bb"});
  ASSERT_TRUE(listens("bb"));
  start_meshd("ba", {"--al-mac", a.to_string(), "--interface", "ba1"});
  start_meshd("bc", {"--al-mac", c.to_string(), "--interface", "bc0", "bc1"});
  expect_view("bb", {answered(a), answered(c)});
  expect_view("ba", {answered(b)});
  expect_view("bc", {answered(b)});
  EXPECT_THAT(neighbors("ba"), AllOf(HasSubstr(b.to_string()), Not(HasSubstr(c.to_string()))));
  EXPECT_THAT(neighbors("bb"),
              AllOf(HasSubstr(a.to_string()), HasSubstr(" on bb0,"), HasSubstr(c.to_string()), HasSubstr(" on bb1,")));
  EXPECT_THAT(neighbors("bc"), AllOf(HasSubstr(b.to_string()), Not(HasSubstr(a.to_string()))));

  Plug host("bh");
  host.send(topology_notification(device_mac(30)), device_mac(30), device_mac(31));  // any frame of a host
  expect_view("ba", {answered(c), link(c, b), link(b, c), R"("hosts":\[[^]]*")" + device_mac(30).to_string()});
  expect_view("bc", {answered(a), link(a, b)});
}

TEST_F(BridgeTest, ABridgeForwardsAllButDiscoveryAndIsLeftAsItWas) {
  add_veth_pair("bd0", "bd1");
  add_veth_pair("be0", "be1");
  add_bridge("bd", {"bd0", "be0"});
  const MACAddress d = device_mac(4);
  const std::set<std::size_t> guarded = {4, 5, 6}, told = {0, 1, 2, 4, 5, 6}, all = {0, 1, 2, 3, 4, 5, 6};
  const auto forwards = [&] { return forwarded("bd1", "be1", d); };
  EXPECT_EQ(forwards(), all);
  const std::vector<std::string> options = {"--al-mac", d.to_string(), "--interface", "bd"};
  start_meshd("bd", options);
  ASSERT_TRUE(listens("bd"));
  EXPECT_EQ(forwards(), guarded);
  Plug plug("be1");
  const auto finds = [&](std::uint8_t device) {
    return eventually([&] {
      plug.send(topology_discovery(device_mac(device), device_mac(device)), device_mac(device));
      return contains(neighbors("bd"), device_mac(device).to_string());
    });
  };
  EXPECT_TRUE(finds(5));

  ip("link set dev be0 nomaster");
  EXPECT_TRUE(eventually([&] { return !contains(interfaces("bd"), "be0 "); })) << interfaces("bd");
  EXPECT_EQ(neighbors("bd"), "");
  ip("link set dev be0 master bd");
  EXPECT_TRUE(finds(6));
  EXPECT_EQ(forwards(), guarded);
  ip("link del dev bd");
  EXPECT_TRUE(eventually([&] { return interfaces("bd").empty(); })) << interfaces("bd");
  add_bridge("bd", {"be0", "bd0"});
  EXPECT_TRUE(finds(7));
  EXPECT_EQ(forwards(), guarded);

  daemons_.back().signal(SIGKILL);
  daemons_.back().wait();
  EXPECT_EQ(forwards(), told) << "what one that is killed leaves";
  start_meshd("bd2", options);
  ASSERT_TRUE(listens("bd2"));
  EXPECT_EQ(forwards(), guarded);
  daemons_.back().signal(SIGTERM);
  EXPECT_EQ(daemons_.back().wait(), 0);
  EXPECT_EQ(forwards(), all);

  Process& powerless = daemons_.emplace_back(
      Process(folder_, {"setpriv", "--bounding-set", "-all,+net_raw", MESHD, "--name", name("bd3"), "--interface",
                        "bd0", "be0", "--al-mac", d.to_string(), "--discovery-interval", "1"}));
  ASSERT_TRUE(listens("bd3"));
  EXPECT_TRUE(matches(powerless.err(), "^" + WITHOUT_RIGHTS +
                                           "[^\n]*not permitted[^\n]*\n"
                                           "ERROR: meshd: cannot add our address to bridge bd: [^\n]*not permitted\n"))
      << powerless.err();
  EXPECT_EQ(forwards(), all);
}

/// Another program has the table, and marks frames as we do.
TEST_F(BridgeTest, TriesAgainWhatIsRefusedAndLeavesForeignMarksAlone) {
  if (std::system("command -v nft >/dev/null") != 0) {
    GTEST_SKIP() << "nft is not installed";
  }
  add_veth_pair("bi0", "bi1");
  add_veth_pair("bj0", "bj1");
  add_bridge("bi", {"bi0", "bj0"});
  const std::string fifo = folder_ + "/nft";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  const Process nft = run({"sh", "-c", "exec nft -i <" + fifo});
  std::ofstream commands(fifo);
  commands << "add table bridge mesh_" << std::regex_replace(name("bi"), std::regex("_"), "_5f")
           << " { flags owner; }\nadd table bridge foreign\n"
              "add chain bridge foreign mark_all { type filter hook prerouting priority -200; }\n"
              "add rule bridge foreign mark_all meta mark set 0x893a\n"
           << std::flush;
  ASSERT_TRUE(
      eventually([] { return std::system("nft list chain bridge foreign mark_all 2>/dev/null | grep -q 0x") == 0; }));
  start_meshd("bi", {"--al-mac", device_mac(4).to_string(), "--interface", "bi"});
  EXPECT_TRUE(eventually([&] { return contains(daemons_.back().err(), WITHOUT_RIGHTS); }));
  nft.signal(SIGTERM);
  EXPECT_TRUE(eventually([&] { return forwarded("bi1", "bj1", device_mac(4)) == std::set<std::size_t>{5, 6}; }));
  EXPECT_FALSE(matches(daemons_.back().err(), WITHOUT_RIGHTS + "[^\n]*\n.*" + WITHOUT_RIGHTS)) << "said once";
}

TEST_F(BridgeTest, NobodyElseCanPretendToBeTheControllerToAnAgentNorBehindIt) {
  if (!std::filesystem::exists(MESHD_WIFI)) {
    GTEST_SKIP() << "meshd-wifi was not built";
  }
  add_veth_pair("bk0", "bk1");
  add_veth_pair("bl0", "bl1");
  add_veth_pair("bm0", "bm1");
  add_veth_pair("bn0", "bn1");
  add_bridge("bk", {"bk1", "bl0"});
  add_bridge("bm", {"bm0", "bn0"});
  const MACAddress controller = device_mac(40), agent = device_mac(41);
  start_meshd("bk0", {"--al-mac", controller.to_string(), "--interface", "bk0", "--controller"});
  start_meshd("bk", {"--al-mac", agent.to_string(), "--interface", "bk", "--agent", "--backhaul", "bk1"}, MESHD_WIFI);
  ASSERT_TRUE(listens("bk"));
  const std::string roles = "agent of controller " + controller.to_string() + "\norders are accepted on bk1\n";
  EXPECT_TRUE(eventually([&] { return mesh("bk", "ROLES") == roles; })) << mesh("bk", "ROLES");
  EXPECT_EQ(mesh("bk0", "ROLES"), "controller\n");
  EXPECT_TRUE(eventually([&] { return contains(meshctl({"mesh", name("bk0")}), "1 agent,"); }));
  EXPECT_THAT(meshctl({"ask", agent.to_string(), "capabilities", name("bk0")}),
              ::testing::AllOf(::testing::StartsWith("AP_CAPABILITY_REPORT_MESSAGE\ntype: AP_CAPABILITY\n"),
                               ::testing::HasSubstr("\ntook 0.")));
  EXPECT_EQ(meshctl({"ask", agent.to_string(), "client", name("bk0")}, 1), "'client' requires a client\n");

  const auto passes = [](Plug& from, Plug& to, const MACAddress& forged) {
    const Message message = make_message(MessageType::CHANNEL_SELECTION_REQUEST_MESSAGE, 1);
    from.send(message, forged, device_mac(99));
    from.send(message, forged, device_mac(99), {0x81, 0x00, 0xA0, 0x00});
    from.send(message, device_mac(42), device_mac(99));  // only its own name is free
    bool has_passed = false;
    EXPECT_TRUE(to.receive([&](const Frame& frame) {
      has_passed = has_passed || (frame.source == forged && frame.destination == device_mac(99));
      return frame.source == device_mac(42);
    }));
    return has_passed;
  };
  Plug stranger("bl1"), link("bk0");
  EXPECT_TRUE(eventually([&] { return !passes(stranger, link, controller); }));
  stranger.send(make_message(MessageType::MULTI_AP_POLICY_CONFIG_REQUEST_MESSAGE, 2), controller, agent);
  EXPECT_TRUE(eventually([&] {
    return contains(daemons_.back().err(), "refused the order 'policy' from " + controller.to_string() +
                                               " on bl0: bl0 is not marked with --backhaul\n");
  }));

  start_meshd("bm", {"--al-mac", device_mac(43).to_string(), "--interface", "bm", "--controller"});
  Plug one("bm1"), other("bn1");
  EXPECT_TRUE(eventually([&] { return !passes(one, other, device_mac(43)); })) << "nor to others behind itself";
}

/// STP keeps one of the links from forwarding; not even the nodes at its ends miss anything.
TEST_F(BridgeTest, ARingOfBridgesIsKnownWholeAtEachNode) {
  constexpr int SIZE = 4;
  const auto node = [](int number) { return "br" + std::to_string(number % SIZE); };
  for (int number = 0; number < SIZE; ++number) {
    add_veth_pair(node(number) + "r", node(number + 1) + "l");
  }
  for (int number = 0; number < SIZE; ++number) {
    add_bridge(node(number), {});
    ip("link set dev " + node(number) + " type bridge stp_state 1 forward_delay 200 hello_time 100");
    ip("link set dev " + node(number) + "l master " + node(number));
    ip("link set dev " + node(number) + "r master " + node(number));
    start_meshd(node(number), {"--interface", node(number), "--al-mac",
                               device_mac(static_cast<std::uint8_t>(20 + number)).to_string()});
  }
  for (int number = 0; number < SIZE; ++number) {
    for (int other = 1; other < SIZE; ++other) {
      const MACAddress far = device_mac(static_cast<std::uint8_t>(20 + (number + other) % SIZE));
      expect_view(node(number), {answered(far)});
      EXPECT_EQ(contains(neighbors(node(number)), far.to_string()), other != 2) << neighbors(node(number));
    }
  }
}

TEST_F(BridgeTest, ItsAddressLastsWhateverBecomesOfTheInterface) {
  add_veth_pair("bf0", "bf1");
  add_bridge("bf", {"bf0"});
  const auto address_with = [&](std::vector<std::string> options) {
    options.insert(options.end(), {"--interface", "bf"});
    Process& meshd = start_meshd("bf", options);
    EXPECT_TRUE(listens("bf"));
    const std::string seen = view("bf");
    meshd.signal(SIGTERM);
    EXPECT_EQ(meshd.wait(), 0);
    return seen.substr(seen.find("\"al_mac\":"), 29);
  };
  const std::vector<std::string> kept = {"--state-directory", folder_};
  const std::string address = address_with(kept);
  ip("link set dev bf0 address " + device_mac(8).to_string());
  EXPECT_EQ(address_with(kept), address);
  EXPECT_NE(address_with({}), address);
  EXPECT_THAT(daemons_.back().err(), HasSubstr("use --state-directory"));
  std::ofstream(folder_ + "/" + name("bf") + ".al_mac") << "01:80:C2:00:00:13\n";
  EXPECT_THAT(address_with(kept), HasSubstr("02:51:4C:BB:00:08")) << "no address of a device was kept";
  EXPECT_THAT(address_with({"--state-directory", "/nonexistent"}), HasSubstr("02:51:4C:"));
  EXPECT_THAT(daemons_.back().err(), HasSubstr("cannot keep the AL MAC address: /nonexistent/"));
}

TEST_F(BridgeTest, APatternStandsForWhatMatches) {
  start_meshd("p", {"--interface", "bp[0-9]*", "pb*", "--al-mac", device_mac(1).to_string()});
  ASSERT_TRUE(listens("p"));
  const auto has = [&](std::set<std::string> names) {
    return eventually([&] {
      std::set<std::string> seen;
      std::istringstream lines(interfaces("p"));
      for (std::string line; std::getline(lines, line);) {
        seen.insert(line.substr(0, line.find(' ')));
      }
      return seen == names;
    });
  };
  EXPECT_TRUE(has({}));
  add_veth_pair("bp0", "bpx");
  add_veth_pair("in0", "in1");
  add_bridge("pb0", {"in0"});
  EXPECT_TRUE(has({"bp0", "in0"})) << interfaces("p");
  ip("link set bpx down name bp1 up");
  ip("link set in0 nomaster");
  EXPECT_TRUE(has({"bp0", "bp1"})) << interfaces("p");
  ip("link set bp0 down name gone");
  EXPECT_TRUE(has({"bp1"})) << interfaces("p");
}

}  // namespace
}  // namespace meshd::test
