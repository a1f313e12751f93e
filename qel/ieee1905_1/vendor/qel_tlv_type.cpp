#include "qel/ieee1905_1/vendor/qel_tlv_type.h"

#include <istream>
#include <optional>
#include <ostream>
#include <utility>

#include "qel/core/serialization/binary_serializable_type.h"
#include "qel/core/serialization/serialization_exception.h"
#include "qel/ieee1905_1/framework_tlvs.h"
#include "qel/ieee1905_1/tlv_factory.h"

namespace qel::ieee1905_1 {

using serialization::SerializationContext;

QELTLVType::QELTLVType() : QELTLVType(nullptr) {}

QELTLVType::QELTLVType(std::unique_ptr<TLV> tlv) { set_tlv(std::move(tlv)); }

QELTLVType::~QELTLVType() = default;

void QELTLVType::set_tlv(std::unique_ptr<TLV>&& tlv) {
  tlv_ = tlv != nullptr ? std::move(tlv) : std::make_unique<DummyTLV>();
}

void QELTLVType::set_tlv(std::unique_ptr<TLV>& tlv) { set_tlv(std::move(tlv)); }

void QELTLVType::serialize_impl(std::ostream& os, SerializationContext& context) const {
  using serialization::PRIMITIVE_ENDS;
  serialization::MemoryWriteBuffer* memory = serialization::memory_of(os);
  if (memory == nullptr) {
    serialization::serialize_through_memory(os, context, *this, PRIMITIVE_ENDS<QELVendorTLVType>);
    return;
  }
  const SerializationContext::Nesting nesting(context);
  serialization::Rollback rollback(*memory);
  serialization::BinarySerializableType<QELVendorTLVType>::serialize(os, context, get_type());
  tlv_->serialize_impl(os, context);
  serialization::check_written(os);
  rollback.keep();
}

void QELTLVType::deserialize_impl(std::istream& is, SerializationContext& context) {
  const SerializationContext::Nesting nesting(context);
  QELVendorTLVType subtype{};
  serialization::BinarySerializableType<QELVendorTLVType>::deserialize(is, context, subtype);
  const std::optional<std::uint8_t> type = serialization::peek_octet(is);
  std::unique_ptr<TLV> tlv = type ? create_TLV(static_cast<TLVType>(*type)) : nullptr;
  if (tlv == nullptr) {
    serialization::fail("Could not create IEEE1905 TLV!");
  }
  tlv->deserialize_impl(is, context);
  tlv_ = std::move(tlv);
}

bool QELTLVType::operator==(const VendorSpecific& other) const {
  const auto* same_class = dynamic_cast<const QELTLVType*>(&other);
  return same_class != nullptr && *tlv_ == *same_class->tlv_;
}

void QELTLVType::dbg_str(std::ostream& os) const {
  VendorSpecific::dbg_str(os);
  os << "\n\t" << *tlv_;
}

}  // namespace qel::ieee1905_1
