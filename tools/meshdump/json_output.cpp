#include "tools/meshdump/json_output.h"

#include <yajl/yajl_gen.h>

#include <array>
#include <chrono>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "qel/ieee1905_1/vendor/qel_message_type_tlv.h"
#include "tools/meshdump/debug_text.h"
#include "tools/meshdump/hex_text.h"
#include "tools/safe_text.h"

namespace meshdump {

namespace {

using qel::ieee1905_1::LenientMessage;
using qel::ieee1905_1::Message;
using qel::ieee1905_1::TLVWalkEnd;

/// The generator escapes the C0 control characters only. DEL and the C1 ones, C2 80 to C2 9F in UTF-8, occur in strings
/// alone, and the generator never hands over a part of a character.
void append(void* context, const char* text, std::size_t size) {
  constexpr std::string_view DIGITS = "0123456789abcdef";
  std::string& line = *static_cast<std::string*>(context);
  const auto escape = [&line, DIGITS](std::uint8_t control) {
    line += "\\u00";
    line += DIGITS[control >> 4U];
    line += DIGITS[control & 0xFU];
  };
  for (std::size_t position = 0; position < size; ++position) {
    const auto octet = static_cast<std::uint8_t>(text[position]);
    const auto next = static_cast<std::uint8_t>(position + 1 < size ? text[position + 1] : 0);
    if (octet == 0x7F) {
      escape(octet);
    } else if (octet == 0xC2 && next >= 0x80 && next <= 0x9F) {
      escape(next);
      ++position;
    } else {
      line += text[position];
    }
  }
}

/// The generator refuses only what breaks the grammar.
void check(yajl_gen_status status) {
  if (status != yajl_gen_status_ok) {
    throw std::logic_error("the JSON generator refused a value (" + std::to_string(status) + ")");
  }
}

void put(yajl_gen generator, std::string_view text) {
  const std::string utf8 = tools::to_utf8(text);
  check(yajl_gen_string(generator, reinterpret_cast<const unsigned char*>(utf8.data()), utf8.size()));
}

void put(yajl_gen generator, std::uint64_t number) {
  check(yajl_gen_integer(generator, static_cast<long long>(number)));
}

template <class T>
void put(yajl_gen generator, std::string_view key, const T& value) {
  put(generator, key);
  put(generator, value);
}

void put_bool(yajl_gen generator, std::string_view key, bool value) {
  put(generator, key);
  check(yajl_gen_bool(generator, value ? 1 : 0));
}

/// Seconds with six decimals.
void put_time(yajl_gen generator, std::string_view key, std::chrono::microseconds time) {
  const std::lldiv_t parts = std::lldiv(time.count(), 1'000'000);
  std::array<char, 32> text{};
  const int size = std::snprintf(text.data(), text.size(), "%s%lld.%06lld", time.count() < 0 ? "-" : "",
                                 std::llabs(parts.quot), std::llabs(parts.rem));
  put(generator, key);
  check(yajl_gen_number(generator, text.data(), static_cast<std::size_t>(size)));
}

void put_reencoding(yajl_gen generator, const Reencoding& reencoding) {
  if (reencoding.error) {
    put(generator, "reencoded");
    check(yajl_gen_null(generator));
    put(generator, "reencode_error", *reencoding.error);
  } else {
    put(generator, "reencoded", to_hex(reencoding.octets));
  }
}

}  // namespace

JsonOutput::JsonOutput(bool with_origin) : with_origin_(with_origin), generator_(yajl_gen_alloc(nullptr)) {
  if (generator_ == nullptr) {
    throw std::bad_alloc();
  }
  yajl_gen_config(generator_.get(), yajl_gen_print_callback, append, &line_);
}

JsonOutput::~JsonOutput() = default;

void JsonOutput::Free::operator()(yajl_gen_t* generator) const { yajl_gen_free(generator); }

/// What is known of a rejected message nonetheless.
void JsonOutput::put_rejected(const Cmdu& cmdu, const Decoding& decoding) {
  yajl_gen generator = generator_.get();
  if (decoding.tlv) {
    put(generator, "error_tlv", enum_to_string(decoding.tlv->type));
    put(generator, "error_offset", decoding.tlv->offset);
  }
  if (const auto type = message_type(cmdu.octets)) {
    put(generator, "type", enum_to_string(*type));
  }
  if (!decoding.lenient) {
    return;
  }
  const LenientMessage& lenient = *decoding.lenient;
  put(generator, "mid", lenient.message.get_head().get_message_id());
  put(generator, "tlvs");
  check(yajl_gen_array_open(generator));
  for (const LenientMessage::Entry& entry : lenient.entries) {
    check(yajl_gen_map_open(generator));
    put(generator, "type", enum_to_string(entry.raw.type));
    if (entry.tlv != nullptr) {
      put(generator, "text", debug_text(text_, *entry.tlv));
    }
    put(generator, "offset", entry.raw.offset);
    if (entry.tlv == nullptr) {
      put(generator, "octets", to_hex(entry.raw.body));
    } else if (entry.unread != 0) {
      put(generator, "rest", to_hex(entry.raw.body.last(entry.unread)));
    }
    if (!entry.error.empty()) {
      put(generator, "error", entry.error);
    }
    check(yajl_gen_map_close(generator));
  }
  check(yajl_gen_array_close(generator));
  put(generator, "end", enum_to_string(lenient.end));
  if (lenient.end == TLVWalkEnd::CUT_HEADER || lenient.end == TLVWalkEnd::CUT_BODY) {
    put(generator, "cut_off", to_hex(cmdu.octets.subspan(lenient.end_offset)));
  }
}

void JsonOutput::print(const Cmdu& cmdu, const Decoding& decoding, std::string& out) {
  yajl_gen generator = generator_.get();
  yajl_gen_reset(generator, nullptr);
  line_.clear();
  check(yajl_gen_map_open(generator));
  put_bool(generator, "ok", decoding.message.has_value());
  if (decoding.message) {
    const Message& message = *decoding.message;
    put(generator, "type", enum_to_string(message.get_head().get_message_type()));
    put(generator, "mid", message.get_head().get_message_id());
    put(generator, "text", debug_text(text_, message));
    put(generator, "tlvs");
    check(yajl_gen_array_open(generator));
    for (const auto& tlv : message.get_list().get_TLV_list()) {
      check(yajl_gen_map_open(generator));
      put(generator, "type", enum_to_string(tlv->get_type()));
      put(generator, "text", debug_text(text_, *tlv));
      check(yajl_gen_map_close(generator));
    }
    check(yajl_gen_array_close(generator));
    put(generator, "qel_message_type", enum_to_string(get_qel_message_type(message)));
  } else {
    put(generator, "error", decoding.error);
  }
  put(generator, "consumed", decoding.consumed);
  if (!decoding.message) {
    put_rejected(cmdu, decoding);
  }
  if (decoding.reencoding) {
    put_reencoding(generator, *decoding.reencoding);
  }
  if (cmdu.reassembled) {
    put_bool(generator, "reassembled", true);
  }
  if (cmdu.frame) {
    put_time(generator, "time", cmdu.frame->captured.time);
    put(generator, "src", cmdu.frame->source.to_string());
    if (cmdu.frame->destination) {
      put(generator, "dst", cmdu.frame->destination->to_string());
    }
    if (with_origin_) {
      put(generator, "origin", cmdu.frame->captured.origin);
    }
  }
  check(yajl_gen_map_close(generator));
  out += line_;
  out += '\n';
}

std::string JsonOutput::summary(const Tally& tally) {
  yajl_gen generator = generator_.get();
  yajl_gen_reset(generator, nullptr);
  line_.clear();
  check(yajl_gen_map_open(generator));
  for (const auto& [key, counts] :
       {std::pair("types", &tally.types()), {"senders", &tally.senders()}, {"refusals", &tally.refusals()}}) {
    put(generator, key);
    check(yajl_gen_map_open(generator));
    for (const auto& [name, count] : *counts) {
      put(generator, name, count);
    }
    check(yajl_gen_map_close(generator));
  }
  check(yajl_gen_map_close(generator));
  return line_ + '\n';
}

}  // namespace meshdump
