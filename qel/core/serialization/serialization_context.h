#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "qel/core/export.h"
#include "qel/core/serialization/memory_stream.h"

namespace qel::serialization {

/// Accompanies one encode or decode from the message down to its last field, and may be used again for the next: it
/// keeps the memory that it lends. It carries no options; codecs hand it on unchanged.
class QEL_EXPORT SerializationContext {
 public:
  /// How deep TLVs may stand inside vendor TLVs, when encoding and when decoding. A frame of 1514 octets has no room
  /// for more; what a hostile sender could nest in more octets would exhaust the stack.
  static constexpr unsigned int MAX_NESTING = 214;

  SerializationContext();
  SerializationContext(const SerializationContext&) = delete;
  SerializationContext& operator=(const SerializationContext&) = delete;
  ~SerializationContext();

  /// A stream over memory, lent until this object ends.
  class QEL_EXPORT Loan {
   public:
    explicit Loan(SerializationContext& context);
    Loan(const Loan&) = delete;
    Loan& operator=(const Loan&) = delete;
    ~Loan();
    MemoryOStream& stream() { return stream_; }

   private:
    SerializationContext& context_;
    MemoryOStream& stream_;
  };

  /// One level of TLVs inside TLVs; throws SerializationException beyond MAX_NESTING.
  class QEL_EXPORT Nesting {
   public:
    explicit Nesting(SerializationContext& context);
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;
    ~Nesting();

   private:
    SerializationContext& context_;
  };

 private:
  MemoryOStream& borrow();

  std::vector<std::unique_ptr<MemoryOStream>> streams_;
  std::size_t lent_ = 0;
  unsigned int nesting_ = 0;
};

}  // namespace qel::serialization
