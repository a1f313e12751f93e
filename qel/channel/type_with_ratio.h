#pragma once

#include <compare>
#include <cstdint>
#include <iosfwd>
#include <ratio>
#include <type_traits>

#include "qel/core/export.h"

namespace qel {

/// A number of type V whose unit, Ratio in terms of the base unit, is part of its type. Different units neither
/// convert into each other nor compare; `unit_cast` converts on request.
template <class V, class Ratio>
class TypeWithRatio {
 public:
  using value_type = V;
  using ratio = typename Ratio::type;

  constexpr TypeWithRatio() = default;
  constexpr explicit TypeWithRatio(V value) : value_(value) {}

  constexpr V value() const { return value_; }

  friend constexpr auto operator<=>(const TypeWithRatio&, const TypeWithRatio&) = default;

  friend constexpr TypeWithRatio operator+(TypeWithRatio left, TypeWithRatio right) {
    return TypeWithRatio(static_cast<V>(left.value_ + right.value_));
  }
  friend constexpr TypeWithRatio operator-(TypeWithRatio left, TypeWithRatio right) {
    return TypeWithRatio(static_cast<V>(left.value_ - right.value_));
  }

 private:
  V value_{};
};

/// Frequencies.
using kHz = TypeWithRatio<long, std::ratio<1000, 1>>;

/// Widths and spacings of channels.
using MHz = TypeWithRatio<long, std::ratio<1000000, 1>>;

/// The same quantity in the unit of `To`; truncates toward zero.
template <class To, class V, class Ratio>
constexpr To unit_cast(const TypeWithRatio<V, Ratio>& from) {
  using Factor = std::ratio_divide<Ratio, typename To::ratio>;
  using Wide = std::common_type_t<V, typename To::value_type, std::intmax_t>;
  return To(static_cast<typename To::value_type>(static_cast<Wide>(from.value()) * Factor::num / Factor::den));
}

/// The number in decimal and its unit: "2412000 kHz".
QEL_EXPORT std::ostream& operator<<(std::ostream& os, const kHz& frequency);

/// The number in decimal and its unit: "20 MHz".
QEL_EXPORT std::ostream& operator<<(std::ostream& os, const MHz& width);

}  // namespace qel
