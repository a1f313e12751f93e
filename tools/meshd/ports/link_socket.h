#pragma once

#include <functional>
#include <optional>
#include <string>

#include "qel/core/mac_address.h"
#include "tools/meshd/entity/local_interface.h"
#include "tools/meshd/ports/netlink.h"

namespace meshd {

/// A network interface as the kernel tells of it.
struct Link {
  unsigned int index = 0;  ///< the kernel's number of it, never 0; another may get it when this one is gone
  std::string name;
  std::optional<qel::MACAddress> mac;  ///< nothing for what is no Ethernet
  unsigned int bridge = 0;             ///< the number of the bridge that it is a port of; 0 when of none
  bool is_bridge = false;
  std::uint64_t sent_octets = 0;
  InterfaceState state;  ///< without speed and availability
};

/// Asks the kernel for the interfaces of this network namespace and hears of their changes (rtnetlink(7)).
class LinkSocket {
 public:
  enum class Event {
    LINK,         ///< how one is now: the answer to a question, or a change
    LINK_GONE,    ///< of its fields the number counts
    ALL_TOLD,     ///< the answer to ask_all() is complete
    INTERRUPTED,  ///< it has ended, and may lack some
  };
  using Handler = std::function<void(Event event, const Link& link)>;
  using Result = netlink::Socket::Result;

  /// Throws std::system_error, as all functions do.
  explicit LinkSocket(bool with_changes);

  int get_fd() const { return socket_.get_fd(); }

  void ask(unsigned int index);
  /// Only after the answer to the last question is complete.
  void ask_all();

  /// Receives some messages, after waiting for them if it `waits`. The refusal of an answer is thrown as well, such as
  /// ENODEV for an interface that is gone.
  Result receive(bool waits, const Handler& handle);

 private:
  void take(const nlmsghdr& header, netlink::Octets message, const Handler& handle);
  void send_request(unsigned int index, unsigned short flags);

  netlink::Socket socket_;
  bool is_interrupted_ = false;
};

}  // namespace meshd
