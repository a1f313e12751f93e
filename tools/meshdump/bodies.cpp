#include "tools/meshdump/bodies.h"

#include <algorithm>

#include "qel/ieee1905_1/cmdu.h"
#include "qel/ieee1905_1/vendor/qel_tlv_type.h"
#include "qel/ieee1905_1/vendor/vendor_specific.h"
#include "qel/ieee1905_1/vendor/vendor_specific_tlv.h"
namespace meshdump {

using qel::ieee1905_1::LenientMessage;
using qel::ieee1905_1::QELTLVType;
using qel::ieee1905_1::TLV;
using qel::ieee1905_1::VendorSpecificTLV;
using qel::ieee1905_1::VendorSpecificUnknown;

std::span<const std::uint8_t> whole_body(const LenientMessage::Entry& entry) {
  return entry.tlv != nullptr && entry.unread == 0 ? entry.raw.body : std::span<const std::uint8_t>();
}

Bodies::Bodies(const qel::ieee1905_1::Message& message, std::span<const std::uint8_t> cmdu,
               qel::serialization::SerializationContext& context) {
  if (message.find<VendorSpecificTLV>() != nullptr) {
    lenient_ = qel::ieee1905_1::decode_leniently(cmdu, context);
  }
}

std::span<const std::uint8_t> Bodies::next() {
  const auto& entries = lenient_.entries;
  const auto body = next_ < entries.size() ? whole_body(entries[next_]) : std::span<const std::uint8_t>();
  next_ = body.data() != nullptr ? next_ + 1 : entries.size();
  return body;
}

std::span<const std::uint8_t> foreign_payload(const TLV& tlv, std::span<const std::uint8_t> body) {
  constexpr std::size_t NESTED_BODY = 1 + qel::ieee1905_1::TLV_HEADER_SIZE;  // the subtype precedes the nested TLV
  const TLV* inner = &tlv;
  while (inner->get_type() == VendorSpecificTLV::TYPE) {
    const auto& vendor = static_cast<const VendorSpecificTLV&>(*inner);
    body = body.subspan(std::min(body.size(), vendor.get_vendor_specific_oui().size()));
    if (vendor.find<VendorSpecificUnknown>() != nullptr) {
      return body;
    }
    const auto* nested = vendor.find<QELTLVType>();
    if (nested == nullptr) {
      break;
    }
    body = body.subspan(std::min(body.size(), NESTED_BODY));
    inner = nested->get_tlv().get();
  }
  return {};
}

}  // namespace meshdump
