#include "platform/include/qelipc.h"

#include <gmock/gmock.h>
#include <grp.h>

#include <cerrno>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/include/ctlcmd.h"
#include "platform/include/qeldaemon.h"
#include "platform/include/qelipc_client.h"
#include "tests/platform/children.h"
#include "tests/platform/private_bus.h"
#include "tests/platform/turns.h"

namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

struct Free {
  void operator()(qelipc* ipc) const { qelipc_destroy(ipc); }
  void operator()(qelipc_client* client) const { qelipc_client_close(client); }
};
using Endpoint = std::unique_ptr<qelipc, Free>;
using Client = std::unique_ptr<qelipc_client, Free>;

/// What came in, as "name|octets".
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

class Ipc : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(evsock_init(), 0); }
  void TearDown() override { evsock_exit(); }

  PrivateBus bus_;
};

TEST_F(Ipc, MessagesKeepTheirOctetsAndTheirOrder) {
  const Endpoint alice(qelipc_create("alice"));
  const Endpoint bob(qelipc_create("Bob's box_2"));
  ASSERT_TRUE(alice && bob);
  EXPECT_STREQ(qelipc_get_name(bob.get()), "Bob's box_2");
  Inbox inbox;
  ASSERT_EQ(qelipc_msg_register(bob.get(), Inbox::take, &inbox), 0);
  std::string all;
  for (int octet = 0; octet < 256; ++octet) {
    all += static_cast<char>(octet);
  }
  const std::string large(QELIPC_DATA_MAX, '\0');
  EXPECT_EQ(send(alice, "Bob's box_2", all), 0);
  EXPECT_EQ(send(alice, "Bob's box_2", ""), 0);
  EXPECT_EQ(send(alice, "Bob's box_2", large), 0);
  EXPECT_EQ(send(bob, "Bob's box_2", "self"), 0);
  ASSERT_TRUE(inbox.wait_for(4));
  std::erase(inbox.got, "Bob's box_2|self");  // from another sender: no order
  EXPECT_THAT(inbox.got, ElementsAre("alice|" + all, "alice|", "alice|" + large));

  inbox.got.clear();
  for (int i = 0; i < 500; ++i) {
    ASSERT_EQ(send(alice, "Bob's box_2", std::to_string(i)), 0);
  }
  ASSERT_TRUE(inbox.wait_for(500));
  for (std::size_t i = 0; i < 500; ++i) {
    ASSERT_EQ(inbox.got[i], "alice|" + std::to_string(i));
  }
}

TEST_F(Ipc, ReportsWhatCannotBeSent) {
  const Endpoint alice(qelipc_create("alice"));
  ASSERT_TRUE(alice);
  EXPECT_EQ(send(alice, "nobody", "x"), -ENXIO);
  EXPECT_EQ(send(alice, std::string(300, 'n').c_str(), "x"), -ENXIO);
  EXPECT_EQ(send(alice, "alice", std::string(QELIPC_DATA_MAX + 1, 'x')), -EMSGSIZE);
  EXPECT_EQ(qelipc_event_send(alice.get(), "bad \xff name", "x", 1), -EINVAL);
  EXPECT_EQ(qelipc_event_send(alice.get(), "nobody listens", "x", 1), 0);
  EXPECT_EQ(qelipc_msg_send(alice.get(), nullptr, "x", 1), -EINVAL);
  EXPECT_EQ(send(alice, "alice", "works on"), 0);
}

TEST_F(Ipc, ATakenNameCannotBeTakenAgainAndIsFreeAfterwards) {
  Endpoint first(qelipc_create("name"));
  ASSERT_TRUE(first);
  EXPECT_EQ(qelipc_create("name"), nullptr);
  EXPECT_EQ(errno, EEXIST);
  EXPECT_TRUE(Endpoint(qelipc_create("Name"))) << "case distinguishes names";
  EXPECT_TRUE(Endpoint(qelipc_create("")));
  EXPECT_EQ(qelipc_create(std::string(244, 'n').c_str()), nullptr);
  EXPECT_EQ(errno, EINVAL);
  first.reset();
  EXPECT_TRUE(Endpoint(qelipc_create("name")));

  Pair ready = Pair::pipe();
  const pid_t child = start_child([&] {
    if (qelipc_create("killed") != nullptr && write(ready[1], "r", 1) == 1) {
      pause();
    }
    return 2;
  });
  char octet;
  ASSERT_EQ(read(ready[0], &octet, 1), 1);
  EXPECT_EQ(qelipc_create("killed"), nullptr);
  kill(child, SIGKILL);
  EXPECT_EQ(end_of(child), -SIGKILL);
  Endpoint heir;
  EXPECT_TRUE(turn_until([&] {
    heir.reset(qelipc_create("killed"));
    return heir != nullptr;
  }));
}

