#pragma once

#include "qel/core/serialization/table_codec.h"
#include "qel/ieee1905_1/media_specific_information.h"

namespace qel::ieee1905_1 {

/// The length octet, then the fields of the block.
template <class Block>
void encode_block(serialization::Writer& out, const Block& block) {
  out.put(static_cast<std::uint8_t>(serialization::WireType<Block>::SIZE), block);
}

template <class Block>
void decode_block(serialization::Reader& in, Block& block) {
  std::uint8_t unchecked_length = 0;
  in.get(unchecked_length, block);
}

}  // namespace qel::ieee1905_1
