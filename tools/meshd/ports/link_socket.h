#pragma once

#include <functional>
#include <optional>
#include <string>

#include "qel/core/mac_address.h"
#include "tools/meshd/entity/local_interface.h"
#include "tools/meshd/ports/netlink.h"

namespace meshd {

/// A network interface as the kernel reports it.
struct Link {
  unsigned int index = 0;  ///< the kernel's number, never 0; may be reused when the interface is gone
  std::string name;
  std::optional<qel::MACAddress> mac;  ///< nothing if it is not Ethernet
  unsigned int bridge = 0;             ///< the index of the bridge that it is a port of; 0 if none
  bool is_bridge = false;
  std::uint64_t sent_octets = 0;
  InterfaceState state;  ///< without speed and availability
};

/// Asks the kernel for the interfaces of this network namespace, and receives their changes (rtnetlink(7)).
class LinkSocket {
 public:
  enum class Event {
    LINK,         ///< the current state of a link: a response, or a change
    LINK_GONE,    ///< only the index is valid
    ALL_TOLD,     ///< the answer to ask_all() is complete
    INTERRUPTED,  ///< it has ended, but may be incomplete
  };
  using Handler = std::function<void(Event event, const Link& link)>;
  using Result = netlink::Socket::Result;

  /// This and all functions throw std::system_error.
  explicit LinkSocket(bool with_changes);

  int get_fd() const { return socket_.get_fd(); }

  void ask(unsigned int index);
  /// Call this only when the response to the previous request is complete.
  void ask_all();

  /// Receives some messages; if it `waits`, blocks until there are some. Also throws the error of a refusal, such as
  /// ENODEV for an interface that is gone.
  Result receive(bool waits, const Handler& handle);

 private:
  void take(const nlmsghdr& header, netlink::Octets message, const Handler& handle);
  void send_request(unsigned int index, unsigned short flags);

  netlink::Socket socket_;
  bool is_interrupted_ = false;
};

}  // namespace meshd
