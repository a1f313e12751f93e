#include "tools/meshdump/text_output.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "tools/meshdump/bodies.h"
#include "tools/meshdump/debug_text.h"
#include "tools/meshdump/hex_text.h"
#include "tools/safe_text.h"

namespace meshdump {

namespace {

using qel::ieee1905_1::LenientMessage;
using qel::ieee1905_1::Message;
using qel::ieee1905_1::TLV;
using qel::ieee1905_1::TLVWalkEnd;
using qel::serialization::MemoryOStream;

/// UTC, to the microsecond.
std::string absolute_time(std::chrono::microseconds since_epoch) {
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

/// Seconds with six decimals.
std::string seconds_text(std::chrono::microseconds duration) {
  const std::lldiv_t parts = std::lldiv(duration.count(), 1'000'000);
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%c%lld.%06lld", duration.count() < 0 ? '-' : '+', std::llabs(parts.quot),
                std::llabs(parts.rem));
  return text.data();
}

constexpr const char* BOLD = "\x1b[1m";
constexpr const char* RED = "\x1b[31m";
constexpr const char* PLAIN = "\x1b[0m";

std::string rejection_text(const Decoding& decoding) {
  return "Rejected after " + octets_text(decoding.consumed) + ", " + decoding.place + ": " +
         tools::for_terminal_line(decoding.error);
}

/// Adds the debug text of a TLV. If its payload is another vendor's, the octets follow, because the text tells only
/// their number.
void add_tlv(const TLV& tlv, std::span<const std::uint8_t> body, MemoryOStream& stream, std::string& out) {
  out += "\n\t" + tools::for_terminal(debug_text(stream, tlv));
  if (const auto octets = foreign_payload(tlv, body); !octets.empty()) {
    out += "\n\t\toctets: " + to_hex(octets);
  }
}

/// Adds the debug text of each TLV, and the octets of those that were not decoded.
void add_leniently(std::span<const std::uint8_t> cmdu, const LenientMessage& lenient, MemoryOStream& stream,
                   std::string& out) {
  for (const LenientMessage::Entry& entry : lenient.entries) {
    if (entry.tlv != nullptr) {
      add_tlv(*entry.tlv, whole_body(entry), stream, out);
      if (entry.unread != 0) {
        out += " rest: " + to_hex(entry.raw.body.last(entry.unread));
      }
      continue;
    }
    out += "\n\ttype: " + enum_to_string(entry.raw.type) + " offset: " + std::to_string(entry.raw.offset) +
           " octets: " + to_hex(entry.raw.body);
    if (!entry.error.empty()) {
      out += " error: " + tools::for_terminal_line(entry.error);
    }
  }
  if (lenient.end == TLVWalkEnd::CUT_HEADER || lenient.end == TLVWalkEnd::CUT_BODY) {
    out += "\n\toffset: " + std::to_string(lenient.end_offset) +
           " octets: " + to_hex(cmdu.subspan(lenient.end_offset)) + " cut off";
  }
}

std::string difference_text(std::span<const std::uint8_t> received, std::span<const std::uint8_t> encoded) {
  const auto [left, right] = std::mismatch(received.begin(), received.end(), encoded.begin(), encoded.end());
  std::string text = "differs from offset " + std::to_string(left - received.begin());
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
  const auto add = [&](const char* color, const std::string& line) {
    out += style_.color ? color + line + PLAIN : line;
    out += '\n';
  };
  if (!first_) {
    out += '\n';
  }
  add(BOLD, head_line(cmdu));
  first_ = false;
  if (decoding.message) {
    const Message& message = *decoding.message;
    out += tools::for_terminal(debug_text(text_, message.get_head()));
    Bodies bodies(message, cmdu.octets, context_);
    for (const auto& tlv : message.get_list().get_TLV_list()) {
      add_tlv(*tlv, bodies.next(), text_, out);
    }
    out += '\n';
  } else {
    add(RED, rejection_text(decoding));
    if (decoding.lenient) {
      out += debug_text(text_, decoding.lenient->message.get_head());
      add_leniently(cmdu.octets, *decoding.lenient, text_, out);
      out += '\n';
    } else if (const auto type = message_type(cmdu.octets)) {
      out += "Type: " + enum_to_string(*type) + '\n';
    }
  }
  if (decoding.reencoding) {
    out += reencoding_text(cmdu.octets.first(decoding.consumed), *decoding.reencoding) + '\n';
  }
}

std::string TextOutput::head_line(const Cmdu& cmdu) {
  if (!cmdu.frame) {
    return "line " + std::to_string(cmdu.number);
  }
  const FrameInfo& frame = *cmdu.frame;
  std::string text = "frame " + std::to_string(cmdu.number);
  if (style_.origin) {
    text += "  " + tools::for_terminal_line(frame.captured.origin);
  }
  if (!frame.interface.empty()) {
    text += "  interface " + tools::for_terminal_line(frame.interface);
  }
  text += "  " + time_text(frame.captured.time) + "  " + frame.source.to_string();
  if (frame.destination) {
    text += " > " + frame.destination->to_string();
  }
  if (cmdu.reassembled) {
    text += "  (reassembled)";
  } else if (frame.captured.missing != 0) {
    text += "  (the last " + octets_text(frame.captured.missing) + " not captured)";
  }
  return text;
}

std::string TextOutput::time_text(std::chrono::microseconds time) {
  if (style_.time == TimeMode::ABSOLUTE) {
    return absolute_time(time);
  }
  if (first_) {
    reference_ = time;
  }
  const std::string text = seconds_text(time - reference_);
  if (style_.time == TimeMode::DELTA) {
    reference_ = time;
  }
  return text;
}

}  // namespace meshdump
