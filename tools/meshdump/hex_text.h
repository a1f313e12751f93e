#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace meshdump {

/// A line of hexadecimal input.
struct HexLine {
  std::size_t number;  ///< starts at 1
  std::vector<std::uint8_t> octets;
  std::string error;  ///< reason why the line is not valid; empty if it is
};

/// Returns nothing for blank lines and for comments, which begin with '#'. White space, ':' and '-' are allowed between
/// digits.
std::optional<HexLine> parse_hex_line(std::string_view line, std::size_t number);

/// Joins one CMDU that is wrapped over several lines. Together the lines must be exactly one CMDU, so the first line
/// alone is not. Otherwise returns nothing.
std::optional<HexLine> join_wrapped_lines(std::span<const HexLine> lines);

/// Returns lower-case digits without separators.
std::string to_hex(std::span<const std::uint8_t> octets);

}  // namespace meshdump
