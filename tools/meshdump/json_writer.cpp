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

/// The generator escapes only the C0 control characters, and passes on whole characters.
void append(void* context, const char* text, std::size_t size) {
  tools::append_json_for_terminal(*static_cast<std::string*>(context), {text, size});
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
