#pragma once

#include <linux/nl80211.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "tools/meshd/wifi/message.h"

struct nl_sock;

namespace meshd::wifi {

/// What a question is about; with nothing set, about everything.
struct Subject {
  std::optional<std::uint32_t> wiphy;      ///< the kernel's number of a radio
  std::optional<std::uint32_t> interface;  ///< the kernel's number of an interface
};

/// A socket to nl80211 in this network namespace. It never blocks.
class Nl80211Socket {
 public:
  enum class Result {
    RECEIVED,  ///< something
    NOTHING,   ///< there is nothing to receive
    OVERRUN,   ///< events were lost
  };

  /// What came back. `DONE` is the end of an answer. `INTERRUPTED` is the end of one during which things changed: it
  /// may lack some. `REFUSED` ends an answer with an error.
  enum class Kind { MESSAGE, DONE, INTERRUPTED, REFUSED };
  struct Received {
    Kind kind = Kind::MESSAGE;
    Message message;  ///< valid until the handler returns
    int error = 0;    ///< an errno, for REFUSED
  };
  using Handler = std::function<void(const Received& received)>;
  /// Every datagram as it came, for recordings.
  using Tap = std::function<void(Octets datagram)>;

  /// Throws std::system_error: with ENOENT where the kernel has no nl80211, as it is without any radio.
  explicit Nl80211Socket(bool with_events);

  int get_fd() const;

  /// Asks for all that there is; the answer has one message or more for each. One question at a time: the next is sent
  /// after the end of the answer. Throws std::system_error.
  void ask_all(nl80211_commands command, const Subject& subject = {});

  /// Receives one datagram. Throws std::system_error when the socket fails.
  Result receive(const Handler& handle);

  void set_tap(Tap tap) { tap_ = std::move(tap); }

 private:
  void take(const nlmsghdr& header, Octets octets, const Handler& handle);

  std::unique_ptr<nl_sock, void (*)(nl_sock*)> socket_;
  int family_ = 0;
  bool is_interrupted_ = false;
  Tap tap_;
};

}  // namespace meshd::wifi
