#pragma once

#include <iosfwd>

#include "qel/core/export.h"
#include "qel/core/serialization/binary_serializable.h"

namespace qel::serialization {

/// A record inside a message or TLV, given by the wire table of Derived.
///
/// Derived may encode and decode its body itself (`encode_body(Writer&) const`, `decode_body(Reader&)`, MIN_WIRE_SIZE)
/// and print itself (`dbg_str`). The source file of Derived holds `template class Record<Derived>;`.
template <class Derived>
class QEL_EXPORT Record : public BinarySerializable {
 public:
  void serialize_impl(std::ostream& os, SerializationContext& context) const override;
  void deserialize_impl(std::istream& is, SerializationContext& context) override;

  void dbg_str(std::ostream& os) const;

  friend bool operator==(const Derived& left, const Derived& right) { return left.equals(right); }

  /// By the fields in wire order.
  friend bool operator<(const Derived& left, const Derived& right) { return left.is_less_than(right); }

  friend std::ostream& operator<<(std::ostream& os, const Derived& record) {
    record.dbg_str(os);
    return os;
  }

 private:
  bool equals(const Derived& other) const;
  bool is_less_than(const Derived& other) const;
};

}  // namespace qel::serialization
