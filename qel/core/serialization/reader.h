#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <istream>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

#include "qel/core/export.h"
#include "qel/core/serialization/memory_stream.h"
#include "qel/core/serialization/wire_type.h"

namespace qel::serialization {

/// Octets that can be read without a call on the stream.
struct ReadWindow {
  const std::uint8_t* position;
  const std::uint8_t* end;
};

/// The source of a Reader's octets: the memory behind a MemoryReadBuffer, all at once; or any other stream, from which
/// only the octets of one step are read at a time.
class QEL_EXPORT ReadSource {
 public:
  static constexpr std::size_t LARGEST_STEP = 256;

  explicit ReadSource(std::istream& is) : is_(is), memory_(is.good() ? MemoryReadBuffer::of(is) : nullptr) {}
  ReadSource(const ReadSource&) = delete;
  ReadSource& operator=(const ReadSource&) = delete;

  ReadWindow open() const {
    if (memory_ == nullptr) {
      return {scratch_, scratch_};
    }
    const std::span<const std::uint8_t> octets = memory_->unread();
    return {octets.data(), octets.data() + octets.size()};
  }

  /// Reads the octets of the given primitives, at most LARGEST_STEP. If the stream ends first, it is left in the state
  /// that `read` leaves, and the exception is that of the first primitive that lacks an octet.
  ReadWindow refill(const std::uint8_t* position, std::span<const PrimitiveEnd> primitives);

  /// Number of octets before `position`, which must lie in the window last opened or refilled.
  std::size_t taken(const std::uint8_t* position) const {
    return memory_ != nullptr ? static_cast<std::size_t>(position - memory_->unread().data()) : refilled_;
  }

  void close(const std::uint8_t* position) {
    if (memory_ != nullptr) {
      memory_->read_up_to(position);
    }
  }

 private:
  std::istream& is_;
  MemoryReadBuffer* memory_;
  std::size_t refilled_ = 0;
  std::uint8_t scratch_[LARGEST_STEP];
};

/// Reads fixed-size fields from a stream, several in one step. Nothing else may read the stream while the Reader
/// exists; afterwards the stream is positioned after the last octet read.
///
/// A Reader is a pair of pointers that never leaves the function that uses it, so that they stay in registers.
class Reader {
 public:
  explicit Reader(ReadSource& source) : source_(source), window_(source.open()) {}
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;
  ~Reader() { source_.close(window_.position); }

  /// Reads the fields in order. Throws SerializationException with the text of the field that is cut short, and then
  /// changes none of them.
  template <FixedWire... T>
  void get(T&... fields) {
    [[maybe_unused]] const std::uint8_t* octets = take<T...>();
    ((WireType<T>::load(octets, fields), octets += WireType<T>::SIZE), ...);
  }

  template <FixedWire T>
  T get() {
    T value{};
    get(value);
    return value;
  }

  /// Reads `count` values. Allocates for octets that are there, never by the count alone.
  template <FixedWire T>
  std::vector<T> get_list(std::size_t count) {
    if (present(WireType<T>::SIZE) < count) [[unlikely]] {
      std::vector<T> values;
      window_ = get_parts(source_, window_, values, count);
      return values;
    }
    const std::uint8_t* octets = window_.position;
    window_.position += count * WireType<T>::SIZE;
    if constexpr (std::is_same_v<T, std::uint8_t>) {
      return std::vector<T>(octets, octets + count);  // avoids zeroing them first
    } else {
      std::vector<T> values(count);
      load_all(octets, values.data(), count);
      return values;
    }
  }

  /// Returns the next `count` octets in place, at most LARGEST_STEP; valid until the next read.
  std::span<const std::uint8_t> get_octets(std::size_t count) {
    return count == 0 ? std::span<const std::uint8_t>() : std::span(take_run<std::uint8_t>(count), count);
  }

  /// Appends `count` characters, each a `char` primitive.
  void get_characters(std::string& text, std::size_t count) {
    while (count != 0) {
      const std::size_t chunk = std::min(count, std::max(present(1), ReadSource::LARGEST_STEP));
      text.append(reinterpret_cast<const char*>(take_run<char>(chunk)), chunk);
      count -= chunk;
    }
  }

  /// Number of octets read so far.
  std::size_t taken() const { return source_.taken(window_.position); }

  /// Number of complete values of `size` octets left in memory, as a hint for reserve(); 0 for other streams.
  std::size_t present(std::size_t size) const {
    return static_cast<std::size_t>(window_.end - window_.position) / size;
  }

 private:
  template <FixedWire... T>
  const std::uint8_t* take() {
    static_assert(WIRE_SIZE<T...> <= ReadSource::LARGEST_STEP);
    return take(WIRE_SIZE<T...>, PRIMITIVE_ENDS<T...>);
  }

  const std::uint8_t* take(std::size_t size, std::span<const PrimitiveEnd> primitives) {
    if (static_cast<std::size_t>(window_.end - window_.position) < size) [[unlikely]] {
      window_ = source_.refill(window_.position, primitives);
    }
    const std::uint8_t* octets = window_.position;
    window_.position += size;
    return octets;
  }

  /// Reads the octets of `count` values, which are in memory or fit one step.
  template <FixedWire T>
  const std::uint8_t* take_run(std::size_t count) {
    const PrimitiveEnd run = octet_run<T>(count);
    return take(run.end, {&run, 1});
  }

  /// One primitive for all of them, since they fail with the same text.
  template <FixedWire T>
  static constexpr PrimitiveEnd octet_run(std::size_t count) {
    static_assert(WireType<T>::OCTETS);
    return {count * WireType<T>::SIZE, PRIMITIVE_ENDS<T>.back().texts};
  }

  template <FixedWire T>
  static void load_all(const std::uint8_t* octets, T* values, std::size_t count) {
    if constexpr (WireType<T>::OCTETS) {
      if (count != 0) {
        std::memcpy(values, octets, count * WireType<T>::SIZE);
      }
    } else {
      for (std::size_t i = 0; i < count; ++i) {
        WireType<T>::load(octets + i * WireType<T>::SIZE, values[i]);
      }
    }
  }

  /// Appends the values of a list that the window does not hold completely: as many as it holds; if none, as many as
  /// one step may fetch or fail on. Returns the new window, because a window passed by reference would not stay in
  /// registers.
  template <FixedWire T>
  [[gnu::noinline]] static ReadWindow get_parts(ReadSource& source, ReadWindow window, std::vector<T>& values,
                                                std::size_t count) {
    constexpr std::size_t SIZE = WireType<T>::SIZE;
    static_assert(SIZE <= ReadSource::LARGEST_STEP);
    while (count != 0) {
      std::size_t part = std::min(count, static_cast<std::size_t>(window.end - window.position) / SIZE);
      if (part == 0) {
        if constexpr (WireType<T>::OCTETS) {
          part = std::min(count, ReadSource::LARGEST_STEP / SIZE);
          const PrimitiveEnd run = octet_run<T>(part);
          window = source.refill(window.position, {&run, 1});
        } else {
          part = 1;
          window = source.refill(window.position, PRIMITIVE_ENDS<T>);
        }
      }
      const std::size_t first = values.size();
      values.resize(first + part);
      load_all(window.position, values.data() + first, part);
      window.position += part * SIZE;
      count -= part;
    }
    return window;
  }

  ReadSource& source_;
  ReadWindow window_;
};

}  // namespace qel::serialization