TEST_F(Ipc, EventsReachEveryoneWhoAskedForThem) {
  const Endpoint source(qelipc_create("source"));
  const Endpoint first(qelipc_create("first"));
  const Endpoint second(qelipc_create("second"));
  ASSERT_TRUE(source && first && second);
  Inbox at_source, at_first, at_first_too, at_second;
  const std::string event = "link's \"up\", \\ or not";
  ASSERT_EQ(qelipc_event_register_notifier(source.get(), event.c_str(), Inbox::take, &at_source), 0);
  ASSERT_EQ(qelipc_event_register_notifier(first.get(), event.c_str(), Inbox::take, &at_first), 0);
  ASSERT_EQ(qelipc_event_register_notifier(first.get(), event.c_str(), Inbox::take, &at_first_too), 0);
  ASSERT_EQ(qelipc_event_register_notifier(first.get(), "end", Inbox::take, &at_first), 0);
  ASSERT_EQ(qelipc_event_register_notifier(second.get(), "end", Inbox::take, &at_second), 0);
  // A round trip after each subscription makes sure that the bus knows it.
  for (const Endpoint* endpoint : {&source, &first, &second}) {
    send(*endpoint, "nobody", "");
  }
  const std::string octets("a\0b\xff", 4);
  EXPECT_EQ(qelipc_event_send(source.get(), event.c_str(), octets.data(), 4), 0);
  EXPECT_EQ(qelipc_event_send(source.get(), "other", "x", 1), 0);
  EXPECT_EQ(qelipc_event_send(source.get(), "end", nullptr, 0), 0);
  ASSERT_TRUE(at_first.wait_for(2) && at_second.wait_for(1) && at_source.wait_for(1));
  EXPECT_THAT(at_source.got, ElementsAre(event + "|" + octets));
  EXPECT_THAT(at_first.got, ElementsAre(event + "|" + octets, "end|"));
  EXPECT_THAT(at_first_too.got, ElementsAre(event + "|" + octets));
  EXPECT_THAT(at_second.got, ElementsAre("end|"));

  EXPECT_EQ(qelipc_event_unregister_notifier(first.get(), event.c_str(), Inbox::take, &at_first_too), 1);
  EXPECT_EQ(qelipc_event_unregister_notifier(first.get(), event.c_str(), Inbox::take, &at_first_too), 0);
}

TEST_F(Ipc, ACallbackMayDestroyItsOwnEndpoint) {
  const Endpoint alice(qelipc_create("alice"));
  qelipc* doomed = qelipc_create("doomed");
  ASSERT_TRUE(alice && doomed != nullptr);
  static bool called = false;
  qelipc_msg_register(
      doomed,
      [](qelipc* self, const char*, void*, unsigned, void*) {
        called = true;
        qelipc_destroy(self);
      },
      nullptr);
  EXPECT_EQ(send(alice, "doomed", "x"), 0);
  EXPECT_EQ(send(alice, "doomed", "y"), 0);
  ASSERT_TRUE(turn_until([] { return called; }));
  EXPECT_EQ(send(alice, "doomed", "x"), -ENXIO);
}

