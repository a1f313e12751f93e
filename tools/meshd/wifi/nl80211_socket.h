#pragma once

#include <linux/nl80211.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

#include "tools/meshd/wifi/message.h"

struct nl_sock;

namespace meshd::wifi {

/// A socket of nl80211 in this network namespace. It never blocks.
class Nl80211Socket {
 public:
  enum class Result {
    RECEIVED,  ///< a datagram
    NOTHING,   ///< there is none
    OVERRUN,   ///< the buffer was full: datagrams are lost
  };

  /// What was received. The last three end an answer: `INTERRUPTED` means that things changed meanwhile, so the answer
  /// may be incomplete; `REFUSED` means an error.
  enum class Kind { MESSAGE, DONE, INTERRUPTED, REFUSED };
  struct Received {
    Kind kind = Kind::MESSAGE;
    Message message;  ///< valid until the handler returns
    int error = 0;    ///< for REFUSED, an errno
  };
  using Handler = std::function<void(const Received& received)>;
  using Tap = std::function<void(Octets datagram)>;

  /// Throws std::system_error, with ENOENT if the kernel has no nl80211.
  explicit Nl80211Socket(bool with_events);

  int get_fd() const;

  /// Asks for everything that the command lists, of one interface unless `interface` is 0. Ask the next question after
  /// the end of the answer. Throws std::system_error.
  void ask_all(nl80211_commands command, std::uint32_t interface = 0);

  /// Limits the transmit power of a radio. Use it on a socket without events that expects no answer: it takes the
  /// answer, which the kernel gives before it continues. Throws std::system_error, with the errno if the kernel
  /// refuses.
  void limit_power(std::uint32_t wiphy, int dbm);

  /// Receives a datagram and calls the handler for each message in it. Throws std::system_error if the socket fails.
  Result receive(const Handler& handle);

  /// Calls the function with every datagram from the kernel, unchanged.
  void set_tap(Tap tap) { tap_ = std::move(tap); }

 private:
  void take(const nlmsghdr& header, Octets octets, const Handler& handle);

  std::unique_ptr<nl_sock, void (*)(nl_sock*)> socket_;
  int family_ = 0;
  bool is_interrupted_ = false;
  Tap tap_;
};

}  // namespace meshd::wifi
