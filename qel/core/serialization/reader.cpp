#include "qel/core/serialization/reader.h"

#include <algorithm>

#include "qel/core/serialization/serialization_exception.h"

namespace qel::serialization {

ReadWindow ReadSource::refill(const std::uint8_t* position, std::span<const PrimitiveEnd> primitives) {
  if (memory_ != nullptr) {
    // The memory ends within this step: `read` below takes the rest and fails, and leaves the stream at its end.
    memory_->read_up_to(position);
    memory_ = nullptr;
  }
  const std::size_t size = primitives.back().end;
  is_.read(reinterpret_cast<char*>(scratch_), static_cast<std::streamsize>(size));
  if (is_.fail()) {
    const auto read = static_cast<std::size_t>(is_.gcount());
    const auto cut = std::find_if(primitives.begin(), primitives.end() - 1,
                                  [read](const PrimitiveEnd& primitive) { return primitive.end > read; });
    fail(cut->texts->deserialize);
  }
  refilled_ += size;
  return {scratch_, scratch_ + size};
}

}  // namespace qel::serialization
