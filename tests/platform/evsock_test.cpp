#include <arpa/inet.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <time.h>

#include <cstring>
#include <functional>
#include <list>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/include/ctimer.h"
#include "tests/platform/turns.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A watch with functions for handlers; removed with its end.
struct Watch {
  std::function<void()> readable;
  std::function<void()> writable;
  std::function<void()> hangup;
  std::function<void()> priority;
  evsock* handle = nullptr;

  void add(int fd) {
    handle =
        evsock_add_fd(fd, "watch", readable ? on<&Watch::readable> : nullptr, writable ? on<&Watch::writable> : nullptr,
                      hangup ? on<&Watch::hangup> : nullptr, priority ? on<&Watch::priority> : nullptr, nullptr, this);
    ASSERT_NE(handle, nullptr) << strerror(errno);
  }
  void remove() { evsock_remove_fd(std::exchange(handle, nullptr)); }
  ~Watch() { remove(); }

 private:
  template <std::function<void()> Watch::*handler>
  static void on(evsock* handle, void* self) {
    EXPECT_EQ(handle, static_cast<Watch*>(self)->handle);
    (static_cast<Watch*>(self)->*handler)();
  }
};

class Evsock : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(evsock_init(), 0); }
  void TearDown() override { evsock_exit(); }

  std::function<void()> log(const std::string& what) {
    return [this, what] { calls.push_back(what); };
  }

  std::vector<std::string> calls;
};

/// Two connected TCP sockets, which know priority data.
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

double cpu_seconds() {
  timespec used;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
  return static_cast<double>(used.tv_sec) + 1e-9 * static_cast<double>(used.tv_nsec);
}

TEST_F(Evsock, OneTurnGoesThroughItsPhasesAndEachInTheOrderOfRegistration) {
  const auto [peer, fd] = tcp_pair();
  const Pair other = Pair::sockets();
  Watch first{log("read 1"), log("write 1"), log("hangup 1"), log("priority 1")};
  Watch second{log("read 2"), log("write 2"), {}, {}};

  ASSERT_EQ(write(other[1], "x", 1), 1);  // the second is ready before the first
  ASSERT_EQ(send(peer, "x", 1, 0), 1);
  ASSERT_EQ(send(peer, "!", 1, MSG_OOB), 1);
  ASSERT_EQ(shutdown(peer, SHUT_WR), 0);
  for (const int event : {POLLRDHUP, POLLPRI, POLLIN}) {
    pollfd wait = {fd, static_cast<short>(event), 0};
    ASSERT_EQ(poll(&wait, 1, 20000), 1);
  }
  first.add(fd);
  second.add(other[0]);
  ctimerhandle timer = nullptr;
  ASSERT_EQ(ctimer_setup_internal(
                0, &timer, CTIMER_ONESHOT, 0, 0, 1000,
                [](ctimerhandle, void* list) { static_cast<std::vector<std::string>*>(list)->push_back("timer"); },
                &calls, 0, 0),
            0);

  EXPECT_EQ(evsock_select_with_msecs(1000), 7);
  EXPECT_THAT(calls, ElementsAre("timer", "priority 1", "read 1", "read 2", "write 1", "write 2", "hangup 1"));

  // What lasts is reported again only for reading.
  calls.clear();
  evsock_select_with_msecs(1000);
  EXPECT_THAT(calls, ElementsAre("read 1", "read 2"));
  first.remove();
  close(fd);
  close(peer);
}

TEST_F(Evsock, ReadingIsLevelTriggered) {
  const Pair pair = Pair::sockets();
  ASSERT_EQ(write(pair[1], "abc", 3), 3);
  std::string got;
  Watch watch;
  watch.readable = [&] {
    char octet;
    ASSERT_EQ(read(pair[0], &octet, 1), 1);
    got += octet;
  };
  watch.add(pair[0]);
  EXPECT_EQ(evsock_select_with_msecs(1000), 1);
  EXPECT_EQ(got, "a");
  evsock_select_with_msecs(1000);
  evsock_select_with_msecs(1000);
  EXPECT_EQ(got, "abc");
  EXPECT_EQ(evsock_select_with_msecs(0), 0);
}

