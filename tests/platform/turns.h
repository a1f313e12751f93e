#pragma once

// Helpers for running turns of the loop in tests: timers, watches and pairs of descriptors.

#include <sys/socket.h>
#include <unistd.h>

#include "platform/include/ctimer.h"
#include "platform/include/qelevsock.h"
#include "tests/support/testing.h"

/// Longer than anything takes on a loaded machine; tests normally wait much less.
constexpr std::chrono::seconds BOUND{20};

/// Runs turns until the condition is true. Returns false if it never is.
template <class Condition>
bool turn_until(Condition condition) {
  const auto end = std::chrono::steady_clock::now() + BOUND;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) {
      return false;
    }
    evsock_select_with_msecs(50);
  }
  return true;
}

/// A test with a loop and a list of the calls made.
class LoopTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(evsock_init(), 0); }
  void TearDown() override { evsock_exit(); }
  std::function<void()> log(const std::string& what) {
    return [this, what] { calls.push_back(what); };
  }

  std::vector<std::string> calls;
};

/// A pair of descriptors that closes itself.
class Pair {
 public:
  /// Connected sockets; the first has `content` to read.
  static Pair sockets(const char* content = "") {
    Pair pair;
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, pair.fds_) != 0 || write(pair.fds_[1], content, strlen(content)) < 0) {
      throw std::system_error(errno, std::generic_category());
    }
    return pair;
  }
  static Pair pipe() {
    Pair pair;
    if (::pipe(pair.fds_) != 0) {
      throw std::system_error(errno, std::generic_category());
    }
    return pair;
  }
  Pair(Pair&& other) noexcept : fds_{std::exchange(other.fds_[0], -1), std::exchange(other.fds_[1], -1)} {}
  ~Pair() {
    close_end(0);
    close_end(1);
  }

  int operator[](int end) const { return fds_[end]; }
  void close_end(int end) {
    if (fds_[end] >= 0) {
      close(std::exchange(fds_[end], -1));
    }
  }

 private:
  Pair() = default;
  int fds_[2] = {-1, -1};
};

/// Returns the next octet; NUL if none arrives.
inline char next_octet(int fd) {
  char octet = 0;
  return read(fd, &octet, 1) == 1 ? octet : '\0';
}

inline void say(int fd, char octet) { ASSERT_EQ(write(fd, &octet, 1), 1); }

/// A timer with a function to call; stopped when destroyed.
struct Timer {
  std::function<void()> action;
  ctimerhandle handle = nullptr;

  int start(int count, unsigned units) {
    return ctimer_setup_internal(
        0, &handle, 2, 0, count, units, [](ctimerhandle, void* self) { static_cast<Timer*>(self)->action(); }, this, 0,
        0);
  }
  int stop() { return ctimer_unsetup_internal(&handle, 2); }
  ~Timer() {
    if (handle != nullptr) {
      stop();
    }
  }
};

/// A watch with functions as handlers; removed when destroyed.
struct Watch {
  std::function<void()> readable = {};
  std::function<void()> writable = {};
  std::function<void()> hangup = {};
  std::function<void()> priority = {};
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
