#include "platform/include/qelipc.h"

#include <poll.h>
#include <sys/socket.h>

#include "platform/include/ctlcmd.h"
#include "platform/linux/long_answers.h"
#include "tests/platform/children.h"
#include "tests/platform/ipc.h"
#include "tests/platform/private_bus.h"
#include "tests/platform/turns.h"

namespace {

/// What was received, as "name|octets".
struct Inbox {
  std::vector<std::string> got;

  static void take(qelipc*, const char* name, void* data, unsigned size, void* inbox) {
    static_cast<Inbox*>(inbox)->got.push_back(std::string(name) + "|" +
                                              std::string(static_cast<const char*>(data), size));
  }
  bool wait_for(std::size_t count) {
    return turn_until([&] { return got.size() >= count; });
  }
};

int send(const Endpoint& from, const char* to, const std::string& text) {
  return qelipc_msg_send(from.get(), to, text.data(), static_cast<unsigned>(text.size()));
}

class Ipc : public LoopTest {
 protected:
  void SetUp() override {
    LoopTest::SetUp();
    alice_.reset(qelipc_create("alice"));
    bob_.reset(qelipc_create("Bob's box_2"));
    ASSERT_TRUE(alice_ && bob_);
    qelipc_msg_register(bob_.get(), Inbox::take, &inbox_);
  }
  void TearDown() override {
    alice_.reset();
    bob_.reset();
    LoopTest::TearDown();
  }
  int tell_bob(const std::string& text) { return send(alice_, "Bob's box_2", text); }
  /// A round trip after a subscription ensures that the bus knows it.
  static void settle(const Endpoint& subscriber) { EXPECT_EQ(send(subscriber, "nobody", ""), -ENXIO); }

