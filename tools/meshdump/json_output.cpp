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

#include "qel/ieee1905_1/vendor/qel_message_type_tlv.h"
#include "tools/meshdump/debug_text.h"
#include "tools/meshdump/hex_text.h"
#include "tools/safe_text.h"

namespace meshdump {

namespace {

using qel::ieee1905_1::Message;

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

JsonOutput::JsonOutput() : generator_(yajl_gen_alloc(nullptr)) {
  if (generator_ == nullptr) {
    throw std::bad_alloc();
  }
  yajl_gen_config(generator_.get(), yajl_gen_print_callback, append, &line_);
}

JsonOutput::~JsonOutput() = default;

void JsonOutput::Free::operator()(yajl_gen_t* generator) const { yajl_gen_free(generator); }

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
  if (decoding.reencoding) {
    put_reencoding(generator, *decoding.reencoding);
  }
  if (cmdu.frame) {
    put_time(generator, "time", cmdu.frame->time);
    put(generator, "src", cmdu.frame->source.to_string());
    put(generator, "dst", cmdu.frame->destination.to_string());
  }
  check(yajl_gen_map_close(generator));
  out += line_;
  out += '\n';
}

}  // namespace meshdump
