#pragma once

#include <cstdint>
#include <iosfwd>
#include <sstream>
#include <string>
#include <type_traits>

#include "qel/core/export.h"

namespace qel {

/// Converts every character with std::toupper.
QEL_EXPORT std::string to_upper(std::string text);

/// Returns what operator<< prints. For numbers, use std::to_string.
template <class T>
requires(!std::is_arithmetic_v<T>) std::string to_string(const T& value) {
  std::ostringstream text;
  text << value;
  return std::move(text).str();
}

/// Prints a number in decimal, regardless of the stream's base, sign and grouping.
class Decimal {
 public:
  constexpr explicit Decimal(std::int64_t value) : value_(value) {}

  constexpr std::int64_t value() const { return value_; }

 private:
  std::int64_t value_;
};

QEL_EXPORT std::ostream& operator<<(std::ostream& os, Decimal number);

/// Prints a number in lower-case hexadecimal without leading zeros, regardless of the stream's settings.
class Hexadecimal {
 public:
  constexpr explicit Hexadecimal(std::uint64_t value) : value_(value) {}

  constexpr std::uint64_t value() const { return value_; }

 private:
  std::uint64_t value_;
};

QEL_EXPORT std::ostream& operator<<(std::ostream& os, Hexadecimal number);

/// The text of a flag in debug texts.
constexpr const char* true_or_false(bool value) { return value ? "true" : "false"; }

}  // namespace qel
