#include <arpa/inet.h>
#include <fcntl.h>
#include <poll.h>

#include <ctime>

#include "tests/platform/turns.h"

namespace {

using Evsock = LoopTest;

/// Two connected TCP sockets, which support priority data.
std::pair<int, int> tcp_pair() {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  const int listener = socket(AF_INET, SOCK_STREAM, 0);
  const int client = socket(AF_INET, SOCK_STREAM, 0);
  EXPECT_EQ(bind(listener, generic, size), 0);
  EXPECT_EQ(listen(listener, 1), 0);
  EXPECT_EQ(getsockname(listener, generic, &size), 0);
  EXPECT_EQ(connect(client, generic, size), 0);
  const int server = accept(listener, nullptr, nullptr);
  close(listener);
  return {client, server};
}

TEST_F(Evsock, OneTurnGoesThroughItsPhasesAndEachInTheOrderOfRegistration) {
  const auto [peer, fd] = tcp_pair();
  const Pair other = Pair::sockets("x");  // the second is ready before the first
  Watch first{log("read 1"), log("write 1"), log("hangup 1"), log("priority 1")};
  Watch second{log("read 2"), log("write 2")};
  Timer timer{log("timer")};

  ASSERT_EQ(send(peer, "x", 1, 0), 1);
  ASSERT_EQ(send(peer, "!", 1, MSG_OOB), 1);
  ASSERT_EQ(shutdown(peer, SHUT_WR), 0);
  for (const int event : {POLLRDHUP, POLLPRI, POLLIN}) {
    pollfd wait = {fd, static_cast<short>(event), 0};
    ASSERT_EQ(poll(&wait, 1, 20000), 1);
  }
  first.add(fd);
  second.add(other[0]);
  ASSERT_EQ(timer.start(0, 1000), 0);
  EXPECT_EQ(evsock_select_with_msecs(1000), 7);
  EXPECT_THAT(calls, ElementsAre("timer", "priority 1", "read 1", "read 2", "write 1", "write 2", "hangup 1"));

  // A lasting state is reported again only for reading.
  calls.clear();
  evsock_select_with_msecs(1000);
  EXPECT_THAT(calls, ElementsAre("read 1", "read 2"));
  EXPECT_EQ(next_octet(other[0]), 'x');
  evsock_select_with_msecs(1000);
  EXPECT_THAT(calls, ElementsAre("read 1", "read 2", "read 1"));
  first.remove();
  close(fd);
  close(peer);
}

TEST_F(Evsock, RemovedWatchesAreNotCalledAnyMore) {
  const Pair pairs[] = {Pair::sockets("x"), Pair::sockets("x"), Pair::sockets("x"), Pair::sockets("x")};
  Watch newcomer{log("newcomer")};
  Watch watches[] = {{{}, log("remover write")},
                     {log("victim read"), log("victim write")},
                     {log("victim of timer read"), log("victim of timer write")},
                     {log("last")}};
  watches[0].readable = [&] {
    calls.push_back("remover");
    watches[0].remove();
    watches[1].remove();
    newcomer.add(pairs[1][0]);  // ready, but not when this turn waited
  };
  for (int i = 0; i < 4; ++i) {
    watches[i].add(pairs[i][0]);
  }
  Timer timer{[&] { watches[2].remove(); }};
  ASSERT_EQ(timer.start(0, 1), 0);
  evsock_select_with_msecs(1000);
  EXPECT_THAT(calls, ElementsAre("remover", "last"));
  evsock_select_with_msecs(1000);
  EXPECT_THAT(calls, ElementsAre("remover", "last", "last", "newcomer"));
}

TEST_F(Evsock, TheWriteHandlerIsCalledOnceAndThenOnlyWhenThereIsAReason) {
  const Pair pair = Pair::sockets();
  int writes = 0;
  Watch watch{{}, [&] { ++writes; }};
  watch.add(pair[0]);
  const auto writes_after_turns = [&] {
    for (int i = 0; i < 10; ++i) {
      evsock_select_with_msecs(0);
    }
    return writes;
  };
  EXPECT_EQ(writes_after_turns(), 1);
  evsock_want_write(watch.handle);
  EXPECT_EQ(writes_after_turns(), 2);

  // A complete write does not cause a call; an incomplete one does, once there is room again.
  EXPECT_EQ(evsock_bwrite(watch.handle, "abc", 3), 3);
  EXPECT_EQ(writes_after_turns(), 2);
  std::string much(1 << 20, 'm');
  const int taken = evsock_bwrite(watch.handle, much.data(), much.size());
  ASSERT_TRUE(taken > 0 && taken < 1 << 20);
  EXPECT_EQ(evsock_bwrite(watch.handle, "more", 4), 0);
  EXPECT_EQ(writes_after_turns(), 2);
  EXPECT_EQ(recv(pair[1], much.data(), static_cast<std::size_t>(taken) + 3, MSG_WAITALL), taken + 3);
  EXPECT_EQ(writes_after_turns(), 3);
}

TEST_F(Evsock, APausedWatchIsNotReadFromAtOnceAndStillHearsTheRest) {
  Pair pair = Pair::sockets("x");
  const Pair other = Pair::sockets("x");
  Watch watch{log("read"), log("write"), log("hangup")};
  Watch pauser{[&] {
    evsock_want_read(watch.handle, 0);
    calls.push_back("pause");
  }};
  pauser.add(other[0]);
  watch.add(pair[0]);
  evsock_select_with_msecs(1000);
  pauser.remove();
  pair.close_end(1);
  ASSERT_TRUE(turn_until([&] { return calls.size() == 3; }));
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(evsock_select_with_msecs(20), 0);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20)) << "what is there ends no wait";
  evsock_want_read(watch.handle, 1);
  evsock_select_with_msecs(1000);
  EXPECT_THAT(calls, ElementsAre("pause", "write", "hangup", "read"));
}

