#pragma once

#include <iosfwd>

#include "qel/core/export.h"
#include "qel/core/serialization/binary_serializable.h"
#include "qel/core/serialization/codec.h"

namespace qel::serialization {

/// A record inside a message or TLV, defined by the wire table of Derived.
///
/// Derived may encode and decode its own body (`encode_body(Writer&) const`, `decode_body(Reader&)`, MIN_WIRE_SIZE) and
/// print itself (`dbg_str`). The source file of Derived must contain `template const Codec& Record<Derived>::codec();`.
template <class Derived>
class QEL_EXPORT Record : public BinarySerializable {
 public:
  void serialize_impl(std::ostream& os, SerializationContext& context) const override {
    encode(os, context, *this, codec());
  }
  void deserialize_impl(std::istream& is, SerializationContext&) override { decode(is, *this, codec()); }

  void dbg_str(std::ostream& os) const { codec().print(os, *this); }

  friend bool operator==(const Derived& left, const Derived& right) { return codec().equal(left, right); }

  /// Compares the fields in wire order.
  friend bool operator<(const Derived& left, const Derived& right) { return codec().less(left, right); }

  friend std::ostream& operator<<(std::ostream& os, const Derived& record) {
    record.dbg_str(os);
    return os;
  }

 private:
  static const Codec& codec();
};

}  // namespace qel::serialization
