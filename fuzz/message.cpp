#include "qel/ieee1905_1/message.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "fuzz/conversions.h"
#include "fuzz/round_trip.h"
#include "qel/ieee1905_1/ap_he_capabilities_tlv.h"
#include "qel/ieee1905_1/vendor/qel_message_type_tlv.h"
#include "qel/ieee1905_1/vendor/qel_tlv_type.h"
#include "qel/ieee1905_1/vendor/vendor_specific_tlv.h"

/// Decodes any octets as a CMDU.

using namespace qel::ieee1905_1;

namespace {

/// With 80+80 MHz but without 160 MHz, the encoder writes the maps for 80+80 where a decoder expects those for 160.
bool is_he_8080_without_160(const TLV& tlv) {
  if (const auto* vendor = dynamic_cast<const VendorSpecificTLV*>(&tlv); vendor != nullptr) {
    const auto* nested = dynamic_cast<const QELTLVType*>(vendor->get_vendor_specific().get());
    return nested != nullptr && is_he_8080_without_160(*nested->get_tlv());
  }
  const auto* he = dynamic_cast<const APHECapabilitiesTLV*>(&tlv);
  return he != nullptr && he->get_he_80_80_mhz_support() && !he->get_he_160_mhz_support();
}

/// The messages that do not decode to what was encoded.
std::string exception(const Message& message) {
  const auto& tlvs = message.get_list().get_TLV_list();
  const bool he = std::ranges::any_of(tlvs, [](const auto& tlv) { return is_he_8080_without_160(*tlv); });
  return he ? "HE Capabilities with inconsistent MCS set" : "";
}

void print(std::ostream& os, const Message& message) { os << message << get_qel_message_type(message); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto message = qel::fuzz::round_trip<Message>({data, size}, print, exception);
  if (message != nullptr) {
    qel::fuzz::convert(*message);
  }
  return 0;
}
