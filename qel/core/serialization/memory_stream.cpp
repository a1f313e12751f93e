#include "qel/core/serialization/memory_stream.h"

#include <algorithm>
#include <cstring>

namespace qel::serialization {

namespace {

constexpr std::size_t FIRST_CAPACITY = 2048;  // a little more than an Ethernet frame

const std::streambuf::pos_type NO_POSITION{std::streambuf::off_type{-1}};

}  // namespace

bool detail::is_same_type(const std::type_info& left, const std::type_info& right) { return left == right; }

MemoryReadBuffer::~MemoryReadBuffer() = default;

MemoryReadBuffer::pos_type MemoryReadBuffer::seekoff(off_type offset, std::ios_base::seekdir direction,
                                                     std::ios_base::openmode which) {
  const off_type size = egptr() - eback();
  off_type base = 0;
  if (direction == std::ios_base::cur) {
    base = gptr() - eback();
  } else if (direction == std::ios_base::end) {
    base = size;
  }
  if ((which & std::ios_base::in) == 0 || offset < -base || offset > size - base) {
    return NO_POSITION;
  }
  setg(eback(), eback() + base + offset, egptr());
  return base + offset;
}

MemoryReadBuffer::pos_type MemoryReadBuffer::seekpos(pos_type position, std::ios_base::openmode which) {
  return seekoff(off_type{position}, std::ios_base::beg, which);
}

MemoryWriteBuffer::~MemoryWriteBuffer() = default;

MemoryWriteBuffer::Room MemoryWriteBuffer::grow(const std::uint8_t* position, std::size_t count) {
  const std::size_t committed = size();
  const std::size_t used = offset_of(position);
  if (capacity_ - used < count) {
    const std::size_t capacity = std::max({used + count, capacity_ * 2, FIRST_CAPACITY});
    auto memory = std::make_unique_for_overwrite<std::uint8_t[]>(capacity);
    if (used != 0) {
      std::memcpy(memory.get(), memory_.get(), used);
    }
    memory_ = std::move(memory);
    capacity_ = capacity;
    set_position(committed);
  }
  return {memory_.get() + used, memory_.get() + capacity_};
}

MemoryWriteBuffer::int_type MemoryWriteBuffer::overflow(int_type character) {
  if (!traits_type::eq_int_type(character, traits_type::eof())) {
    const Room room = grow(this->room().position, 1);
    *room.position = static_cast<std::uint8_t>(traits_type::to_char_type(character));
    written_up_to({room.position + 1, room.end});
  }
  return traits_type::not_eof(character);
}

std::streamsize MemoryWriteBuffer::xsputn(const char* characters, std::streamsize count) {
  if (count <= 0) {
    return 0;
  }
  const auto length = static_cast<std::size_t>(count);
  const Room room = grow(this->room().position, length);
  std::memcpy(room.position, characters, length);
  written_up_to({room.position + length, room.end});
  return count;
}

MemoryWriteBuffer::pos_type MemoryWriteBuffer::seekoff(off_type offset, std::ios_base::seekdir direction,
                                                       std::ios_base::openmode which) {
  // Only the current position can be queried; octets are appended, never overwritten.
  if (offset != 0 || direction == std::ios_base::beg || (which & std::ios_base::out) == 0) {
    return NO_POSITION;
  }
  return static_cast<off_type>(size());
}

MemoryIStream::~MemoryIStream() = default;
MemoryOStream::~MemoryOStream() = default;

}  // namespace qel::serialization
