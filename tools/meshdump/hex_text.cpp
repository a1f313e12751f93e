#include "tools/meshdump/hex_text.h"

#include <algorithm>

#include "qel/core/hex_text.h"
#include "qel/ieee1905_1/tlv_walk.h"

namespace meshdump {

namespace {

constexpr std::string_view WHITE_SPACE = " \t\r\n\v\f";
constexpr std::string_view SEPARATORS = " \t\r\n\v\f:-";

std::optional<std::uint8_t> digit_value(char character) {
  const char lower = character >= 'A' && character <= 'F' ? static_cast<char>(character - 'A' + 'a') : character;
  const std::size_t value = qel::LOWER_CASE_DIGITS.find(lower);
  return value != std::string_view::npos ? std::optional(static_cast<std::uint8_t>(value)) : std::nullopt;
}

}  // namespace

std::optional<HexLine> parse_hex_line(std::string_view line, std::size_t number) {
  const std::size_t begin = line.find_first_not_of(WHITE_SPACE);
  if (begin == std::string_view::npos || line[begin] == '#') {
    return std::nullopt;
  }
  HexLine result{number, {}, {}};
  std::size_t digits = 0;
  for (std::size_t position = begin; position < line.size(); ++position) {
    if (SEPARATORS.find(line[position]) != std::string_view::npos) {
      continue;
    }
    const std::optional<std::uint8_t> value = digit_value(line[position]);
    if (!value) {
      result.error = "not a hexadecimal digit in column " + std::to_string(position + 1);
      return result;
    }
    if (digits % 2 == 0) {
      result.octets.push_back(static_cast<std::uint8_t>(*value << 4U));
    } else {
      result.octets.back() |= *value;
    }
    ++digits;
  }
  if (digits == 0) {
    result.error = "no hexadecimal digits";
  } else if (digits % 2 != 0) {
    result.error = "odd number of hexadecimal digits (" + std::to_string(digits) + ")";
  }
  return result;
}

std::optional<HexLine> join_wrapped_lines(std::span<const HexLine> lines) {
  const auto is_wrong = [](const HexLine& line) { return !line.error.empty(); };
  if (lines.size() < 2 || std::any_of(lines.begin(), lines.end(), is_wrong)) {
    return std::nullopt;
  }
  HexLine joined{lines[0].number, {}, {}};
  for (const HexLine& line : lines) {
    joined.octets.insert(joined.octets.end(), line.octets.begin(), line.octets.end());
  }
  using qel::ieee1905_1::TLVWalk, qel::ieee1905_1::TLVWalkEnd;
  TLVWalk walk(joined.octets);
  while (walk.next()) {
  }
  const bool is_one = walk.end() == TLVWalkEnd::END_OF_MESSAGE && walk.offset() == joined.octets.size();
  return is_one ? std::optional(std::move(joined)) : std::nullopt;
}

std::string to_hex(std::span<const std::uint8_t> octets) { return qel::hex_text(octets, qel::LOWER_CASE_DIGITS); }

}  // namespace meshdump
