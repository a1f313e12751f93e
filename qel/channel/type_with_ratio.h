#pragma once

#include <compare>
#include <concepts>
#include <iosfwd>
#include <limits>
#include <ratio>

#include "qel/core/export.h"

namespace qel {

namespace detail {

/// Returns `exact`, or on overflow the limit of its type in that direction.
template <std::integral V>
constexpr V saturated(bool overflowed, V exact, bool negative) {
  return !overflowed ? exact : negative ? std::numeric_limits<V>::min() : std::numeric_limits<V>::max();
}

}  // namespace detail

/// An integer of type V whose unit is part of its type; Ratio relates it to the base unit. Different units neither
/// convert implicitly nor compare; `unit_cast` converts explicitly. Results saturate at the limits of V.
template <std::integral V, class Ratio>
class TypeWithRatio {
 public:
  using value_type = V;
  using ratio = typename Ratio::type;

  constexpr TypeWithRatio() = default;
  constexpr explicit TypeWithRatio(V value) : value_(value) {}

  constexpr V value() const { return value_; }

  friend constexpr auto operator<=>(const TypeWithRatio&, const TypeWithRatio&) = default;

  friend constexpr TypeWithRatio operator+(TypeWithRatio left, TypeWithRatio right) {
    V sum{};
    const bool overflowed = __builtin_add_overflow(left.value_, right.value_, &sum);
    return TypeWithRatio(detail::saturated(overflowed, sum, left.value_ < 0));
  }
  friend constexpr TypeWithRatio operator-(TypeWithRatio left, TypeWithRatio right) {
    V difference{};
    const bool overflowed = __builtin_sub_overflow(left.value_, right.value_, &difference);
    return TypeWithRatio(detail::saturated(overflowed, difference, left.value_ < right.value_));
  }

 private:
  V value_{};
};

/// Frequencies.
using kHz = TypeWithRatio<long, std::ratio<1000, 1>>;

/// Channel widths and spacings.
using MHz = TypeWithRatio<long, std::ratio<1000000, 1>>;

/// Converts a quantity to the unit of `To`, truncating toward zero.
template <class To, std::integral V, class Ratio>
constexpr To unit_cast(const TypeWithRatio<V, Ratio>& from) {
  using Factor = std::ratio_divide<Ratio, typename To::ratio>;
  using Number = typename To::value_type;
  Number number{};
  const bool overflowed = __builtin_mul_overflow(from.value() / Factor::den, Factor::num, &number);
  static_assert(Factor::num == 1 || Factor::den == 1, "one unit is a multiple of the other");
  return To(detail::saturated(overflowed, number, from.value() < 0));
}

/// Prints the decimal number and its unit: "2412000 kHz".
QEL_EXPORT std::ostream& operator<<(std::ostream& os, const kHz& frequency);

/// Prints the decimal number and its unit: "20 MHz".
QEL_EXPORT std::ostream& operator<<(std::ostream& os, const MHz& width);

}  // namespace qel
