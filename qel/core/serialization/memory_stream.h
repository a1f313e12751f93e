#pragma once

#include <cstddef>
#include <cstdint>
#include <istream>
#include <memory>
#include <optional>
#include <ostream>
#include <span>
#include <streambuf>
#include <typeinfo>

#include "qel/core/export.h"

namespace qel::serialization {

namespace detail {

QEL_EXPORT bool is_same_type(const std::type_info& left, const std::type_info& right);

/// Comparing addresses almost always decides; names are compared only for other streams, and where a type's information
/// exists twice in a process.
template <class T>
bool is_exactly(const std::streambuf* buffer) {
  return buffer != nullptr && (&typeid(*buffer) == &typeid(T) || is_same_type(typeid(*buffer), typeid(T)));
}

}  // namespace detail

/// Reads a span of octets in place. The octets are borrowed and must outlive the use of the buffer.
class QEL_EXPORT MemoryReadBuffer final : public std::streambuf {
 public:
  MemoryReadBuffer() = default;
  explicit MemoryReadBuffer(std::span<const std::uint8_t> octets) { reset(octets); }
  ~MemoryReadBuffer() override;

  /// Starts over with other octets.
  void reset(std::span<const std::uint8_t> octets) {
    // setg takes char*, although a get area is only read.
    char* begin = const_cast<char*>(reinterpret_cast<const char*>(octets.data()));
    setg(begin, begin, begin + octets.size());
  }

  /// Number of octets read so far.
  std::size_t consumed() const { return static_cast<std::size_t>(gptr() - eback()); }

  /// The octets that have not been read yet.
  std::span<const std::uint8_t> unread() const {
    return {reinterpret_cast<const std::uint8_t*>(gptr()), static_cast<std::size_t>(egptr() - gptr())};
  }

  /// Continues at `position`, which must lie within the span or at its end.
  void read_up_to(const std::uint8_t* position) {
    setg(eback(), const_cast<char*>(reinterpret_cast<const char*>(position)), egptr());
  }

  /// Returns the buffer behind a stream, or null if the stream uses another kind of buffer.
  static MemoryReadBuffer* of(const std::istream& is) {
    return detail::is_exactly<MemoryReadBuffer>(is.rdbuf()) ? static_cast<MemoryReadBuffer*>(is.rdbuf()) : nullptr;
  }

 protected:
  pos_type seekoff(off_type offset, std::ios_base::seekdir direction, std::ios_base::openmode which) override;
  pos_type seekpos(pos_type position, std::ios_base::openmode which) override;
};

/// Returns the next octet without reading it; empty if there is none, in which case the stream is left as by `peek`.
/// `memory` is the stream's buffer, or null if the stream reads from something else.
inline std::optional<std::uint8_t> peek_octet(std::istream& is, const MemoryReadBuffer* memory) {
  if (memory != nullptr && is.good() && !memory->unread().empty()) {
    return memory->unread().front();
  }
  const std::istream::int_type octet = is.peek();
  return is.good() ? std::optional(static_cast<std::uint8_t>(octet)) : std::nullopt;
}
/// Peeks at the next octet of any stream.
inline std::optional<std::uint8_t> peek_octet(std::istream& is) { return peek_octet(is, MemoryReadBuffer::of(is)); }

/// Collects output in memory that grows as needed and is kept for reuse.
class QEL_EXPORT MemoryWriteBuffer final : public std::streambuf {
 public:
  /// The free space after the octets written so far.
  struct Room {
    std::uint8_t* position;
    std::uint8_t* end;
  };

  MemoryWriteBuffer() = default;
  ~MemoryWriteBuffer() override;

  std::size_t size() const { return offset_of(reinterpret_cast<const std::uint8_t*>(pptr())); }

  /// All octets written; valid until the next write.
  std::span<const std::uint8_t> octets() const { return {memory_.get(), size()}; }

  /// Removes everything after the first `size` octets; the memory is kept.
  void truncate(std::size_t size) {
    if (size < this->size()) {
      set_position(size);
    }
  }
  void clear() { truncate(0); }

  Room room() { return {reinterpret_cast<std::uint8_t*>(pptr()), reinterpret_cast<std::uint8_t*>(epptr())}; }

  /// Makes room for at least `count` octets after `position`. Octets stored before `position` are kept, but do not
  /// count as written yet.
  Room grow(const std::uint8_t* position, std::size_t count);

  /// Marks the octets stored before `room.position` as written; `room` must come from this buffer.
  void written_up_to(const Room& room) {
    setp(reinterpret_cast<char*>(room.position), reinterpret_cast<char*>(room.end));
  }

  /// Returns the octet at `offset`; valid until the memory grows.
  std::uint8_t* at(std::size_t offset) { return memory_.get() + offset; }
  std::size_t offset_of(const std::uint8_t* position) const {
    return static_cast<std::size_t>(position - memory_.get());
  }

  /// Returns the buffer behind a stream, or null if the stream uses another kind of buffer.
  static MemoryWriteBuffer* of(const std::ostream& os) {
    return detail::is_exactly<MemoryWriteBuffer>(os.rdbuf()) ? static_cast<MemoryWriteBuffer*>(os.rdbuf()) : nullptr;
  }

 protected:
  int_type overflow(int_type character) override;
  std::streamsize xsputn(const char* characters, std::streamsize count) override;
  pos_type seekoff(off_type offset, std::ios_base::seekdir direction, std::ios_base::openmode which) override;

 private:
  /// The put area begins at the position itself, because its own offsets are int and too small for large contents.
  void set_position(std::size_t offset) {
    setp(reinterpret_cast<char*>(memory_.get() + offset), reinterpret_cast<char*>(memory_.get() + capacity_));
  }

  std::unique_ptr<std::uint8_t[]> memory_;
  std::size_t capacity_ = 0;
};

/// An input stream over borrowed octets.
class QEL_EXPORT MemoryIStream final : public std::istream {
 public:
  MemoryIStream() : std::istream(nullptr) { rdbuf(&buffer_); }
  explicit MemoryIStream(std::span<const std::uint8_t> octets) : MemoryIStream() { buffer_.reset(octets); }
  ~MemoryIStream() override;

  /// Starts over with other octets and a good state; much cheaper than a new stream.
  void reset(std::span<const std::uint8_t> octets) {
    buffer_.reset(octets);
    if (!good()) {
      clear();
    }
  }
  std::size_t consumed() const { return buffer_.consumed(); }

 private:
  MemoryReadBuffer buffer_;
};

/// An output stream that collects octets in its own memory.
class QEL_EXPORT MemoryOStream final : public std::ostream {
 public:
  MemoryOStream() : std::ostream(nullptr) { rdbuf(&buffer_); }
  ~MemoryOStream() override;

  /// Starts over empty and with a good state; the memory is kept.
  void reset() {
    buffer_.clear();
    if (!good()) {
      clear();
    }
  }
  std::span<const std::uint8_t> octets() const { return buffer_.octets(); }
  MemoryWriteBuffer& buffer() { return buffer_; }

 private:
  MemoryWriteBuffer buffer_;
};

}  // namespace qel::serialization
