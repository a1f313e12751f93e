#include "qel/core/serialization/serialization_context.h"

#include "qel/core/serialization/serialization_exception.h"

namespace qel::serialization {

SerializationContext::SerializationContext() = default;
SerializationContext::~SerializationContext() = default;

MemoryOStream& SerializationContext::borrow() {
  if (lent_ == streams_.size()) {
    streams_.push_back(std::make_unique<MemoryOStream>());
  }
  MemoryOStream& stream = *streams_[lent_++];
  stream.reset();
  return stream;
}

MemoryIStream& SerializationContext::borrow(std::span<const std::uint8_t> octets) {
  if (lent_inputs_ == inputs_.size()) {
    inputs_.push_back(std::make_unique<MemoryIStream>());
  }
  MemoryIStream& stream = *inputs_[lent_inputs_++];
  stream.reset(octets);
  return stream;
}

SerializationContext::Loan::Loan(SerializationContext& context) : context_(context), stream_(context.borrow()) {}
SerializationContext::Loan::~Loan() { --context_.lent_; }

SerializationContext::InputLoan::InputLoan(SerializationContext& context, std::span<const std::uint8_t> octets)
    : context_(context), stream_(context.borrow(octets)) {}
SerializationContext::InputLoan::~InputLoan() { --context_.lent_inputs_; }

SerializationContext::Nesting::Nesting(SerializationContext& context) : context_(context) {
  if (context.nesting_ == MAX_NESTING) {
    fail("TLVs are nested too deeply!");
  }
  ++context.nesting_;
}
SerializationContext::Nesting::~Nesting() { --context_.nesting_; }

}  // namespace qel::serialization