TEST_F(Ipc, ExceptionsOfCallbacksLeaveTheTurn) {
  const Endpoint alice(qelipc_create("alice"));
  const Endpoint bob(qelipc_create("bob"));
  qelipc* doomed = qelipc_create("doomed");
  ASSERT_TRUE(alice && bob && doomed != nullptr);
  const qelipc_callback fail = [](qelipc*, const char*, void*, unsigned, void*) { throw std::runtime_error("fail"); };
  const auto turn_until_thrown = [] { EXPECT_THROW(turn_until([] { return false; }), std::runtime_error); };
  Inbox inbox;
  qelipc_msg_register(bob.get(), fail, nullptr);
  EXPECT_EQ(send(alice, "bob", "x"), 0);
  EXPECT_EQ(send(alice, "bob", "y"), 0);
  turn_until_thrown();
  qelipc_msg_register(bob.get(), Inbox::take, &inbox);
  ASSERT_TRUE(inbox.wait_for(1));
  EXPECT_THAT(inbox.got, ElementsAre("alice|y"));

  Inbox events;
  ASSERT_EQ(qelipc_event_register_notifier(bob.get(), "event", fail, nullptr), 0);
  ASSERT_EQ(qelipc_event_register_notifier(bob.get(), "event", Inbox::take, &events), 0);
  send(bob, "nobody", "");  // the bus knows the subscription then
  EXPECT_EQ(qelipc_event_send(alice.get(), "event", "e", 1), 0);
  turn_until_thrown();
  EXPECT_THAT(events.got, ElementsAre("event|e"));

  qelipc_msg_register(
      doomed,
      [](qelipc* self, const char*, void*, unsigned, void*) {
        qelipc_destroy(self);
        throw std::runtime_error("destroyed");
      },
      nullptr);
  EXPECT_EQ(send(alice, "doomed", "x"), 0);
  turn_until_thrown();
  EXPECT_EQ(send(alice, "doomed", "x"), -ENXIO);
}

TEST_F(Ipc, ComesBackAfterTheBusWasRestarted) {
  const Endpoint alice(qelipc_create("alice"));
  const Endpoint bob(qelipc_create("bob"));
  ASSERT_TRUE(alice && bob);
  Inbox messages, events;
  qelipc_msg_register(bob.get(), Inbox::take, &messages);
  qelipc_event_register_notifier(bob.get(), "event", Inbox::take, &events);
  for (int round = 0; round < 2; ++round) {
    bus_.stop();
    ASSERT_TRUE(turn_until([&] { return !qelipc_is_connected(alice.get()) && !qelipc_is_connected(bob.get()); }));
    EXPECT_EQ(send(alice, "bob", "x"), -ENOTCONN);
    EXPECT_EQ(qelipc_event_send(alice.get(), "event", "x", 1), -ENOTCONN);
    EXPECT_LE(evsock_select_with_msecs(600), 2) << "one attempt of each";
    ASSERT_TRUE(bus_.start());
    ASSERT_TRUE(turn_until([&] { return qelipc_is_connected(alice.get()) && qelipc_is_connected(bob.get()); }));
    EXPECT_EQ(qelipc_create("alice"), nullptr) << "the name is taken again";
    EXPECT_EQ(send(alice, "bob", "back"), 0);
    EXPECT_EQ(qelipc_event_send(alice.get(), "event", "e", 1), 0);
    ASSERT_TRUE(messages.wait_for(1) && events.wait_for(1));
    EXPECT_THAT(messages.got, ElementsAre("alice|back"));
    EXPECT_THAT(events.got, ElementsAre("event|e"));
    messages.got.clear();
    events.got.clear();
  }
}