TEST_F(Evsock, RemovedWatchesAreNotCalledAnyMore) {
  const Pair pair1 = Pair::sockets();
  const Pair pair2 = Pair::sockets();
  const Pair pair3 = Pair::sockets();
  for (const Pair* pair : {&pair1, &pair2, &pair3}) {
    ASSERT_EQ(write((*pair)[1], "x", 1), 1);
  }
  Watch self_remover;
  Watch victim{log("victim read"), log("victim write"), {}, {}};
  Watch newcomer{log("newcomer"), {}, {}, {}};
  self_remover.readable = [&] {
    calls.push_back("remover");
    self_remover.remove();
    victim.remove();
    newcomer.add(pair2[0]);  // ready, but not seen by this turn's wait
  };
  self_remover.writable = log("remover write");
  Watch last{log("last"), {}, {}, {}};
  self_remover.add(pair1[0]);
  victim.add(pair2[0]);
  last.add(pair3[0]);
  evsock_select_with_msecs(1000);
  EXPECT_THAT(calls, ElementsAre("remover", "last"));
  last.remove();
  calls.clear();
  evsock_select_with_msecs(1000);
  EXPECT_THAT(calls, ElementsAre("newcomer"));
}

TEST_F(Evsock, ATimerMayRemoveWatchesThatAreReady) {
  const Pair pair = Pair::sockets();
  ASSERT_EQ(write(pair[1], "x", 1), 1);
  Watch victim{log("victim"), log("victim"), {}, {}};
  victim.add(pair[0]);
  ctimerhandle timer = nullptr;
  ASSERT_EQ(ctimer_setup_internal(
                0, &timer, CTIMER_ONESHOT, 0, 0, 1,
                [](ctimerhandle, void* watch) { static_cast<Watch*>(watch)->remove(); }, &victim, 0, 0),
            0);
  EXPECT_EQ(evsock_select_with_msecs(1000), 1);
  EXPECT_THAT(calls, IsEmpty());
}

TEST_F(Evsock, TheWriteHandlerIsCalledOnceAndThenOnlyWhenThereIsAReason) {
  const Pair pair = Pair::sockets();
  int writes = 0;
  Watch watch;
  watch.writable = [&] { ++writes; };
  watch.add(pair[0]);
  EXPECT_EQ(evsock_select_with_msecs(1000), 1);
  for (int i = 0; i < 10; ++i) {
    evsock_select_with_msecs(0);
  }
  EXPECT_EQ(writes, 1);

  evsock_want_write(watch.handle);
  evsock_select_with_msecs(1000);
  EXPECT_EQ(writes, 2);

  // A finished write is no reason; an unfinished one is, once there is room again.
  EXPECT_EQ(evsock_bwrite(watch.handle, "abc", 3), 3);
  evsock_select_with_msecs(0);
  EXPECT_EQ(writes, 2);
  const std::string much(1 << 20, 'm');
  const int taken = evsock_bwrite(watch.handle, much.data(), much.size());
  ASSERT_GT(taken, 0);
  ASSERT_LT(taken, 1 << 20);
  EXPECT_EQ(evsock_bwrite(watch.handle, "more", 4), 0);
  evsock_select_with_msecs(0);
  EXPECT_EQ(writes, 2);
  std::string drain(much.size(), '\0');
  std::size_t drained = 0;
  while (drained < static_cast<std::size_t>(taken) + 3) {
    const ssize_t count = read(pair[1], drain.data(), drain.size());
    ASSERT_GT(count, 0);
    drained += static_cast<std::size_t>(count);
  }
  for (int i = 0; i < 10; ++i) {
    evsock_select_with_msecs(0);
  }
  EXPECT_EQ(writes, 3);
}

