#pragma once

#include <sstream>
#include <string>
#include <type_traits>

#include "qel/core/export.h"

namespace qel {

/// Every character passed through toupper of the "C" locale.
QEL_EXPORT std::string to_upper(std::string text);

/// What operator<< prints. Numbers have std::to_string.
template <class T>
requires(!std::is_arithmetic_v<T>) std::string to_string(const T& value) {
  std::ostringstream text;
  text << value;
  return std::move(text).str();
}

}  // namespace qel