TEST_F(Ipc, ABusThatDoesNotAnswerHoldsTheLoopUpOnlyOnceAndShortly) {
  const Endpoint alice(qelipc_create("alice"));
  ASSERT_TRUE(alice);
  bus_.freeze();
  const auto start = std::chrono::steady_clock::now();
  EXPECT_LT(send(alice, "alice", "x"), 0);
  for (int i = 0; i < 20; ++i) {
    evsock_select_with_msecs(0);
    EXPECT_LT(send(alice, "alice", "x"), 0);
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  bus_.thaw();
  EXPECT_TRUE(turn_until([&] { return qelipc_is_connected(alice.get()) == 1; }));
}

TEST_F(Ipc, WithoutABusNothingIsCreated) {
  bus_.stop();
  EXPECT_EQ(qelipc_create("alice"), nullptr);
  EXPECT_TRUE(errno == ECONNREFUSED || errno == ENOENT) << strerror(errno);
  EXPECT_EQ(qelipc_client_open(), nullptr);
}

TEST_F(Ipc, AnEndpointFollowsItsDaemonIntoTheBackground) {
  const pid_t command = start_child([&] {
    qelipc* daemon = qelipc_create("daemon");
    static bool asked = false;
    qelipc_msg_register(
        daemon,
        [](qelipc* self, const char* from, void*, unsigned, void*) {
          asked = true;
          qelipc_msg_send(self, from, "here", 4);
        },
        nullptr);
    if (daemon_start(0, 0) != 0) {
      return 2;
    }
    alarm(60);
    daemon_ready();
    turn_until([] { return asked; });
    qelipc_destroy(daemon);
    return 0;
  });
  ASSERT_EQ(end_of(command), 0);
  const Endpoint asker(qelipc_create("asker"));
  ASSERT_TRUE(asker);
  Inbox inbox;
  qelipc_msg_register(asker.get(), Inbox::take, &inbox);
  EXPECT_EQ(send(asker, "daemon", "where?"), 0);
  ASSERT_TRUE(inbox.wait_for(1));
  EXPECT_THAT(inbox.got, ElementsAre("daemon|here"));
}

/// A daemon with a shell in a child process, until it is told to quit.
class Shell : public Ipc {
 protected:
  void SetUp() override {
    Ipc::SetUp();
    Pair ready = Pair::pipe();
    daemon_ = start_child([&] {
      static qelipc* ipc = qelipc_create("shell daemon");
      static bool quit = false;
      static const ctlcmd_command built_in[] = {{"HELP", ctlcmd_help, "show help"},
                                                {"QUIT", ctlcmd_quit, "disconnect"}};
      const ctlcmd_table table = {built_in, 2};
      EXPECT_EQ(ctlcmd_listen_start(nullptr, "shell daemon", &table), -EINVAL);
      EXPECT_EQ(ctlcmd_listen_start(ipc, "shell daemon", &table), 0);
      EXPECT_EQ(ctlcmd_listen_start(ipc, "shell daemon", &table), -EBUSY);
      static const ctlcmd_command commands[] = {{"raw",
                                                 [](ctlcmd_session* session, int, const char* const*, void*) {
                                                   ctlcmd_printf(session, "caf\xe9 \xc3\xa9\n");
                                                   return CTLCMD_FAILED;
                                                 },
                                                 "octets"},
                                                {"event",
                                                 [](ctlcmd_session*, int, const char* const* argv, void*) {
                                                   return qelipc_event_send(ipc, argv[1], "data", 4);
                                                 },
                                                 "send an event"},
                                                {"deaf",
                                                 [](ctlcmd_session*, int, const char* const*, void*) {
                                                   ctlcmd_listen_stop(ipc);
                                                   return 0;
                                                 },
                                                 "end the shell"},
                                                {"end",
                                                 [](ctlcmd_session*, int, const char* const*, void*) {
                                                   quit = true;
                                                   return 0;
                                                 },
                                                 "end the daemon"}};
      EXPECT_EQ(ctlcmd_register_library("test", commands, 4), 0);
      if (write(ready[1], "r", 1) != 1) {
        return 2;
      }
      turn_until([] { return quit; });
      qelipc_destroy(ipc);
      EXPECT_EQ(ctlcmd_docommand("", "help"), CTLCMD_NO_COMMAND) << "the service ended with its endpoint";
      return 0;
    });
    char octet;
    ASSERT_EQ(read(ready[0], &octet, 1), 1);
    client_.reset(qelipc_client_open());
    ASSERT_TRUE(client_);
  }

  /// The answer, its result in `result_`, which keeps the error when there is no answer.
  std::string ask(const char* module, const char* line, const char* endpoint = "shell daemon") {
    char* answer = nullptr;
    const int status = qelipc_client_command(client_.get(), endpoint, module, line, 20000, &result_, &answer);
    if (status < 0) {
      result_ = status;
      return {};
    }
    const std::string text(answer);
    free(answer);
    return text;
  }

  pid_t daemon_ = -1;
  Client client_;
  int result_ = 0;
};

TEST_F(Shell, AnswersToolsOnTheBus) {
  std::vector<std::string> names;
  EXPECT_EQ(
      qelipc_client_list(
          client_.get(),
          [](void* list, const char* name) { static_cast<std::vector<std::string>*>(list)->push_back(name); }, &names),
      1);
  EXPECT_THAT(names, UnorderedElementsAre("shell daemon"));

  EXPECT_EQ(ask("", "help").find("commands of shell daemon:\n  HELP              show help\n"), 0u);
  EXPECT_EQ(result_, 0);
  ask(nullptr, "quit");
  EXPECT_EQ(result_, CTLCMD_CLOSED);
  ask("nomodule", "raw");
  EXPECT_EQ(result_, CTLCMD_NO_MODULE);
  EXPECT_EQ(ask("test", "raw"), "caf\xef\xbf\xbd \xc3\xa9\n");
  EXPECT_EQ(result_, CTLCMD_FAILED);
  ask("", "help", "nobody");
  EXPECT_EQ(result_, -ENXIO);
  ask("", "bad \xff");
  EXPECT_EQ(result_, -EINVAL);

  std::vector<std::string> events;
  const qelipc_client_event take = [](void* list, const char* endpoint, const char* event, const void* data,
                                      unsigned size) {
    static_cast<std::vector<std::string>*>(list)->push_back(std::string(endpoint) + "|" + event + "|" +
                                                            std::string(static_cast<const char*>(data), size));
  };
  ASSERT_EQ(qelipc_client_subscribe(client_.get(), "shell daemon", take, &events), 0);
  EXPECT_EQ(qelipc_client_wait(client_.get(), 0), 0);
  ask("test", "event up");
  EXPECT_EQ(result_, 0);
  while (events.empty()) {
    ASSERT_EQ(qelipc_client_wait(client_.get(), 20000), 1);
  }
  EXPECT_THAT(events, ElementsAre("shell daemon|up|data"));

  kill(daemon_, SIGSTOP);
  char* answer = nullptr;
  EXPECT_EQ(qelipc_client_command(client_.get(), "shell daemon", "", "help", 100, &result_, &answer), -ETIMEDOUT);
  kill(daemon_, SIGCONT);
  ask("test", "end");
  EXPECT_EQ(end_of(daemon_), 0);
}

TEST_F(Shell, CanBeClosed) {
  ask("test", "deaf");
  EXPECT_EQ(result_, 0);
  ask("test", "help");
  EXPECT_EQ(result_, -EOPNOTSUPP);
  kill(daemon_, SIGKILL);
  EXPECT_EQ(end_of(daemon_), -SIGKILL);
}

TEST(IpcPolicy, LetsInRootAndTheGroupOnly) {
  if (getuid() != 0) {
    GTEST_SKIP() << "needs root, to become others";
  }
  // The policy as shipped, on top of what a system bus allows by default, with a group that every machine has.
  std::ifstream file(QEL_BUS_POLICY);
  std::string policy{std::istreambuf_iterator<char>(file), {}};
  policy = policy.substr(policy.find("<busconfig>") + 11);
  policy = policy.substr(0, policy.find("</busconfig>"));
  const std::size_t group = policy.find("group=\"mesh\"");
  ASSERT_NE(group, std::string::npos);
  policy.replace(group, 12, "group=\"daemon\"");
  const PrivateBus bus(
      "<policy context=\"default\"><allow user=\"*\"/><deny own=\"*\"/><deny send_type=\"method_call\"/>"
      "<allow send_type=\"signal\"/><allow send_requested_reply=\"true\" send_type=\"method_return\"/>"
      "<allow send_requested_reply=\"true\" send_type=\"error\"/><allow receive_type=\"method_call\"/>"
      "<allow receive_type=\"method_return\"/><allow receive_type=\"error\"/><allow receive_type=\"signal\"/>"
      "<allow send_destination=\"org.freedesktop.DBus\"/></policy>" +
      policy);
  evsock_init();
  const Endpoint root(qelipc_create("root"));
  ASSERT_TRUE(root);
  Inbox inbox;
  qelipc_msg_register(root.get(), Inbox::take, &inbox);
  const struct group* members = getgrnam("daemon");
  ASSERT_NE(members, nullptr);
  const auto as_nobody = [&](gid_t gid, int expected_error) {
    return end_of(start_child([&] {
      if (setgroups(0, nullptr) != 0 || setgid(gid) != 0 || setuid(65534) != 0) {
        return 2;
      }
      const Endpoint own(qelipc_create("other"));
      EXPECT_EQ(own ? 0 : errno, expected_error);
      const Client client(qelipc_client_open());
      int result;
      char* answer = nullptr;
      // The root endpoint has no shell and does not turn: who gets through waits in vain.
      EXPECT_EQ(qelipc_client_command(client.get(), "root", "", "help", 200, &result, &answer),
                expected_error != 0 ? -expected_error : -ETIMEDOUT);
      return own ? -send(own, "root", "hello") : 0;
    }));
  };
  EXPECT_EQ(as_nobody(65534, EACCES), 0);
  EXPECT_EQ(as_nobody(members->gr_gid, 0), 0);
  ASSERT_TRUE(inbox.wait_for(1));
  EXPECT_THAT(inbox.got, ElementsAre("other|hello"));
  evsock_exit();
}

}  // namespace