TEST_F(Evsock, AnIdleLoopWithWriteHandlersAndAHangUpUsesNoProcessorTime) {
  const Pair writer = Pair::sockets();
  Pair dead = Pair::sockets();
  Watch write_watch{{}, log("write"), {}, {}};
  Watch dead_watch{{}, log("write to dead"), log("hangup"), {}};
  write_watch.add(writer[0]);
  dead_watch.add(dead[0]);
  dead.close_end(1);
  ASSERT_TRUE(turn_until([&] { return calls.size() == 3; }));
  EXPECT_THAT(calls, ElementsAre("write", "write to dead", "hangup"));
  const double before = cpu_seconds();
  const auto start = std::chrono::steady_clock::now();
  int turns = 0;
  for (; std::chrono::steady_clock::now() - start < std::chrono::milliseconds(500); ++turns) {
    EXPECT_EQ(evsock_select_with_msecs(500), 0);
  }
  EXPECT_LE(turns, 5);
  EXPECT_LT(cpu_seconds() - before, 0.05);
}

TEST_F(Evsock, AddMakesNonBlockingAndBlockingModeCanBeRestored) {
  const Pair pair = Pair::sockets();
  const auto non_blocking = [&] { return (fcntl(pair[0], F_GETFL) & O_NONBLOCK) != 0; };
  ASSERT_FALSE(non_blocking());
  Watch watch{log("read"), {}, {}, {}};
  watch.add(pair[0]);
  EXPECT_TRUE(non_blocking());
  EXPECT_EQ(evsock_fd_blocking(watch.handle), 0);
  EXPECT_FALSE(non_blocking());
}

TEST_F(Evsock, WritingNeverBlocksAlsoInBlockingMode) {
  for (const bool is_pipe : {false, true}) {
    Pair pair = is_pipe ? Pair::pipe() : Pair::sockets();
    Watch watch{{}, log("write"), {}, {}};
    watch.add(pair[1]);
    ASSERT_EQ(evsock_fd_blocking(watch.handle), 0);
    EXPECT_GT(evsock_getobufsize(watch.handle), 512);
    const std::string much(100000, 'm');
    int taken = 0;
    do {
      taken = evsock_bwrite(watch.handle, much.data(), much.size());
      ASSERT_GE(taken, 0);
    } while (taken > 0);
    pair.close_end(0);
    EXPECT_EQ(evsock_bwrite(watch.handle, "x", 1), -EPIPE);
    EXPECT_EQ(evsock_bwrite(nullptr, "x", 1), -EINVAL);
    watch.remove();
  }
}

TEST_F(Evsock, EndOfFileIsReadable) {
  Pair pair = Pair::pipe();
  bool at_end = false;
  Watch watch;
  watch.readable = [&] {
    char octet;
    at_end = read(pair[0], &octet, 1) == 0;
    watch.remove();
  };
  watch.add(pair[0]);
  pair.close_end(1);
  EXPECT_TRUE(turn_until([&] { return at_end; }));
}

TEST_F(Evsock, AHandlerMayAddManyWatches) {
  const Pair pair = Pair::sockets();
  ASSERT_EQ(write(pair[1], "x", 1), 1);
  std::list<Watch> added;
  std::list<Watch> watches;
  for (const char* name : {"1", "2", "3", "4", "5", "6", "7", "8"}) {
    watches.push_back({log(name), {}, {}, {}});
    watches.back().add(pair[0]);
  }
  watches.front().readable = [&] {
    for (int i = 0; i < 1000; ++i) {
      added.push_back({log("added"), {}, {}, {}});
      added.back().add(pair[0]);
    }
  };
  EXPECT_EQ(evsock_select_with_msecs(1000), 8);
  EXPECT_THAT(calls, ElementsAre("2", "3", "4", "5", "6", "7", "8"));
}

