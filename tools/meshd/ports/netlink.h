#pragma once

#include <linux/netlink.h>
#include <linux/rtnetlink.h>

#include <cstddef>
#include <functional>
#include <vector>

#include "qel/net/file_descriptor.h"
#include "tools/meshd/ports/netlink_attributes.h"

namespace meshd::netlink {

/// A message to the kernel: a body of fixed size, then attributes.
class Request {
 public:
  template <class Body>
  Request(unsigned short type, unsigned short flags, const Body& body) : Request(type, flags) {
    append(&body, sizeof(body));
  }

  template <class Value>
  void add(unsigned short attribute, const Value& value) {
    const rtattr header{static_cast<unsigned short>(sizeof(rtattr) + sizeof(value)), attribute};
    append(&header, sizeof(header));
    append(&value, sizeof(value));
  }

  Octets octets() const { return octets_; }

 private:
  Request(unsigned short type, unsigned short flags);
  /// Pads with zeros to the alignment of netlink, and updates the length in the header.
  void append(const void* part, std::size_t size);

  std::vector<std::byte> octets_;
};

/// A netlink(7) socket. The kernel answers while it takes the request, so the answer can be received at once.
class Socket {
 public:
  enum class Result {
    RECEIVED,  ///< something
    NOTHING,   ///< there is nothing to receive
    OVERRUN,   ///< events were lost
  };
  using Handler = std::function<void(const nlmsghdr& header, Octets message)>;

  /// Receives the events of these groups, a mask of bits such as RTMGRP_LINK. Throws std::system_error, as all
  /// functions do.
  explicit Socket(unsigned int groups, int family = NETLINK_ROUTE);

  int get_fd() const { return socket_.get(); }

  void send(const Request& request);

  /// Receives some messages; if it `waits`, blocks until there are some. Throws the error of a refusal, such as ENODEV
  /// for an interface that is gone, and hands on the message that ends an answer.
  Result receive(bool waits, const Handler& handle);

  /// Sends a request with NLM_F_ACK and waits until it is done. Not for a socket with groups.
  void run(const Request& request);

 private:
  qel::FileDescriptor socket_;
};

}  // namespace meshd::netlink
