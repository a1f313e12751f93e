#pragma once

#include "tests/support/testing.h"

namespace qel::test {

template <auto... VALUES>
std::string spelling() {
  return __PRETTY_FUNCTION__;
}

/// Returns the enumerators of the 256 values from FIRST on as the compiler spells them; empty for values without one.
template <class E, std::uint32_t FIRST = 0>
std::vector<std::string> enumerators() {
  std::string text = []<std::uint32_t... I>(std::integer_sequence<std::uint32_t, I...>) {
    return spelling<static_cast<E>(FIRST + I)...>();
  }
  (std::make_integer_sequence<std::uint32_t, 256>());
  std::istringstream list(text.substr(text.find("VALUES = ") + 10));
  std::vector<std::string> names(256);
  for (std::string& name : names) {
    std::getline(list >> std::ws, name, ',');
    name.erase(std::min(name.find_first_of("}>"), name.size()));
    name.erase(0, name.front() == '(' ? name.size() : name.rfind(':') + 1);
  }
  return names;
}

/// Checks the enumerator, text and validity of every value of an enumeration, where they exist, up to 65535. The rows
/// of the table are CODE ENUMERATOR, or CODE ENUMERATOR=TEXT if the text differs, with `~` for a blank. All other
/// values have the text `unknown`, in which `#` stands for the decimal number.
template <class E>
void check_enum(const std::string& table, const std::string& unknown = "#") {
  constexpr std::uint32_t MAX = std::min<std::uint32_t>(std::numeric_limits<std::underlying_type_t<E>>::max(), 0xFFFF);
  std::map<std::uint32_t, std::pair<std::string, std::string>> rows;
  std::istringstream words(table);
  words.unsetf(std::ios_base::basefield);
  std::uint32_t sentinel = MAX + 1;
  std::uint32_t code = 0;
  for (std::string word; words >> code >> word;) {
    auto& [name, text] = rows[code];
    name = word.substr(0, word.find('='));
    text = word.substr(word.find('=') + 1);
    std::ranges::replace(text, '~', ' ');
    sentinel = name.starts_with("INVALID") ? code : sentinel;
  }
  ASSERT_TRUE(words.eof()) << "not a number in the table";

  std::map page_of{std::pair(0U, enumerators<E>())};
  if constexpr (MAX > 255) {
    page_of.insert({{0x80U, enumerators<E, 0x8000>()}, {0xFFU, enumerators<E, 0xFF00>()}});
  }
  for (std::uint32_t number = 0; number <= MAX; ++number) {
    const auto row = rows.find(number);
    const auto page = page_of.find(number >> 8U);
    auto [name, text] = row != rows.end() ? row->second : std::pair(std::string(), unknown);
    ASSERT_EQ(page != page_of.end() ? page->second[number & 0xFFU] : "", name) << number;
    const auto value = static_cast<E>(number);
    if (const std::size_t mark = text.find('#'); mark != std::string::npos) {
      text.replace(mark, 1, std::to_string(number));
    }
    if constexpr (requires { enum_to_string(value); }) {
      ASSERT_EQ(enum_to_string(value), text);
    }
    if constexpr (!std::is_error_code_enum_v<E> && requires(std::ostream & os) { os << value; }) {
      ASSERT_EQ((std::ostringstream() << value).str(), text);
    }
    if constexpr (requires { is_valid(value); }) {
      ASSERT_EQ(is_valid(value), number < sentinel) << text;
    }
  }
}

}  // namespace qel::test
