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

[[gnu::always_inline]] inline void InterfaceInformation::encode_body(serialization::Writer& out) const {
  const auto put = [&](const auto& block) { serialization::put_rows_and(out, *this, block_length(block), block); };
  if (const auto* wlan = std::get_if<WLANSpecificInformation>(&media_specific_information_); wlan != nullptr) {
    put(*wlan);
  } else if (const auto* plc = std::get_if<PLCSpecificInformation>(&media_specific_information_); plc != nullptr) {
    put(*plc);
  } else {
    put(NoMediaSpecificInformation());
  }
}

[[gnu::always_inline]] inline void InterfaceInformation::decode_body(serialization::Reader& in) {
  std::uint8_t unchecked_length = 0;
  serialization::get_rows_and(in, *this, unchecked_length);
  switch (interface_type_) {
    case InterfaceType::WLAN:
      in.get(media_specific_information_.emplace<WLANSpecificInformation>());
      break;
    case InterfaceType::PLC:
      in.get(media_specific_information_.emplace<PLCSpecificInformation>());
      break;
    default:
      media_specific_information_.emplace<NoMediaSpecificInformation>();
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
