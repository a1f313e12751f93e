#include "qel/ieee1905_1/device_information_tlv.h"

#include <ostream>

#include "qel/core/serialization/record_impl.h"
#include "qel/ieee1905_1/media_specific_information_codec.h"
#include "qel/ieee1905_1/table_tlv_impl.h"

namespace qel::ieee1905_1 {

const MediaSpecificInformation& InterfaceInformation::get_media_specific_information() const {
  return block_of(media_specific_information_);
}

[[gnu::always_inline]] inline void InterfaceInformation::encode_body(serialization::Writer& out) const {
  put_block(media_specific_information_,
            [&](const auto& block) { serialization::put_rows_and(out, *this, block_length(block), block); });
}

[[gnu::always_inline]] inline void InterfaceInformation::decode_body(serialization::Reader& in) {
  std::uint8_t unchecked_length = 0;
  serialization::get_rows_and(in, *this, unchecked_length);
  get_block(in, interface_type_, media_specific_information_);
}

void InterfaceInformation::dbg_str(std::ostream& os) const {
  os << "\tInterfaceInformation: mac: " << mac_;
  print_type_and_block(os, *this);
}

bool InterfaceInformation::equals(const InterfaceInformation& other) const {
  return equal_rows_and_blocks(*this, other);
}

bool InterfaceInformation::is_less_than(const InterfaceInformation& other) const {
  return less_rows_and_blocks(*this, other);
}

template const serialization::Codec& TableOf<DeviceInformationTLV>::codec();

}  // namespace qel::ieee1905_1

namespace qel::serialization {
template const Codec& Record<ieee1905_1::InterfaceInformation>::codec();
}  // namespace qel::serialization
