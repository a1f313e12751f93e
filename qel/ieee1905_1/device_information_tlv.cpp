#include "qel/ieee1905_1/device_information_tlv.h"

#include <ostream>

#include "qel/core/serialization/record_impl.h"
#include "qel/ieee1905_1/media_specific_information_codec.h"
#include "qel/ieee1905_1/table_tlv_impl.h"

namespace qel::ieee1905_1 {

const MediaSpecificInformation& InterfaceInformation::get_media_specific_information() const {
  return std::visit([](const auto& block) -> const MediaSpecificInformation& { return block; },
                    media_specific_information_);
}

void InterfaceInformation::encode_body(serialization::Writer& out) const {
  serialization::encode_rows(out, *this);
  std::visit([&](const auto& block) { encode_block(out, block); }, media_specific_information_);
}

void InterfaceInformation::decode_body(serialization::Reader& in) {
  serialization::decode_rows(in, *this, 0);
  switch (interface_type_) {
    case InterfaceType::WLAN:
      decode_block(in, media_specific_information_.emplace<WLANSpecificInformation>());
      break;
    case InterfaceType::PLC:
      decode_block(in, media_specific_information_.emplace<PLCSpecificInformation>());
      break;
    default:
      decode_block(in, media_specific_information_.emplace<NoMediaSpecificInformation>());
      break;
  }
}

void InterfaceInformation::dbg_str(std::ostream& os) const {
  os << "\tInterfaceInformation: mac: " << mac_ << " type: " << interface_type_
     << " mode: " << interface_mode_to_string(interface_type_, interface_mode_)
     << " media-specific: " << get_media_specific_information();
}

bool InterfaceInformation::equals(const InterfaceInformation& other) const {
  return serialization::equal_rows(*this, other) &&
         get_media_specific_information() == other.get_media_specific_information();
}

bool InterfaceInformation::is_less_than(const InterfaceInformation& other) const {
  if (!serialization::equal_rows(*this, other)) {
    return serialization::less_rows(*this, other);
  }
  return get_media_specific_information() < other.get_media_specific_information();
}

template class TableTLV<DeviceInformationTLV, TLVType::DEVICE_INFORMATION>;

}  // namespace qel::ieee1905_1

template class qel::serialization::Record<qel::ieee1905_1::InterfaceInformation>;
