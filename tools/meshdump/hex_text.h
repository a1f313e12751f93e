#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace meshdump {

/// A line that holds octets, or should.
struct HexLine {
  std::size_t number;  ///< the first line is 1
  std::vector<std::uint8_t> octets;
  std::string error;  ///< why the line holds no octets; empty when it does
};

/// Nothing for a blank line and for a comment, which begins with '#'. White space, ':' and '-' may stand anywhere
/// between the digits.
std::optional<HexLine> parse_hex_line(std::string_view line, std::size_t number);

/// Puts one CMDU together that was wrapped over several lines: all lines joined hold it and nothing else, so that the
/// first line alone cannot. Nothing when the lines are anything else.
std::optional<HexLine> join_wrapped_lines(std::span<const HexLine> lines);

/// Lower-case digits without separators.
std::string to_hex(std::span<const std::uint8_t> octets);

}  // namespace meshdump
