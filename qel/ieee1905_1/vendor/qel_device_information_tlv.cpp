#include "qel/ieee1905_1/vendor/qel_device_information_tlv.h"

#include <ostream>

#include "qel/core/serialization/record_impl.h"
#include "qel/core/text.h"
#include "qel/ieee1905_1/media_specific_information_codec.h"
#include "qel/ieee1905_1/vendor/vendor_payload_impl.h"

namespace qel::ieee1905_1 {

const MediaSpecificInformation& QELInterfaceInformation::get_media_specific_information() const {
  return block_of(media_specific_information_);
}

[[gnu::always_inline]] inline void QELInterfaceInformation::encode_body(serialization::Writer& out) const {
  serialization::encode_rows(out, *this);
  put_block(media_specific_information_, [&](const auto& block) {
    out.put(static_cast<std::uint8_t>(block_length(block) + media_specific_rest_.size()), block);
  });
  out.put_list(media_specific_rest_);
}

[[gnu::always_inline]] inline void QELInterfaceInformation::decode_body(serialization::Reader& in) {
  serialization::decode_rows(in, *this, 0);
  const std::size_t length = in.get<std::uint8_t>();
  const bool is_whole = length >= block_length(interface_type_);
  get_block(in, is_whole ? interface_type_ : InterfaceType::UNKNOWN, media_specific_information_);
  media_specific_rest_ = in.get_list<std::uint8_t>(length - (is_whole ? block_length(interface_type_) : 0));
}

void QELInterfaceInformation::dbg_str(std::ostream& os) const {
  os << "QELInterfaceInformation: mac: " << mac_ << " (" << name_ << ")";
  print_type_and_block(os, *this);
  if (!media_specific_rest_.empty()) {
    os << " rest: " << Decimal(static_cast<std::int64_t>(media_specific_rest_.size())) << " Bytes";
  }
}

bool QELInterfaceInformation::equals(const QELInterfaceInformation& other) const {
  return equal_rows_and_blocks(*this, other) && media_specific_rest_ == other.media_specific_rest_;
}

bool QELInterfaceInformation::is_less_than(const QELInterfaceInformation& other) const {
  return equal_rows_and_blocks(*this, other) ? media_specific_rest_ < other.media_specific_rest_
                                             : less_rows_and_blocks(*this, other);
}

template const serialization::Codec& PayloadOf<QELDeviceInformationTLV>::codec();

}  // namespace qel::ieee1905_1

namespace qel::serialization {
template const Codec& Record<ieee1905_1::QELInterfaceInformation>::codec();
}  // namespace qel::serialization