  PrivateBus bus_{PrivateBus::ALLOW_ALL +
                  "<policy context=\"default\"><deny receive_interface=\"org.qel.ipc.Endpoint1\" "
                  "receive_type=\"signal\"/><allow receive_sender=\"org.qel.ipc\"/></policy>"};
  Endpoint alice_, bob_;
  Inbox inbox_;  ///< Bob's messages
};

TEST_F(Ipc, MessagesKeepTheirOctetsAndTheirOrder) {
  std::string all;
  for (int octet = 0; octet < 256; ++octet) {
    all += static_cast<char>(octet);
  }
  std::vector<std::string> texts = {all, "", std::string(QELIPC_DATA_MAX, '\0')};
  for (int i = 0; i < 500; ++i) {
    texts.push_back(std::to_string(i));
  }
  for (std::string& text : texts) {
    EXPECT_EQ(tell_bob(text), 0);
    text.insert(0, "alice|");
  }
  ASSERT_TRUE(inbox_.wait_for(texts.size()));
  EXPECT_EQ(inbox_.got, texts);
  EXPECT_EQ(send(bob_, qelipc_get_name(bob_.get()), "to itself"), 0);
  ASSERT_TRUE(inbox_.wait_for(texts.size() + 1));
  EXPECT_EQ(inbox_.got.back(), "Bob's box_2|to itself");
}

TEST_F(Ipc, ReportsWhatCannotBeSent) {
  EXPECT_EQ(send(alice_, std::string(300, 'n').c_str(), "x"), -ENXIO);
  EXPECT_EQ(tell_bob(std::string(QELIPC_DATA_MAX + 1, 'x')), -EMSGSIZE);
  EXPECT_EQ(qelipc_event_send(alice_.get(), "bad \xff name", "x", 1), -EINVAL);
  EXPECT_EQ(qelipc_event_send(alice_.get(), "nobody listens", "x", 1), 0);
  EXPECT_EQ(qelipc_msg_send(alice_.get(), nullptr, "x", 1), -EINVAL);
  EXPECT_EQ(tell_bob("works on"), 0);
}

TEST_F(Ipc, ATakenNameCannotBeTakenAgainAndIsFreeAfterwards) {
  EXPECT_EQ(qelipc_create("alice"), nullptr);
  EXPECT_EQ(errno, EEXIST);
  EXPECT_TRUE(Endpoint(qelipc_create("Alice"))) << "case distinguishes names";
  EXPECT_TRUE(Endpoint(qelipc_create("")));
  EXPECT_EQ(qelipc_create(std::string(244, 'n').c_str()), nullptr);
  EXPECT_EQ(errno, EINVAL);
  alice_.reset();
  EXPECT_TRUE(Endpoint(qelipc_create("alice")));
}

TEST_F(Ipc, EventsReachEveryoneWhoAskedForThem) {
  Inbox at_alice, at_bob, removed;
  const std::string event = "link's \"up\", \\ or not";
  ASSERT_EQ(qelipc_event_register_notifier(alice_.get(), event.c_str(), Inbox::take, &at_alice), 0);
  ASSERT_EQ(qelipc_event_register_notifier(bob_.get(), event.c_str(), Inbox::take, &at_bob), 0);
  ASSERT_EQ(qelipc_event_register_notifier(bob_.get(), "end", Inbox::take, &at_bob), 0);
  settle(alice_);
  settle(bob_);
  const std::string octets("a\0b\xff", 4);
  EXPECT_EQ(qelipc_event_send(alice_.get(), event.c_str(), octets.data(), 4), 0);
  EXPECT_EQ(qelipc_event_send(alice_.get(), "other", "x", 1), 0);
  EXPECT_EQ(qelipc_event_send(alice_.get(), "end", nullptr, 0), 0);
  ASSERT_TRUE(at_bob.wait_for(2) && at_alice.wait_for(1));
  EXPECT_THAT(at_alice.got, ElementsAre(event + "|" + octets));
  EXPECT_THAT(at_bob.got, ElementsAre(event + "|" + octets, "end|"));

  // A notifier may take a later one away.
  const qelipc_callback remove = [](qelipc* ipc, const char* name, void*, unsigned, void* inbox) {
    EXPECT_EQ(qelipc_event_unregister_notifier(ipc, name, Inbox::take, inbox), 1);
    EXPECT_EQ(qelipc_event_unregister_notifier(ipc, name, Inbox::take, inbox), 0);
  };
  for (const auto& [notifier, inbox] : {std::pair(remove, &removed), {Inbox::take, &removed}, {Inbox::take, &at_bob}}) {
    ASSERT_EQ(qelipc_event_register_notifier(bob_.get(), "late", notifier, inbox), 0);
  }
  settle(bob_);
  EXPECT_EQ(qelipc_event_send(alice_.get(), "late", nullptr, 0), 0);
  ASSERT_TRUE(at_bob.wait_for(3));
  EXPECT_THAT(removed.got, IsEmpty());
}

TEST_F(Ipc, AFloodLeavesRoomForTheRestOfTheLoop) {
  constexpr std::size_t count = 200;
  for (std::size_t i = 0; i < count; ++i) {
    ASSERT_EQ(tell_bob("x"), 0);
  }
  settle(alice_);
  settle(bob_);  // all of them have arrived
  evsock_select_with_msecs(0);
  EXPECT_LE(inbox_.got.size(), 64u);
  EXPECT_TRUE(inbox_.wait_for(count));
}

TEST_F(Ipc, CallbacksMayThrowAndDestroyTheirOwnEndpoint) {
  const qelipc_callback fail = [](qelipc*, const char*, void*, unsigned, void*) { throw std::runtime_error("fail"); };
  const auto turn_until_thrown = [] { EXPECT_THROW(turn_until([] { return false; }), std::runtime_error); };
  qelipc_msg_register(bob_.get(), fail, nullptr);
  tell_bob("x");
  tell_bob("y");
  turn_until_thrown();
  qelipc_msg_register(bob_.get(), Inbox::take, &inbox_);
  ASSERT_TRUE(inbox_.wait_for(1));
  EXPECT_THAT(inbox_.got, ElementsAre("alice|y"));

  Inbox events;
  ASSERT_EQ(qelipc_event_register_notifier(bob_.get(), "event", fail, nullptr), 0);
  ASSERT_EQ(qelipc_event_register_notifier(bob_.get(), "event", Inbox::take, &events), 0);
  settle(bob_);
  EXPECT_EQ(qelipc_event_send(alice_.get(), "event", "e", 1), 0);
  turn_until_thrown();
  EXPECT_THAT(events.got, ElementsAre("event|e"));

  qelipc* const doomed = qelipc_create("doomed");
  ASSERT_NE(doomed, nullptr);
  const qelipc_callback destroy = [](qelipc* self, const char*, void*, unsigned, void*) {
    qelipc_destroy(self);
    throw std::runtime_error("destroyed");
  };
  qelipc_msg_register(doomed, destroy, nullptr);
  EXPECT_EQ(send(alice_, "doomed", "x"), 0);
  EXPECT_EQ(send(alice_, "doomed", "y"), 0);
  turn_until_thrown();
  EXPECT_EQ(send(alice_, "doomed", "z"), -ENXIO) << "at once";
}

TEST_F(Ipc, ComesBackAfterTheBusWasRestarted) {
  Inbox events;
  qelipc_event_register_notifier(bob_.get(), "event", Inbox::take, &events);
  const auto connected = [&](int wanted) {
    return turn_until(
        [&] { return qelipc_is_connected(alice_.get()) == wanted && qelipc_is_connected(bob_.get()) == wanted; });
  };
  for (int round = 0; round < 2; ++round) {
    bus_.stop();
    EXPECT_LT(qelipc_event_send(alice_.get(), "event", "x", 1), 0) << "before the loss is noticed";
    ASSERT_TRUE(connected(0));
    EXPECT_EQ(tell_bob("x"), -ENOTCONN);
    EXPECT_EQ(qelipc_event_send(alice_.get(), "event", "x", 1), -ENOTCONN);
    EXPECT_EQ(qelipc_create("carol"), nullptr);
    EXPECT_TRUE(errno == ECONNREFUSED || errno == ENOENT) << strerror(errno);
    EXPECT_EQ(qelipc_client_open(), nullptr);
    EXPECT_LE(evsock_select_with_msecs(600), 2) << "one attempt of each";
    ASSERT_TRUE(bus_.start());
    ASSERT_TRUE(connected(1));
    EXPECT_EQ(qelipc_create("alice"), nullptr) << "the name is taken again";
    EXPECT_EQ(tell_bob("back"), 0);
    EXPECT_EQ(qelipc_event_send(alice_.get(), "event", "e", 1), 0);
    ASSERT_TRUE(inbox_.wait_for(1) && events.wait_for(1));
    EXPECT_THAT(std::exchange(inbox_.got, {}), ElementsAre("alice|back"));
    EXPECT_THAT(std::exchange(events.got, {}), ElementsAre("event|e"));
  }
}

TEST_F(Ipc, ABusThatDoesNotAnswerHoldsTheLoopUpOnlyOnceAndShortly) {
  bus_.signal(SIGSTOP);
  const auto start = std::chrono::steady_clock::now();
  const std::string event(QELIPC_DATA_MAX, 'x');
  int result = 0;
  for (int i = 0; i < 100 && result == 0; ++i) {
    result = qelipc_event_send(alice_.get(), "event", event.data(), QELIPC_DATA_MAX);
  }
  EXPECT_EQ(result, -ENOBUFS);
  for (int i = 0; i < 20; ++i) {
    EXPECT_LT(tell_bob("x"), 0);
    evsock_select_with_msecs(0);
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  bus_.signal(SIGCONT);
  EXPECT_TRUE(turn_until([&] { return qelipc_is_connected(alice_.get()) == 1; }));
}

TEST(IpcAlone, WaitsForABusThatDoesNotAnswerNoLongerThanPromised) {
  PrivateBus bus;
  const int listener = bus.be_silent();
  ASSERT_GE(listener, 0);
  const auto times_out = [](auto open) {
    return start_child([open] {
      const auto start = std::chrono::steady_clock::now();
      EXPECT_FALSE(open());
      EXPECT_EQ(errno, ETIMEDOUT);
      EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(8));  // 5 on an idle machine
      EXPECT_LT(std::clock(), CLOCKS_PER_SEC) << "it waits";
      return 0;
    });
  };
  std::vector<pid_t> children;
  for (const bool authenticates : {false, true}) {
    children.push_back(times_out([] { return Endpoint(qelipc_create("name")) != nullptr; }));
    children.push_back(times_out([] { return Client(qelipc_client_open()) != nullptr; }));
    for (int count = 0; count < 2; ++count) {
      pollfd connecting{listener, POLLIN, 0};
      ASSERT_EQ(poll(&connecting, 1, 20000), 1);
      const int connection = accept(listener, nullptr, nullptr);  // kept open until the test ends
      const std::string welcome = "DATA\r\nOK 00112233445566778899aabbccddeeff\r\nAGREE_UNIX_FD\r\n";
      ASSERT_TRUE(!authenticates || write(connection, welcome.data(), welcome.size()) > 0);
    }
  }
  for (const pid_t child : children) {
    EXPECT_EQ(end_of(child), 0);
  }
  close(listener);
}

TEST_F(Ipc, GivesASilentBusUpForOneThatAnswers) {
  const int listener = bus_.be_silent();
  int taken = -1;
  ASSERT_TRUE(turn_until([&] { return (taken = accept(listener, nullptr, nullptr)) >= 0; }));
  ASSERT_TRUE(bus_.start());
  EXPECT_TRUE(turn_until([&] { return qelipc_is_connected(alice_.get()) && qelipc_is_connected(bob_.get()); }));
  close(taken);
  close(listener);
}

/// What a tool receives for a command: the result, a space and the answer; only the error if there is no answer.
std::string ask(const Client& client, std::vector<const char*> words) {
  int result = 0;
  char* answer = nullptr;
  words.push_back(nullptr);
  const int status = qelipc_client_command(client.get(), "alice", words.data(), 20000, &result, &answer);
  const std::unique_ptr<char, decltype(&free)> owner(answer, free);
  return status < 0 ? std::to_string(status) : std::to_string(result) + " " + answer;
}

int use_shell() {
  const Client client(qelipc_client_open());
  std::vector<std::string> got;
  const auto add = [](void* list, const char* name) { static_cast<std::vector<std::string>*>(list)->push_back(name); };
  EXPECT_EQ(qelipc_client_list(client.get(), add, &got), 2);
  EXPECT_THAT(std::exchange(got, {}), UnorderedElementsAre("alice", "Bob's box_2"));
  EXPECT_THAT(ask(client, {"help"}), StartsWith("0 commands of alice:\n  HELP              show help\n"));
  EXPECT_EQ(ask(client, {"quit"}), std::to_string(CTLCMD_CLOSED) + " ");
  EXPECT_EQ(ask(client, {"test", "raw"}), std::to_string(CTLCMD_FAILED) + " caf\xef\xbf\xbd \xc3\xa9\n");
  EXPECT_EQ(ask(client, {"help", "bad \xff"}), std::to_string(-EINVAL));
  EXPECT_EQ(ask(client, {"test", "say", "1", "big world", "a\"b", "", "\\"}), "0 [big world][a\"b][][\\]");
  const std::string longest(QELIPC_COMMAND_MAX - 12, 'x');  // including the words before it and the NULs
  EXPECT_EQ(ask(client, {"test", "say", "1", longest.c_str()}), "0 [" + longest + "]");
  EXPECT_EQ(ask(client, {"test", "say", "1", (longest + "x").c_str()}), std::to_string(-EMSGSIZE));
  std::string euros, whole = "0 ";
  for (int count = 0; count < 1365; ++count) {
    euros += "\xe2\x82\xac";
  }
  for (int count = 0; count < 4095; ++count) {
    whole += "[" + euros + "]";
  }
  EXPECT_TRUE(ask(client, {"test", "say", "4095", euros.c_str()}) == whole);
  EXPECT_EQ(ask(client, {"test", "say", "4096", euros.c_str()}),
            std::to_string(CTLCMD_TOO_LONG) + " the answer is longer than 16 MiB\n");
  EXPECT_EQ(ask(client, {"test", "deaf"}), "0 ");
  EXPECT_EQ(ask(client, {"test", "help"}), std::to_string(-EOPNOTSUPP));
  return 0;
}

TEST_F(Ipc, AShellAnswersToolsUntilItIsClosed) {
  const ctlcmd_command built_in[] = {{"HELP", ctlcmd_help, "show help"}, {"QUIT", ctlcmd_quit, "disconnect"}};
  const ctlcmd_table table = {built_in, 2};
  EXPECT_EQ(ctlcmd_listen_start(nullptr, "alice", &table), -EINVAL);
  EXPECT_EQ(ctlcmd_listen_start(alice_.get(), "alice", &table), 0);
  EXPECT_EQ(ctlcmd_listen_start(alice_.get(), "alice", &table), -EBUSY);
  const ctlcmd_handler raw = [](ctlcmd_session* session, int, const char* const*, void*) {
    ctlcmd_printf(session, "caf\xe9 \xc3\xa9\n");
    return CTLCMD_FAILED;
  };
  const ctlcmd_handler deaf = [](ctlcmd_session*, int, const char* const*, void* ipc) {
    ctlcmd_listen_stop(static_cast<qelipc*>(ipc));
    return 0;
  };
  const ctlcmd_handler say = [](ctlcmd_session* session, int, const char* const* words, void*) {
    for (int count = std::stoi(words[1]); count > 0; --count) {
      for (const char* const* word = words + 2; *word != nullptr; ++word) {
        ctlcmd_printf(session, "[%s]", *word);
      }
    }
    return 0;
  };
  const ctlcmd_command commands[] = {{"raw", raw, ""}, {"deaf", deaf, ""}, {"say", say, ""}};
  EXPECT_EQ(ctlcmd_register_library("test", commands, std::size(commands)), 0);
  EXPECT_EQ(ctlcmd_module_set_ctx("test", alice_.get()), 0);
  const pid_t tool = start_child(use_shell);
  int status = -1;
  EXPECT_TRUE(turn_until([&] { return waitpid(tool, &status, WNOHANG) == tool; }));
  EXPECT_EQ(status, 0);
  ctlcmd_unregister_library("test");
  EXPECT_EQ(ctlcmd_listen_start(alice_.get(), "alice", &table), 0) << "again";
  alice_.reset();
  EXPECT_EQ(ctlcmd_docommand("", "help"), CTLCMD_NO_COMMAND) << "the shell ended with its endpoint";
}

/// A client in the loop of the test, and what it was told.
struct LoopClient {
  std::vector<std::string> got;
  Client client{qelipc_client_open_in_loop(
      [](void* self) {
        static_cast<LoopClient*>(self)->got.emplace_back("lost");
        static_cast<LoopClient*>(self)->client.reset();
      },
      this)};

