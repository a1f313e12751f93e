#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string_view>

namespace qel {

/// Up to N octets, stored inline.
template <std::size_t N>
class FixedByteBuffer {
 public:
  constexpr FixedByteBuffer() = default;

  /// Throws std::invalid_argument for more than N octets.
  constexpr explicit FixedByteBuffer(std::span<const std::uint8_t> octets) : size_(octets.size()) {
    require_room();
    std::copy(octets.begin(), octets.end(), octets_.begin());
  }

  /// Stores the octets of a text, without a terminating NUL. Throws std::invalid_argument for more than N.
  constexpr explicit FixedByteBuffer(std::string_view text) : size_(text.size()) {
    require_room();
    std::transform(text.begin(), text.end(), octets_.begin(),
                   [](char character) { return static_cast<std::uint8_t>(character); });
  }

  static constexpr std::size_t capacity() { return N; }
  constexpr std::size_t size() const { return size_; }
  constexpr bool empty() const { return size_ == 0; }
  constexpr const std::uint8_t* data() const { return octets_.data(); }
  constexpr const std::uint8_t* begin() const { return data(); }
  constexpr const std::uint8_t* end() const { return data() + size_; }

  friend constexpr bool operator==(const FixedByteBuffer& left, const FixedByteBuffer& right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end());
  }

 private:
  constexpr void require_room() const {
    if (size_ > N) {
      throw std::invalid_argument("FixedByteBuffer: too many octets");
    }
  }

  std::array<std::uint8_t, N> octets_{};
  std::size_t size_ = 0;
};

/// True unless the buffer is empty.
template <std::size_t N>
constexpr bool is_valid(const FixedByteBuffer<N>& buffer) {
  return !buffer.empty();
}

}  // namespace qel
