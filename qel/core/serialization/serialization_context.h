#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "qel/core/export.h"
#include "qel/core/serialization/memory_stream.h"

namespace qel::serialization {

/// Accompanies one encode or decode from the message down to its last field. It can be reused for the next one, and
/// keeps the memory that it lends and the place that a decode has reached. It carries no options; codecs pass it on
/// unchanged.
class QEL_EXPORT SerializationContext {
 public:
  /// Maximum depth of TLVs nested in vendor TLVs, for encoding and decoding. A frame of 1514 octets has no room for
  /// more; a hostile sender with more octets could otherwise exhaust the stack.
  static constexpr unsigned int MAX_NESTING = 214;

  SerializationContext();
  SerializationContext(const SerializationContext&) = delete;
  SerializationContext& operator=(const SerializationContext&) = delete;
  ~SerializationContext();

  /// A stream over memory, borrowed until this object is destroyed.
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

  /// A stream that reads borrowed octets; itself borrowed until this object is destroyed.
  class QEL_EXPORT InputLoan {
   public:
    InputLoan(SerializationContext& context, std::span<const std::uint8_t> octets);
    InputLoan(const InputLoan&) = delete;
    InputLoan& operator=(const InputLoan&) = delete;
    ~InputLoan();
    MemoryIStream& stream() { return stream_; }

   private:
    SerializationContext& context_;
    MemoryIStream& stream_;
  };

  /// The position of a TLV in the message being decoded.
  struct Place {
    std::size_t offset;  ///< of its type octet, from the beginning of the memory stream
    std::uint8_t type;   ///< value of the type octet
  };

  /// The TLV that the last decode reached; after a failed decode, the TLV in which it failed. Empty before the first
  /// TLV, and if the stream is not in memory.
  const std::optional<Place>& get_place() const { return place_; }
  void set_place(const std::optional<Place>& place) { place_ = place; }

  /// Counts one level of nested TLVs while it exists. Throws SerializationException beyond MAX_NESTING.
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
  MemoryIStream& borrow(std::span<const std::uint8_t> octets);

  std::vector<std::unique_ptr<MemoryOStream>> streams_;
  std::vector<std::unique_ptr<MemoryIStream>> inputs_;
  std::size_t lent_ = 0;
  std::size_t lent_inputs_ = 0;
  std::optional<Place> place_;
  unsigned int nesting_ = 0;
};

}  // namespace qel::serialization
