#pragma once

#include <cstdint>
#include <iosfwd>
#include <sstream>
#include <string>
#include <type_traits>

#include "qel/core/export.h"

namespace qel {

/// Every character passed through std::toupper.
QEL_EXPORT std::string to_upper(std::string text);

/// What operator<< prints. Numbers have std::to_string.
template <class T>
requires(!std::is_arithmetic_v<T>) std::string to_string(const T& value) {
  std::ostringstream text;
  text << value;
  return std::move(text).str();
}

/// Prints a number in decimal digits, whatever base, sign or grouping the stream is set to.
class Decimal {
 public:
  constexpr explicit Decimal(std::int64_t value) : value_(value) {}

  constexpr std::int64_t value() const { return value_; }

 private:
  std::int64_t value_;
};

QEL_EXPORT std::ostream& operator<<(std::ostream& os, Decimal number);

/// Prints a number in lower-case hexadecimal digits, as few as it takes, whatever the stream is set to.
class Hexadecimal {
 public:
  constexpr explicit Hexadecimal(std::uint64_t value) : value_(value) {}

  constexpr std::uint64_t value() const { return value_; }

 private:
  std::uint64_t value_;
};

QEL_EXPORT std::ostream& operator<<(std::ostream& os, Hexadecimal number);

/// How debug texts show a flag.
constexpr const char* true_or_false(bool value) { return value ? "true" : "false"; }

}  // namespace qel
