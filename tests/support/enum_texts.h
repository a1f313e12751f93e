#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <type_traits>

namespace qel::test {

/// Checks `enum_to_string` and `operator<<` for every value of the underlying type: the names of the table, which is a
/// sequence of numbers and names (`~` for a blank in one), and for all other values the text `unknown`, where `#`
/// stands for their decimal numbers.
template <class E>
void check_enum_texts(const std::string& table, const std::string& unknown = "#") {
  std::map<std::uint32_t, std::string> names;
  std::istringstream rows(table);
  rows.unsetf(std::ios_base::basefield);
  std::uint32_t value = 0;
  while (rows >> value) {
    ASSERT_TRUE(rows >> names[value]);
    std::replace(names[value].begin(), names[value].end(), '~', ' ');
  }
  ASSERT_TRUE(rows.eof()) << "not a number in the table";

  using Number = std::underlying_type_t<E>;
  for (std::uint32_t number = 0; number <= std::numeric_limits<Number>::max(); ++number) {
    const auto name = names.find(number);
    std::string expected = name != names.end() ? name->second : unknown;
    if (const auto mark = expected.find('#'); mark != std::string::npos) {
      expected.replace(mark, 1, std::to_string(number));
    }
    const auto enumerator = static_cast<E>(number);
    ASSERT_EQ(enum_to_string(enumerator), expected);
    ASSERT_EQ((std::ostringstream() << enumerator).str(), expected);
  }
}

}  // namespace qel::test
