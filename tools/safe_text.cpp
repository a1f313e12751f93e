#include "tools/safe_text.h"

#include <cstddef>
#include <cstdint>

#include "qel/core/hex_text.h"

namespace tools {

namespace {

constexpr char32_t REPLACEMENT = 0xFFFD;
constexpr std::string_view REPLACEMENT_UTF8 = "\xEF\xBF\xBD";

struct Character {
  char32_t code_point;  // REPLACEMENT if ill-formed
  std::size_t size;
};

/// See the Unicode Standard, table 3-7. `octets` must not be empty.
Character first_character(std::string_view octets) {
  const auto lead = static_cast<std::uint8_t>(octets[0]);
  if (lead < 0x80) {
    return {lead, 1};
  }
  std::size_t size = 0;
  std::uint8_t low = 0x80;
  std::uint8_t high = 0xBF;
  if (lead >= 0xC2 && lead <= 0xDF) {
    size = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    size = 3;
    low = lead == 0xE0 ? 0xA0 : low;
    high = lead == 0xED ? 0x9F : high;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    size = 4;
    low = lead == 0xF0 ? 0x90 : low;
    high = lead == 0xF4 ? 0x8F : high;
  } else {
    return {REPLACEMENT, 1};
  }
  char32_t code_point = lead & (0x7FU >> size);
  for (std::size_t position = 1; position < size; ++position) {
    const auto octet = position < octets.size() ? static_cast<std::uint8_t>(octets[position]) : std::uint8_t{0};
    if (octet < low || octet > high) {
      return {REPLACEMENT, position};
    }
    code_point = code_point << 6U | (octet & 0x3FU);
    low = 0x80;
    high = 0xBF;
  }
  return {code_point, size};
}

bool is_control(char32_t code_point) { return code_point < 0x20 || (code_point >= 0x7F && code_point < 0xA0); }

/// Appends the octets in UTF-8; the characters selected by `is_escaped`, all below U+0100, are shown as `prefix` and
/// NN.
template <class Predicate>
void append_clean(std::string& text, std::string_view octets, Predicate is_escaped, std::string_view prefix) {
  while (!octets.empty()) {
    const Character character = first_character(octets);
    if (is_escaped(character.code_point)) {
      text += prefix;
      qel::append_hex(text, static_cast<std::uint8_t>(character.code_point), qel::LOWER_CASE_DIGITS);
    } else {
      text += character.code_point == REPLACEMENT ? REPLACEMENT_UTF8 : octets.substr(0, character.size);
    }
    octets.remove_prefix(character.size);
  }
}

template <class Predicate>
std::string clean(std::string_view octets, Predicate is_escaped) {
  std::string text;
  text.reserve(octets.size());
  append_clean(text, octets, is_escaped, "\\x");
  return text;
}

}  // namespace

std::string to_utf8(std::string_view octets) {
  return clean(octets, [](char32_t) { return false; });
}

std::string for_terminal(std::string_view octets) {
  return clean(octets,
               [](char32_t code_point) { return is_control(code_point) && code_point != '\n' && code_point != '\t'; });
}

std::string for_terminal_line(std::string_view octets) { return clean(octets, is_control); }

void append_json_for_terminal(std::string& text, std::string_view json) {
  append_clean(
      text, json, [](char32_t code_point) { return is_control(code_point) && code_point >= 0x7F; }, "\\u00");
}

std::string json_for_terminal(std::string_view json) {
  std::string text;
  text.reserve(json.size());
  append_json_for_terminal(text, json);
  return text;
}

}  // namespace tools