  int start(std::vector<const char*> words, const char* endpoint = "alice") {
    words.push_back(nullptr);
    const qelipc_client_answer take = [](void* list, int status, int result, const char* answer) {
      static_cast<std::vector<std::string>*>(list)->push_back(status < 0 ? std::to_string(status)
                                                                         : std::to_string(result) + " " + answer);
    };
    return qelipc_client_start_command(client.get(), endpoint, words.data(), 20000, take, &got);
  }
  bool wait_for(std::size_t count) {
    return turn_until([&] { return got.size() >= count; });
  }
};

TEST_F(Ipc, AClientInTheLoopIsServedInItsTurns) {
  const ctlcmd_handler repeat = [](ctlcmd_session* session, int, const char* const* words, void*) {
    for (int count = std::stoi(words[1]); count > 0; --count) {
      ctlcmd_printf(session, "%s", words[2]);
    }
    return CTLCMD_FAILED;
  };
  const ctlcmd_command command = {"REPEAT", repeat, ""};
  const ctlcmd_table table = {&command, 1};
  ASSERT_EQ(ctlcmd_listen_start(alice_.get(), "alice", &table), 0);
  LoopClient tool;
  ASSERT_TRUE(tool.client);
  EXPECT_EQ(tool.start({"REPEAT", "200000", "ab"}), 0);
  EXPECT_EQ(tool.start({"REPEAT"}, "nobody"), 0);
  EXPECT_EQ(tool.start({"\xff"}), -EINVAL);
  EXPECT_EQ(tool.start({std::string(QELIPC_COMMAND_MAX, 'x').c_str()}), -EMSGSIZE);
  const qelipc_client_event take = [](void* list, const char* endpoint, const char* event, const void*, unsigned) {
    static_cast<std::vector<std::string>*>(list)->push_back(std::string(endpoint) + "|" + event);
  };
  EXPECT_EQ(qelipc_client_subscribe(tool.client.get(), "alice", take, &tool.got), 0);
  EXPECT_TRUE(tool.got.empty()) << "nothing happens outside of turns";
  ASSERT_TRUE(tool.wait_for(2));
  EXPECT_THAT(tool.got, UnorderedElementsAre(std::to_string(-ENXIO), SizeIs(400000 + strlen("-1 "))));
  EXPECT_EQ(qelipc_event_send(alice_.get(), "up", "", 0), 0);
  ASSERT_TRUE(tool.wait_for(3));
  EXPECT_EQ(tool.got[2], "alice|up");

  EXPECT_EQ(tool.start({"REPEAT", "1", ""}), 0);
  bus_.stop();
  ASSERT_TRUE(tool.wait_for(5));
  EXPECT_THAT(std::vector(tool.got.begin() + 3, tool.got.end()), ElementsAre(std::to_string(-ENOTCONN), "lost"));
  EXPECT_FALSE(LoopClient().client) << "there is no bus";
  const int listener = bus_.be_silent();
  LoopClient early;
  ASSERT_TRUE(early.client);
  EXPECT_EQ(early.start({"REPEAT", "1", ""}), 0);
  ASSERT_TRUE(early.wait_for(2));
  EXPECT_THAT(early.got, ElementsAre(std::to_string(-ENOTCONN), "lost")) << "a bus that never answers";
  close(listener);
}

TEST(LongAnswers, AreKeptForWhoAskedAndWithinTheLimits) {
  using qel::platform::LongAnswers;
  LongAnswers answers;
  const LongAnswers::Text half(LongAnswers::KEPT / 2, 'x');
  const auto first = answers.begin(half, "a", 0), second = answers.begin(half, "a", 1);
  EXPECT_EQ(answers.go_on(first.more, "b", 2), std::nullopt) << "another client";
  EXPECT_NE(answers.go_on(first.more, "a", 2), std::nullopt);
  const auto third = answers.begin(half, "a", 3);  // no room for three, so the least recently used, the second, is
                                                   // dropped
  EXPECT_EQ(answers.go_on(second.more, "a", 3), std::nullopt);
  EXPECT_EQ(answers.next_overdue(), 2 + LongAnswers::PATIENCE_US);
  answers.drop_overdue(2 + LongAnswers::PATIENCE_US);
  EXPECT_EQ(answers.go_on(first.more, "a", 3), std::nullopt);
  EXPECT_NE(answers.go_on(third.more, "a", 3), std::nullopt);
}

}  // namespace
