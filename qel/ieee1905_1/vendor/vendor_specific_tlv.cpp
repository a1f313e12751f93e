#include "qel/ieee1905_1/vendor/vendor_specific_tlv.h"

#include <charconv>
#include <istream>
#include <optional>
#include <ostream>
#include <utility>

#include "qel/core/serialization/framed.h"
#include "qel/core/serialization/reader.h"
#include "qel/core/serialization/serialization_exception.h"
#include "qel/core/vendor_oui.h"
#include "qel/ieee1905_1/vendor/vendor_factory.h"

namespace qel::ieee1905_1 {

using serialization::SerializationContext;

namespace {

/// Makes the payload object for the `length` octets after the OUI, by peeking at the first of them.
std::unique_ptr<VendorSpecific> make_payload(std::istream& is, const VendorSpecificTLV::OUI& oui,
                                             std::uint16_t length) {
  std::unique_ptr<VendorSpecific> payload;
  if (oui == VENDOR_OUI) {
    if (length == 0) {
      serialization::fail("Invalid length");
    }
    if (const std::optional<std::uint8_t> subtype = serialization::peek_octet(is)) {
      payload = create_vendor_specific(static_cast<QELVendorTLVType>(*subtype));
    }
  }
  return payload != nullptr ? std::move(payload) : std::make_unique<VendorSpecificUnknown>(length);
}

/// Lower-case digits and a NUL, regardless of the stream's settings.
std::array<char, 3> unpadded_hex(std::uint8_t octet) {
  std::array<char, 3> digits{};
  std::to_chars(digits.begin(), digits.end() - 1, octet, 16);
  return digits;
}

}  // namespace

VendorSpecificTLV::VendorSpecificTLV(std::unique_ptr<VendorSpecific> payload)
    : VendorSpecificTLV(OUI{}, std::move(payload)) {}

VendorSpecificTLV::VendorSpecificTLV(OUI oui, std::unique_ptr<VendorSpecific> payload) : vendor_specific_oui_(oui) {
  set_vendor_specific(std::move(payload));
}

VendorSpecificTLV::~VendorSpecificTLV() = default;

void VendorSpecificTLV::set_vendor_specific(std::unique_ptr<VendorSpecific>&& payload) {
  vendor_specific_ = payload != nullptr ? std::move(payload) : std::make_unique<VendorSpecificUnknown>(0);
}

void VendorSpecificTLV::set_vendor_specific(std::unique_ptr<VendorSpecific>& payload) {
  set_vendor_specific(std::move(payload));
}

void VendorSpecificTLV::serialize_impl(std::ostream& os, SerializationContext& context) const {
  serialization::MemoryWriteBuffer* memory = serialization::memory_of(os);
  if (memory == nullptr) {
    serialization::serialize_through_memory(os, context, *this, serialization::FRAME_PRIMITIVES);
    return;
  }
  serialization::Rollback rollback(*memory);
  serialization::Writer head(*memory);
  const std::size_t begin = head.offset();
  head.put(get_type(), std::uint16_t{0}, vendor_specific_oui_);
  head.commit();
  vendor_specific_->serialize_impl(os, context);
  serialization::check_written(os);
  serialization::Writer frame(*memory);
  serialization::finish_frame(frame, begin, "Invalid size");
  rollback.keep();
}

void VendorSpecificTLV::deserialize_impl(std::istream& is, SerializationContext& context) {
  std::uint16_t length = 0;
  {
    serialization::ReadSource source(is);
    serialization::Reader in(source);
    TLVType type{};
    in.get(type, length, vendor_specific_oui_);
  }
  if (length < vendor_specific_oui_.size()) {
    serialization::fail("Invalid OUI");
  }
  const auto rest = static_cast<std::uint16_t>(length - vendor_specific_oui_.size());
  std::unique_ptr<VendorSpecific> payload = make_payload(is, vendor_specific_oui_, rest);
  payload->deserialize_impl(is, context);
  vendor_specific_ = std::move(payload);
}

void VendorSpecificTLV::dbg_str(std::ostream& os) const {
  TLV::dbg_str(os);
  os << " Vendor OUI:  [ ";
  for (const std::uint8_t octet : vendor_specific_oui_) {
    os << "0x" << unpadded_hex(octet).data() << " ";
  }
  os << std::dec << "]\n\t" << *vendor_specific_;
}

bool VendorSpecificTLV::operator==(const TLV& other) const {
  const auto* same_class = dynamic_cast<const VendorSpecificTLV*>(&other);
  return same_class != nullptr && vendor_specific_oui_ == same_class->vendor_specific_oui_ &&
         *vendor_specific_ == *same_class->vendor_specific_;
}

}  // namespace qel::ieee1905_1
