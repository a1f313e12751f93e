#include "tools/meshdump/text_output.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>

#include "tools/meshdump/cmdu_outline.h"
#include "tools/meshdump/debug_text.h"
#include "tools/meshdump/hex_text.h"
#include "tools/safe_text.h"

namespace meshdump {

namespace {

/// UTC, to the microsecond.
std::string time_text(std::chrono::microseconds since_epoch) {
  const std::chrono::sys_time<std::chrono::microseconds> time(since_epoch);
  const auto day = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss clock(time - day);
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02u-%02u %02d:%02d:%02d.%06d", static_cast<int>(date.year()),
                static_cast<unsigned int>(date.month()), static_cast<unsigned int>(date.day()),
                static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                static_cast<int>(clock.seconds().count()), static_cast<int>(clock.subseconds().count()));
  return text.data();
}

std::string octets_text(std::size_t count) { return std::to_string(count) + (count == 1 ? " octet" : " octets"); }

std::string head_line(const Cmdu& cmdu) {
  if (!cmdu.frame) {
    return "line " + std::to_string(cmdu.number);
  }
  const FrameInfo& frame = *cmdu.frame;
  std::string text = "frame " + std::to_string(cmdu.number) + "  " + time_text(frame.time) + "  " +
                     frame.source.to_string() + " > " + frame.destination.to_string();
  if (frame.missing != 0) {
    text += "  (the last " + octets_text(frame.missing) + " not captured)";
  }
  return text;
}

std::string rejection_text(const Cmdu& cmdu, const Decoding& decoding) {
  const auto type = outline(cmdu.octets).type;
  return (type ? "Type: " + enum_to_string(*type) + '\n' : "") + "Rejected after " + octets_text(decoding.consumed) +
         ": " + tools::for_terminal_line(decoding.error);
}

std::string difference_text(std::span<const std::uint8_t> received, std::span<const std::uint8_t> encoded) {
  const auto [left, right] = std::mismatch(received.begin(), received.end(), encoded.begin(), encoded.end());
  std::string text = "differs from offset " + std::to_string(left - received.begin()) + " on";
  if (left != received.end() && right != encoded.end()) {
    text += ", " + to_hex({right, 1}) + " instead of " + to_hex({left, 1});
  }
  if (received.size() != encoded.size()) {
    text += ", " + octets_text(encoded.size()) + " instead of " + std::to_string(received.size());
  }
  return text;
}

std::string reencoding_text(std::span<const std::uint8_t> received, const Reencoding& reencoding) {
  if (reencoding.error) {
    return "Not encodable: " + tools::for_terminal_line(*reencoding.error);
  }
  if (reencoding.reproduces(received)) {
    return "Re-encoded: the same " + octets_text(received.size());
  }
  return "Re-encoded: " + difference_text(received, reencoding.octets);
}

}  // namespace

void TextOutput::print(const Cmdu& cmdu, const Decoding& decoding, std::string& out) {
  if (!first_) {
    out += '\n';
  }
  first_ = false;
  out += head_line(cmdu) + '\n';
  if (decoding.message) {
    out += tools::for_terminal(debug_text(text_, *decoding.message)) + '\n';
  } else {
    out += rejection_text(cmdu, decoding) + '\n';
  }
  if (decoding.reencoding) {
    out += reencoding_text(cmdu.octets.first(decoding.consumed), *decoding.reencoding) + '\n';
  }
}

}  // namespace meshdump
