#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <span>
#include <string_view>
#include <vector>

#include "qel/core/export.h"
#include "qel/core/serialization/binary_serializable.h"
#include "qel/core/serialization/memory_stream.h"
#include "qel/core/serialization/serialization_context.h"
#include "qel/core/serialization/wire_type.h"

namespace qel::serialization {

/// Writes all octets with one call. If the stream takes fewer, sets badbit and throws the exception of the first
/// primitive that was not written completely; the last primitive covers all octets after it.
QEL_EXPORT void write_octets(std::ostream& os, std::span<const std::uint8_t> octets,
                             std::span<const PrimitiveEnd> primitives);

/// Returns the memory that the stream writes to, or null if the stream is not in memory or not good.
inline MemoryWriteBuffer* memory_of(std::ostream& os) { return os.good() ? MemoryWriteBuffer::of(os) : nullptr; }

/// Throws if the stream has failed, after something wrote to it directly.
QEL_EXPORT void check_written(const std::ostream& os);

/// Encodes `object` into memory borrowed from the context, then writes the octets with write_octets. For streams for
/// which memory_of returns null.
QEL_EXPORT void serialize_through_memory(std::ostream& os, SerializationContext& context,
                                         const BinarySerializable& object, std::span<const PrimitiveEnd> primitives);

/// On destruction, removes what was written to the memory since construction, unless `keep` was called.
class Rollback {
 public:
  explicit Rollback(MemoryWriteBuffer& memory) : memory_(memory), size_(memory.size()) {}
  Rollback(const Rollback&) = delete;
  Rollback& operator=(const Rollback&) = delete;
  ~Rollback() { memory_.truncate(size_); }

  void keep() { size_ = memory_.size(); }

 private:
  MemoryWriteBuffer& memory_;
  std::size_t size_;
};

/// Writes fields to memory, several fixed-size fields in one step. They are discarded unless `commit` follows.
///
/// Like the Reader, it is a pair of pointers that never leaves the function that uses it.
class Writer {
 public:
  explicit Writer(MemoryWriteBuffer& memory) : memory_(memory), room_(memory.room()) {}
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  template <FixedWire... T>
  void put(const T&... fields) {
    [[maybe_unused]] std::uint8_t* octets = take(WIRE_SIZE<T...>);
    ((WireType<T>::store(octets, fields), octets += WireType<T>::SIZE), ...);
  }

  template <FixedWire T>
  void put_list(const std::vector<T>& values) {
    std::uint8_t* octets = take(values.size() * WireType<T>::SIZE);
    if constexpr (WireType<T>::OCTETS) {
      if (!values.empty()) {
        std::memcpy(octets, values.data(), values.size() * WireType<T>::SIZE);
      }
    } else {
      for (const T& value : values) {
        WireType<T>::store(octets, value);
        octets += WireType<T>::SIZE;
      }
    }
  }

  void put_characters(std::string_view text) {
    if (!text.empty()) {
      std::memcpy(take(text.size()), text.data(), text.size());
    }
  }

  /// Offset of the next octet in the memory.
  std::size_t offset() const { return memory_.offset_of(room_.position); }

  /// Overwrites a field written earlier at `offset`.
  template <FixedWire T>
  void put_at(std::size_t offset, const T& field) {
    WireType<T>::store(memory_.at(offset), field);
  }

  void commit() { memory_.written_up_to(room_); }

 private:
  std::uint8_t* take(std::size_t size) {
    if (static_cast<std::size_t>(room_.end - room_.position) < size) [[unlikely]] {
      room_ = memory_.grow(room_.position, size);
    }
    std::uint8_t* octets = room_.position;
    room_.position += size;
    return octets;
  }

  MemoryWriteBuffer& memory_;
  MemoryWriteBuffer::Room room_;
};

}  // namespace qel::serialization
