#pragma once

#include <linux/netlink.h>
#include <linux/rtnetlink.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <functional>
#include <span>
#include <string_view>
#include <vector>

#include "qel/net/file_descriptor.h"

namespace meshd::netlink {

using Octets = std::span<const std::byte>;

/// Visits the messages of a datagram or the attributes of a message: each header with the octets that follow it.
template <class Header, auto LENGTH, class Visit>
void for_each(Octets octets, Visit visit) {
  constexpr std::size_t ALIGNMENT = 4;
  while (octets.size() >= sizeof(Header)) {
    Header header;
    std::memcpy(&header, octets.data(), sizeof(header));
    const std::size_t length = header.*LENGTH;
    if (length < sizeof(header) || length > octets.size()) {
      return;
    }
    visit(header, octets.subspan(sizeof(header), length - sizeof(header)));
    octets = octets.subspan(std::min(octets.size(), (length + ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT));
  }
}

template <class Visit>
void for_each_attribute(Octets octets, Visit visit) {
  for_each<rtattr, &rtattr::rta_len>(
      octets, [&](const rtattr& header, Octets value) { visit(header.rta_type & NLA_TYPE_MASK, value); });
}

/// Missing octets are zero.
template <class T>
T value_of(Octets octets) {
  T value{};
  std::memcpy(&value, octets.data(), std::min(octets.size(), sizeof(value)));
  return value;
}

/// The attributes of a message that begins with a T; none if it is too short.
template <class T>
Octets attributes_behind(Octets message) {
  constexpr std::size_t SIZE = NLMSG_ALIGN(sizeof(T));
  return message.size() < SIZE ? Octets() : message.subspan(SIZE);
}

/// Up to the first NUL.
std::string_view text_of(Octets octets);

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
