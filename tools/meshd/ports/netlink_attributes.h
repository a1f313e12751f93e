#pragma once

#include <linux/netlink.h>
#include <linux/rtnetlink.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <span>
#include <string_view>

/// Reads the messages and attributes of netlink(7) from any sender: a length that does not fit ends the list.
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
inline std::string_view text_of(Octets octets) {
  const std::string_view text(reinterpret_cast<const char*>(octets.data()), octets.size());
  return text.substr(0, text.find('\0'));
}

}  // namespace meshd::netlink
