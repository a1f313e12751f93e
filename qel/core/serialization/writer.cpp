#include "qel/core/serialization/writer.h"

#include <algorithm>

#include "qel/core/serialization/serialization_exception.h"

namespace qel::serialization {

void write_octets(std::ostream& os, std::span<const std::uint8_t> octets, std::span<const PrimitiveEnd> primitives) {
  std::size_t taken = 0;
  if (const std::ostream::sentry ready(os); ready) {
    taken = static_cast<std::size_t>(
        os.rdbuf()->sputn(reinterpret_cast<const char*>(octets.data()), static_cast<std::streamsize>(octets.size())));
    if (taken == octets.size()) {
      return;
    }
    os.setstate(std::ios_base::badbit);
  }
  const auto cut = std::find_if(primitives.begin(), primitives.end() - 1,
                                [taken](const PrimitiveEnd& primitive) { return primitive.end > taken; });
  fail(cut->texts->serialize);
}

void serialize_through_memory(std::ostream& os, SerializationContext& context, const BinarySerializable& object,
                              std::span<const PrimitiveEnd> primitives) {
  SerializationContext::Loan loan(context);
  object.serialize_impl(loan.stream(), context);
  write_octets(os, loan.stream().octets(), primitives);
}

}  // namespace qel::serialization
