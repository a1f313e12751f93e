#include "qel/core/serialization/writer.h"

#include <algorithm>

#include "qel/core/serialization/serialization_exception.h"

namespace qel::serialization {

namespace {

/// Returns the number of octets that the buffer accepted. A buffer that throws counts as full, as in the stream's own
/// functions.
std::size_t put_octets(std::streambuf& buffer, std::span<const std::uint8_t> octets) {
  try {
    const std::streamsize taken =
        buffer.sputn(reinterpret_cast<const char*>(octets.data()), static_cast<std::streamsize>(octets.size()));
    return taken < 0 ? 0 : static_cast<std::size_t>(taken);
  } catch (...) {
    return 0;
  }
}

}  // namespace

void write_octets(std::ostream& os, std::span<const std::uint8_t> octets, std::span<const PrimitiveEnd> primitives) {
  std::size_t taken = 0;
  if (const std::ostream::sentry ready(os); ready) {
    taken = put_octets(*os.rdbuf(), octets);
    if (taken != octets.size()) {
      os.setstate(std::ios_base::badbit);
    }
  }
  // Checked last, because a stream that flushes after each output may fail only then.
  if (!os.fail()) {
    return;
  }
  const auto cut = std::find_if(primitives.begin(), primitives.end() - 1,
                                [taken](const PrimitiveEnd& primitive) { return primitive.end > taken; });
  fail(cut->texts->serialize);
}

void check_written(const std::ostream& os) {
  if (os.fail()) {
    fail(detail::STRINGSTREAM_TEXTS.serialize);
  }
}

void serialize_through_memory(std::ostream& os, SerializationContext& context, const BinarySerializable& object,
                              std::span<const PrimitiveEnd> primitives) {
  SerializationContext::Loan loan(context);
  object.serialize_impl(loan.stream(), context);
  check_written(loan.stream());
  write_octets(os, loan.stream().octets(), primitives);
}

}  // namespace qel::serialization
