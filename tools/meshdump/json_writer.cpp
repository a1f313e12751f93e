#include "tools/meshdump/json_writer.h"

#include <yajl/yajl_gen.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <stdexcept>

#include "tools/safe_text.h"

namespace meshdump {

namespace {

/// The generator escapes only the C0 control characters. DEL and the C1 control characters, C2 80 to C2 9F in UTF-8,
/// occur only in strings, and the generator never passes on part of a character.
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

/// The generator only refuses violations of the grammar.
void check(yajl_gen_status status) {
  if (status != yajl_gen_status_ok) {
    throw std::logic_error("the JSON generator refused a value (" + std::to_string(status) + ")");
  }
}

}  // namespace

JsonWriter::JsonWriter() : generator_(yajl_gen_alloc(nullptr)) {
  if (generator_ == nullptr) {
    throw std::bad_alloc();
  }
  yajl_gen_config(generator_.get(), yajl_gen_print_callback, append, &text_);
}

JsonWriter::~JsonWriter() = default;

void JsonWriter::Free::operator()(yajl_gen_t* generator) const { yajl_gen_free(generator); }

void JsonWriter::reset() {
  yajl_gen_reset(generator_.get(), nullptr);
  text_.clear();
}

void JsonWriter::begin_object() { check(yajl_gen_map_open(generator_.get())); }
void JsonWriter::end_object() { check(yajl_gen_map_close(generator_.get())); }
void JsonWriter::begin_array() { check(yajl_gen_array_open(generator_.get())); }
void JsonWriter::end_array() { check(yajl_gen_array_close(generator_.get())); }

void JsonWriter::put(std::string_view text) {
  const std::string utf8 = tools::to_utf8(text);
  check(yajl_gen_string(generator_.get(), reinterpret_cast<const unsigned char*>(utf8.data()), utf8.size()));
}

void JsonWriter::put(std::nullptr_t) { check(yajl_gen_null(generator_.get())); }
void JsonWriter::put_bool(bool value) { check(yajl_gen_bool(generator_.get(), value ? 1 : 0)); }

void JsonWriter::put_digits(std::string_view digits) {
  check(yajl_gen_number(generator_.get(), digits.data(), digits.size()));
}

void JsonWriter::put(std::chrono::microseconds time) {
  const std::lldiv_t parts = std::lldiv(time.count(), 1'000'000);
  std::array<char, 32> text{};
  const int size = std::snprintf(text.data(), text.size(), "%s%lld.%06lld", time.count() < 0 ? "-" : "",
                                 std::llabs(parts.quot), std::llabs(parts.rem));
  put_digits({text.data(), static_cast<std::size_t>(size)});
}

}  // namespace meshdump
