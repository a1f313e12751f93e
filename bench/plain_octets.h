#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

/// Octet access for the hand-written codec.
namespace plain {

inline std::uint16_t load16(const std::uint8_t* p) { return static_cast<std::uint16_t>(p[0] << 8 | p[1]); }
inline std::uint32_t load32(const std::uint8_t* p) { return std::uint32_t{load16(p)} << 16 | load16(p + 2); }

inline void store16(std::uint8_t* p, std::uint16_t value) {
  p[0] = static_cast<std::uint8_t>(value >> 8);
  p[1] = static_cast<std::uint8_t>(value);
}
inline void store32(std::uint8_t* p, std::uint32_t value) {
  store16(p, static_cast<std::uint16_t>(value >> 16));
  store16(p + 2, static_cast<std::uint16_t>(value));
}

/// Flag words, lowest octet first.
inline std::uint16_t load_flags(const std::uint8_t* p) { return static_cast<std::uint16_t>(p[1] << 8 | p[0]); }
inline void store_flags(std::uint8_t* p, std::uint16_t flags) {
  p[0] = static_cast<std::uint8_t>(flags);
  p[1] = static_cast<std::uint8_t>(flags >> 8);
}

/// A memcpy that hides from the compiler that the count is small: it would otherwise use a string instruction, which
/// takes several times as long to start.
inline void copy(void* to, const void* from, std::size_t count) {
  asm("" : "+r"(count));
  std::memcpy(to, from, count);
}

/// Reads from `p` up to `end`; every reader returns false if there are not enough octets.
struct Cursor {
  const std::uint8_t* p;
  const std::uint8_t* end;

  bool has(std::size_t count) const { return static_cast<std::size_t>(end - p) >= count; }
};

}  // namespace plain