TEST_F(Evsock, AnExceptionEndsTheTurnAndLeavesTheRestToTheNext) {
  Pair first_pair = Pair::sockets();
  Pair second_pair = Pair::sockets();
  Pair third_pair = Pair::sockets();
  Watch third;
  Watch first{[&] {
                third.remove();
                throw std::runtime_error("reading");
              },
              {},
              log("hangup 1"),
              {}};
  Watch second{{}, {}, log("hangup 2"), {}};
  third.hangup = log("hangup 3");
  for (const auto& [watch, pair] : {std::pair{&first, &first_pair}, {&second, &second_pair}, {&third, &third_pair}}) {
    watch->add((*pair)[0]);
    pair->close_end(1);
  }
  EXPECT_THROW(evsock_select_with_msecs(1000), std::runtime_error);
  EXPECT_THAT(calls, IsEmpty());
  first.readable = log("read 1");
  EXPECT_EQ(evsock_select_with_msecs(1000), 3);
  EXPECT_THAT(calls, ElementsAre("read 1", "hangup 1", "hangup 2"));

  // Removed before the next turn: not called any more.
  Pair last_pair = Pair::sockets();
  Watch last{{}, {}, log("hangup 4"), {}};
  last.add(last_pair[0]);
  last_pair.close_end(1);
  first.readable = [] { throw std::runtime_error("reading"); };
  EXPECT_THROW(evsock_select_with_msecs(1000), std::runtime_error);
  last.remove();
  first.readable = log("read 1");
  EXPECT_EQ(evsock_select_with_msecs(1000), 1);
}

TEST_F(Evsock, HandlersCannotTurnTheLoop) {
  const Pair pair = Pair::sockets();
  int result = 0;
  Watch watch;
  watch.writable = [&] { result = evsock_select_with_msecs(0); };
  watch.add(pair[0]);
  evsock_select_with_msecs(1000);
  EXPECT_EQ(result, -1);
}

TEST_F(Evsock, RefusesWhatItCannotWatch) {
  const Pair pair = Pair::sockets();
  const evsock_callback nothing = [](evsock*, void*) {};
  int object = 0;
  EXPECT_EQ(evsock_add_fd(-1, "x", nothing, nullptr, nullptr, nullptr, nullptr, nullptr), nullptr);
  EXPECT_EQ(errno, EBADF);
  EXPECT_EQ(evsock_add_fd(pair[0], "x", nothing, nullptr, nullptr, nullptr, &object, nullptr), nullptr);
  EXPECT_EQ(errno, EINVAL);
  evsock* first = evsock_add_fd(pair[0], "x", nothing, nullptr, nothing, nullptr, nullptr, nullptr);
  ASSERT_NE(first, nullptr);
  EXPECT_STREQ(evsock_get_name(first), "x");
  EXPECT_EQ(evsock_get_fd(first), pair[0]);
  EXPECT_EQ(evsock_add_fd(pair[0], "y", nothing, nullptr, nothing, nullptr, nullptr, nullptr), nullptr);
  EXPECT_EQ(errno, EEXIST);
  evsock* second = evsock_add_fd(pair[0], "y", nothing, nullptr, nullptr, nullptr, nullptr, nullptr);
  EXPECT_NE(second, nullptr);
  evsock_remove_fd(first);
  evsock_remove_fd(second);
}

TEST(EvsockLife, TheEndOfTheLoopStopsTimersAndLeavesWatchesToTheirOwners) {
  const Pair pair = Pair::sockets();
  ASSERT_EQ(evsock_init(), 0);
  ASSERT_EQ(evsock_init(), 0);
  int fired = 0;
  const ctimer_callback_fn fire = [](ctimerhandle, void* count) { ++*static_cast<int*>(count); };
  ctimerhandle timer = nullptr;
  ASSERT_EQ(ctimer_setup_internal(0, &timer, CTIMER_ONESHOT, 0, 0, 1, fire, &fired, 0, 0), 0);
  Watch watch;
  watch.writable = [] { FAIL() << "called after the end"; };
  watch.add(pair[0]);
  evsock_exit();
  EXPECT_NE(timer, nullptr) << "one user is left";
  evsock_exit();
  EXPECT_EQ(timer, nullptr);
  EXPECT_EQ(evsock_bwrite(watch.handle, "x", 1), 1);
  ASSERT_EQ(evsock_init(), 0);
  evsock_select_with_msecs(0);
  EXPECT_EQ(fired, 0);
  watch.remove();
  evsock_exit();
}

}  // namespace
