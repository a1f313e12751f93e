#pragma once

#include "qel/core/serialization/table_codec.h"
#include "qel/ieee1905_1/media_specific_information.h"

namespace qel::ieee1905_1 {

/// What the length octet before a block says.
template <class Block>
constexpr std::uint8_t block_length(const Block&) {
  return serialization::WireType<Block>::SIZE;
}

}  // namespace qel::ieee1905_1