TEST_F(Evsock, AnIdleLoopWithWriteHandlersAndAHangUpUsesNoProcessorTime) {
  const Pair writer = Pair::sockets();
  Pair dead = Pair::sockets();
  Watch write_watch{{}, log("write")};
  Watch dead_watch{{}, log("write to dead"), log("hangup")};
  write_watch.add(writer[0]);
  dead_watch.add(dead[0]);
  dead.close_end(1);
  ASSERT_TRUE(turn_until([&] { return calls.size() == 3; }));
  EXPECT_THAT(calls, ElementsAre("write", "write to dead", "hangup"));
  const std::clock_t before = std::clock();
  const auto start = std::chrono::steady_clock::now();
  int turns = 0;
  for (; std::chrono::steady_clock::now() - start < std::chrono::milliseconds(500); ++turns) {
    EXPECT_EQ(evsock_select_with_msecs(500), 0);
  }
  EXPECT_LE(turns, 5);
  EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 20);
}

TEST_F(Evsock, WritingNeverBlocksAlsoInBlockingMode) {
  for (const bool is_pipe : {false, true}) {
    Pair pair = is_pipe ? Pair::pipe() : Pair::sockets();
    const auto non_blocking = [&] { return (fcntl(pair[1], F_GETFL) & O_NONBLOCK) != 0; };
    Watch watch{{}, log("write")};
    watch.add(pair[1]);
    EXPECT_TRUE(non_blocking());
    ASSERT_EQ(evsock_fd_blocking(watch.handle), 0);
    EXPECT_FALSE(non_blocking());
    EXPECT_GT(evsock_getobufsize(watch.handle), 512);
    const std::string much(100000, 'm');
    while (evsock_bwrite(watch.handle, much.data(), much.size()) > 0) {
    }
    pair.close_end(0);
    EXPECT_EQ(evsock_bwrite(watch.handle, "x", 1), -EPIPE);
  }
}

TEST_F(Evsock, AHandlerMayAddManyWatchesButCannotTurnTheLoop) {
  const Pair pair = Pair::sockets("x");
  std::list<Watch> added;
  Watch adder{[&] {
    EXPECT_EQ(evsock_select_with_msecs(0), -1);
    for (int i = 0; i < 1000; ++i) {
      added.push_back({log("added")});
      added.back().add(pair[0]);
    }
  }};
  Watch next{log("next")};
  adder.add(pair[0]);
  next.add(pair[0]);
  EXPECT_EQ(evsock_select_with_msecs(1000), 2);
  EXPECT_THAT(calls, ElementsAre("next"));
}

TEST_F(Evsock, AnExceptionEndsTheTurnAndLeavesTheRestToTheNextWhichComesAtOnce) {
  Pair pairs[] = {Pair::sockets(), Pair::sockets(), Pair::sockets(), Pair::sockets()};
  Watch watches[] = {{{}, {}, {}}, {{}, {}, log("hangup 2")}, {{}, {}, log("hangup 3")}, {{}, {}, log("hangup 4")}};
  watches[0].hangup = [&] {
    watches[2].remove();
    throw std::runtime_error("hangup 1");
  };
  for (int i = 0; i < 4; ++i) {
    watches[i].add(pairs[i][0]);
    pairs[i].close_end(1);
  }
  EXPECT_THROW(evsock_select_with_msecs(1000), std::runtime_error);
  EXPECT_THAT(calls, IsEmpty());
  watches[3].remove();  // before the next turn
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(evsock_select_with_msecs(20'000), 1);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
  EXPECT_THAT(calls, ElementsAre("hangup 2"));
}

TEST_F(Evsock, RefusesWhatItCannotWatch) {
  const Pair pair = Pair::sockets();
  int object = 0;
  const auto error_of_adding = [](int fd, void* reserved) {
    const evsock_callback nothing = [](evsock*, void*) {};
    return evsock_add_fd(fd, "x", nothing, nullptr, nothing, nullptr, reserved, nullptr) == nullptr ? errno : 0;
  };
  EXPECT_EQ(error_of_adding(-1, nullptr), EBADF);
  EXPECT_EQ(error_of_adding(pair[0], &object), EINVAL);
  Watch first{[] {}, {}, [] {}};
  first.add(pair[0]);
  EXPECT_EQ(error_of_adding(pair[0], nullptr), EEXIST) << "hang-ups of one descriptor go to one watch";
  EXPECT_EQ(evsock_bwrite(nullptr, "x", 1), -EINVAL);
}

TEST(EvsockLife, TheEndOfTheLoopStopsTimersAndLeavesWatchesToTheirOwners) {
  const Pair pair = Pair::sockets();
  ASSERT_EQ(evsock_init(), 0);
  ASSERT_EQ(evsock_init(), 0);
  Timer timer{[] {}};
  ASSERT_EQ(timer.start(0, 1), 0);
  Watch watch{[] {}};
  watch.add(pair[0]);
  evsock_exit();
  EXPECT_NE(timer.handle, nullptr) << "one user is left";
  evsock_exit();
  EXPECT_EQ(timer.handle, nullptr);
  EXPECT_EQ(evsock_bwrite(watch.handle, "x", 1), 1);
}

}  // namespace
