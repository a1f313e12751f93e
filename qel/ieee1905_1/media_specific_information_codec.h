#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <variant>

#include "qel/core/serialization/table_codec.h"
#include "qel/core/serialization/table_values.h"
#include "qel/ieee1905_1/media_specific_information.h"

namespace qel::ieee1905_1 {

/// The value of the length octet before a block.
template <class Block>
constexpr std::uint8_t block_length(const Block&) {
  return serialization::WireType<Block>::SIZE;
}

/// The size of the block of an interface of this type.
constexpr std::size_t block_length(InterfaceType type) {
  switch (type) {
    case InterfaceType::WLAN:
      return serialization::WireType<WLANSpecificInformation>::SIZE;
    case InterfaceType::PLC:
      return serialization::WireType<PLCSpecificInformation>::SIZE;
    default:
      return 0;
  }
}

/// Calls `put` with the block as its actual class.
template <class Put>
[[gnu::always_inline]] inline void put_block(const AnyMediaSpecificInformation& information, const Put& put) {
  if (const auto* wlan = std::get_if<WLANSpecificInformation>(&information); wlan != nullptr) {
    put(*wlan);
  } else if (const auto* plc = std::get_if<PLCSpecificInformation>(&information); plc != nullptr) {
    put(*plc);
  } else {
    put(NoMediaSpecificInformation());
  }
}

/// Reads the part after the length octet.
[[gnu::always_inline]] inline void get_block(serialization::Reader& in, InterfaceType type,
                                             AnyMediaSpecificInformation& information) {
  switch (type) {
    case InterfaceType::WLAN:
      in.get(information.emplace<WLANSpecificInformation>());
      break;
    case InterfaceType::PLC:
      in.get(information.emplace<PLCSpecificInformation>());
      break;
    default:
      information.emplace<NoMediaSpecificInformation>();
      break;
  }
}

/// What both records of an interface, here and in vendor/, have in common: text, equality and ordering of the rows and
/// the block.
template <class Interface>
void print_type_and_block(std::ostream& os, const Interface& interface) {
  os << " type: " << interface.get_interface_type()
     << " mode: " << interface_mode_to_string(interface.get_interface_type(), interface.get_interface_mode())
     << " media-specific: " << interface.get_media_specific_information();
}

template <class Interface>
bool equal_rows_and_blocks(const Interface& left, const Interface& right) {
  return serialization::equal_rows(left, right) &&
         left.get_media_specific_information() == right.get_media_specific_information();
}

template <class Interface>
bool less_rows_and_blocks(const Interface& left, const Interface& right) {
  return serialization::equal_rows(left, right)
             ? left.get_media_specific_information() < right.get_media_specific_information()
             : serialization::less_rows(left, right);
}

inline const MediaSpecificInformation& block_of(const AnyMediaSpecificInformation& information) {
  return std::visit([](const auto& block) -> const MediaSpecificInformation& { return block; }, information);
}

}  // namespace qel::ieee1905_1
