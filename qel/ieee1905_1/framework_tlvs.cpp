#include "qel/ieee1905_1/framework_tlvs.h"

#include <istream>

#include "qel/core/serialization/serialization_exception.h"
#include "qel/ieee1905_1/table_tlv_impl.h"

namespace qel::ieee1905_1 {

void EndOfMessageTLV::decode_body(serialization::Reader&, std::uint16_t length) {
  if (length != 0) {
    serialization::fail("Deserialization of EndOfMessageTLV failed, length is not null!");
  }
}

void DummyTLV::serialize_impl(std::ostream&, serialization::SerializationContext&) const {
  serialization::fail("DummyTLV is not serializable!");
}

void DummyTLV::deserialize_impl(std::istream& is, serialization::SerializationContext&) {
  std::uint16_t length = 0;
  {
    serialization::ReadSource source(is);
    serialization::Reader in(source);
    in.get(represented_type_);
    in.get(length);
  }
  is.seekg(length, std::ios_base::cur);
  if (is.fail()) {
    serialization::fail("Deserialization of DummyTLV failed, could not seek stream!");
  }
  consumed_length_ += length;
  consumed_total_length_ += length + std::uint32_t{serialization::FRAME_HEADER_SIZE};
}

bool DummyTLV::operator==(const TLV& other) const {
  const auto* same_class = dynamic_cast<const DummyTLV*>(&other);
  return same_class != nullptr && represented_type_ == same_class->represented_type_;
}

template const serialization::Codec& TableOf<EndOfMessageTLV>::codec();
template const serialization::Codec& TableOf<MACAddressTLVCommon<TLVType::AL_MAC_ADDRESS>>::codec();
template const serialization::Codec& TableOf<MACAddressTLVCommon<TLVType::MAC_ADDRESS>>::codec();
template const serialization::Codec& TableOf<MACAddressTLVCommon<TLVType::AP_RADIO_IDENTIFIER>>::codec();
template const serialization::Codec& TableOf<MACAddressTLVCommon<TLVType::STA_MAC_ADDRESS>>::codec();

}  // namespace qel::ieee1905_1
