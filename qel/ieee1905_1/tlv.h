#pragma once

#include <concepts>
#include <iosfwd>

#include "qel/core/export.h"
#include "qel/core/recycled.h"
#include "qel/core/serialization/binary_serializable.h"
#include "qel/ieee1905_1/tlv_type.h"

namespace qel::ieee1905_1 {

/// An information element of a CMDU: a type octet, a 16-bit length, and a body of that many octets (IEEE 1905.1-2013,
/// 6.4).
///
/// Decoding begins at the type octet. The type is not checked, because the factory chose the class by it. Nor is the
/// length, unless the class says so: a body ends where its fields end.
class QEL_EXPORT TLV : public serialization::BinarySerializable, public Recycled {
 public:
  /// Prints "type: " and the name of the type; classes with fields append them.
  virtual void dbg_str(std::ostream& os) const;
  virtual TLVType get_type() const = 0;
  virtual bool operator==(const TLV& other) const;

  bool operator!=(const TLV& other) const { return !operator==(other); }
  bool is_same_type(const TLV& other) const { return get_type() == other.get_type(); }

 protected:
  TLV() = default;
  TLV(const TLV&) = default;
  TLV(TLV&&) = default;
  TLV& operator=(const TLV&) = default;
  TLV& operator=(TLV&&) = default;
};

/// Compares TLVs of any two classes through their base. Without it, the comparison would be ambiguous.
template <std::derived_from<TLV> Left, std::derived_from<TLV> Right>
bool operator==(const Left& left, const Right& right) {
  return static_cast<const TLV&>(left).operator==(right);
}

QEL_EXPORT std::ostream& operator<<(std::ostream& os, const TLV& tlv);

/// A TLV whose type is known at compile time.
template <TLVType CODE>
class QEL_EXPORT TLVCommon : public TLV {
 public:
  static constexpr TLVType TYPE = CODE;

  TLVType get_type() const override { return CODE; }
};

}  // namespace qel::ieee1905_1
