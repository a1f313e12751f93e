#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "tools/meshd/wifi/message.h"

/// Attributes as a kernel would write them.
namespace meshd::wifi::testing {

/// The octets of a number in the order of this machine.
template <class T>
std::string number(T value) {
  return std::string(reinterpret_cast<const char*>(&value), sizeof(value));
}

/// One attribute. Attributes in a row are those of a message, or the value of one that nests them.
inline std::string attribute(int type, const std::string& value = {}) {
  constexpr std::size_t HEADER_SIZE = 4;
  constexpr std::size_t ALIGNMENT = 4;
  std::string octets = number(static_cast<std::uint16_t>(HEADER_SIZE + value.size()));
  octets += number(static_cast<std::uint16_t>(type));
  octets += value;
  octets.append((ALIGNMENT - octets.size() % ALIGNMENT) % ALIGNMENT, '\0');
  return octets;
}

inline std::string attribute(int type, std::uint32_t value) { return attribute(type, number(value)); }

inline Octets octets_of(const std::string& text) { return std::as_bytes(std::span(text)); }

}  // namespace meshd::wifi::testing
