#pragma once

#include <compare>
#include <cstdint>
#include <utility>

namespace qel {

/// A 32-bit identifier of the daemon runtime.
class ID {
 public:
  constexpr ID() = default;
  constexpr explicit ID(std::uint32_t value) : value_(value) {}

  constexpr std::uint32_t get_value() const { return value_; }
  void swap(ID& other) noexcept { std::swap(value_, other.value_); }

  friend constexpr auto operator<=>(const ID&, const ID&) = default;

 private:
  std::uint32_t value_ = 0;
};

inline void swap(ID& left, ID& right) noexcept { left.swap(right); }

}  // namespace qel
