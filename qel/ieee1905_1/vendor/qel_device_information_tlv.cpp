#include "qel/ieee1905_1/vendor/qel_device_information_tlv.h"

#include <ostream>

#include "qel/core/serialization/record_impl.h"
#include "qel/ieee1905_1/media_specific_information_codec.h"
#include "qel/ieee1905_1/vendor/vendor_payload_impl.h"

namespace qel::ieee1905_1 {

const MediaSpecificInformation& QELInterfaceInformation::get_media_specific_information() const {
  return block_of(media_specific_information_);
}

[[gnu::always_inline]] inline void QELInterfaceInformation::encode_body(serialization::Writer& out) const {
  serialization::encode_rows(out, *this);
  put_block(media_specific_information_, [&](const auto& block) { out.put(block_length(block), block); });
}

[[gnu::always_inline]] inline void QELInterfaceInformation::decode_body(serialization::Reader& in) {
  std::uint8_t unchecked_length = 0;
  serialization::decode_rows(in, *this, 0);
  in.get(unchecked_length);
  get_block(in, interface_type_, media_specific_information_);
}

void QELInterfaceInformation::dbg_str(std::ostream& os) const {
  os << "QELInterfaceInformation: mac: " << mac_ << " (" << name_ << ") type: " << interface_type_
     << " mode: " << interface_mode_to_string(interface_type_, interface_mode_)
     << " media-specific: " << get_media_specific_information();
}

bool QELInterfaceInformation::equals(const QELInterfaceInformation& other) const {
  return serialization::equal_rows(*this, other) &&
         get_media_specific_information() == other.get_media_specific_information();
}

bool QELInterfaceInformation::is_less_than(const QELInterfaceInformation& other) const {
  if (!serialization::equal_rows(*this, other)) {
    return serialization::less_rows(*this, other);
  }
  return get_media_specific_information() < other.get_media_specific_information();
}

template const serialization::Codec&
VendorPayload<QELDeviceInformationTLV, QELVendorTLVType::QEL_DEVICE_INFORMATION_TLV>::codec();

}  // namespace qel::ieee1905_1

template const qel::serialization::Codec& qel::serialization::Record<qel::ieee1905_1::QELInterfaceInformation>::codec();
