#pragma once

// Turning the loop in tests, and pairs of descriptors to turn it with.

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <system_error>
#include <utility>

#include "platform/include/qelevsock.h"

/// Longer than anything takes on a loaded machine; what a test waits for comes long before.
constexpr std::chrono::seconds kBound{20};

/// Turns the loop until the condition holds; false when it never does.
template <class Condition>
bool turn_until(Condition condition) {
  const auto end = std::chrono::steady_clock::now() + kBound;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) {
      return false;
    }
    evsock_select_with_msecs(50);
  }
  return true;
}

/// A pair of descriptors that closes itself.
class Pair {
 public:
  static Pair sockets(int type = SOCK_STREAM) {
    Pair pair;
    if (socketpair(AF_UNIX, type, 0, pair.fds_) != 0) {
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
