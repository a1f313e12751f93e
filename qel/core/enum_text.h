#pragma once

#include <cstdint>
#include <iosfwd>
#include <span>
#include <string>
#include <type_traits>

#include "qel/core/export.h"

namespace qel {

/// One row of an enumeration's table of texts. Every enumeration has one such table, its sentinel a row like any other;
/// values without a row print as decimal numbers.
struct EnumText {
  /// By its enumerator, so that each code stands in the enumeration and nowhere else.
  template <class E>
  constexpr EnumText(E enumerator, const char* its_text)
      : value(static_cast<std::uint16_t>(enumerator)), text(its_text) {
    static_assert(std::is_enum_v<E> && sizeof(E) <= sizeof(value));
  }

  std::uint16_t value;  ///< the code of the enumerator
  const char* text;
};

/// The text in the row of `value`, null when it has none.
QEL_EXPORT const char* find_enum_text(std::span<const EnumText> table, std::uint16_t value);

///@{
/// The text of `value`, its decimal number when it has none.
QEL_EXPORT std::string enum_text(std::span<const EnumText> table, std::uint16_t value);
QEL_EXPORT std::ostream& print_enum(std::ostream& os, std::span<const EnumText> table, std::uint16_t value);

template <class E>
requires std::is_enum_v<E> std::string enum_text(std::span<const EnumText> table, E value) {
  return enum_text(table, static_cast<std::uint16_t>(value));
}

template <class E>
requires std::is_enum_v<E> std::ostream& print_enum(std::ostream& os, std::span<const EnumText> table, E value) {
  return print_enum(os, table, static_cast<std::uint16_t>(value));
}
///@}

}  // namespace qel
