#pragma once

#include <cstdint>
#include <iosfwd>
#include <span>
#include <string>
#include <type_traits>

#include "qel/core/export.h"

namespace qel {

/// A row in the text table of an enumeration. Each enumeration has one such table, in which its sentinel is a row like
/// any other. Values without a row print as decimal numbers.
struct EnumText {
  /// Takes the enumerator, so that its code is written only in the enumeration.
  template <class E>
  constexpr EnumText(E enumerator, const char* its_text)
      : value(static_cast<std::uint16_t>(enumerator)), text(its_text) {
    static_assert(std::is_enum_v<E> && sizeof(E) <= sizeof(value));
  }

  std::uint16_t value;  ///< code of the enumerator
  const char* text;
};

/// Returns the text of `value`, or null if it has no row.
QEL_EXPORT const char* find_enum_text(std::span<const EnumText> table, std::uint16_t value);

///@{
/// Returns the text of `value`, or its decimal number if it has no row.
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
