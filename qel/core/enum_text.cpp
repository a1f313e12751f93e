#include "qel/core/enum_text.h"

#include <algorithm>
#include <ostream>

#include "qel/core/text.h"

namespace qel {

const char* find_enum_text(std::span<const EnumText> table, std::uint16_t value) {
  const auto row = std::find_if(table.begin(), table.end(), [value](const EnumText& r) { return r.value == value; });
  return row == table.end() ? nullptr : row->text;
}

std::string enum_text(std::span<const EnumText> table, std::uint16_t value) {
  const char* text = find_enum_text(table, value);
  return text != nullptr ? std::string(text) : std::to_string(value);
}

std::ostream& print_enum(std::ostream& os, std::span<const EnumText> table, std::uint16_t value) {
  const char* text = find_enum_text(table, value);
  return text != nullptr ? os << text : os << Decimal(value);
}

}  // namespace qel
