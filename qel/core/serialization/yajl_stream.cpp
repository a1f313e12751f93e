#include "qel/core/serialization/yajl_stream.h"

#include <yajl/yajl_common.h>
#include <yajl/yajl_gen.h>

#include <charconv>
#include <limits>
#include <ostream>

#include "qel/core/serialization/serialization_exception.h"

namespace qel::serialization {

namespace {

bool succeeded(yajl_gen_status status) { return status == yajl_gen_status_ok; }

void print_to_stream(void* stream, const char* text, std::size_t length) {
  static_cast<YAJLStream*>(stream)->yajl_print(text, length);
}

}  // namespace

std::string enum_to_string(YAJLIndentation indentation) {
  switch (indentation) {
    case YAJLIndentation::COMPACT:
      return "COMPACT";
    case YAJLIndentation::TABS:
      return "TABS";
    case YAJLIndentation::DEFAULT:
      return "DEFAULT";
  }
  return std::to_string(static_cast<int>(indentation));
}

std::ostream& operator<<(std::ostream& os, YAJLIndentation indentation) { return os << enum_to_string(indentation); }

void YAJLStream::FreeGenerator::operator()(yajl_gen_t* generator) const noexcept { yajl_gen_free(generator); }

YAJLStream::YAJLStream(std::ostream& os, YAJLIndentation indentation) : os_(os), generator_(yajl_gen_alloc(nullptr)) {
  if (!generator_) {
    fail("Creation of YAJL generator failed, no JSON created");
  }
  if (indentation == YAJLIndentation::TABS || indentation == YAJLIndentation::DEFAULT) {
    yajl_gen_config(generator_.get(), yajl_gen_beautify, 1);
  }
  if (indentation == YAJLIndentation::TABS) {
    yajl_gen_config(generator_.get(), yajl_gen_indent_string, "\t");
  }
  yajl_gen_config(generator_.get(), yajl_gen_validate_utf8, 1);
  yajl_gen_config(generator_.get(), yajl_gen_print_callback, &print_to_stream, static_cast<void*>(this));
}

YAJLStream::~YAJLStream() = default;

template <class Brace>
bool YAJLStream::open(Brace brace) noexcept {
  // The generator counts a level before it refuses it, and would then be unusable.
  if (depth_ + 1 >= YAJL_MAX_DEPTH || !succeeded(brace(generator_.get()))) {
    return false;
  }
  ++depth_;
  return true;
}

template <class Brace>
bool YAJLStream::close(Brace brace) noexcept {
  if (depth_ == 0 || !succeeded(brace(generator_.get()))) {
    return false;
  }
  --depth_;
  return true;
}

bool YAJLStream::open_object() noexcept { return open(yajl_gen_map_open); }

bool YAJLStream::close_object() noexcept { return close(yajl_gen_map_close); }

bool YAJLStream::open_array() noexcept { return open(yajl_gen_array_open); }

bool YAJLStream::close_array() noexcept { return close(yajl_gen_array_close); }

bool YAJLStream::write_bool(bool value) noexcept { return succeeded(yajl_gen_bool(generator_.get(), value ? 1 : 0)); }

bool YAJLStream::write_null() noexcept { return succeeded(yajl_gen_null(generator_.get())); }

bool YAJLStream::write_string(const std::string& text) noexcept {
  return succeeded(yajl_gen_string(generator_.get(), reinterpret_cast<const unsigned char*>(text.data()), text.size()));
}

bool YAJLStream::write_integer(unsigned int value) noexcept { return write_integer(static_cast<long long>(value)); }

bool YAJLStream::write_integer(int value) noexcept { return write_integer(static_cast<long long>(value)); }

bool YAJLStream::write_integer(unsigned long long value) noexcept {
  // The generator's integers are signed, so a larger one is passed as the text of a number.
  char digits[std::numeric_limits<unsigned long long>::digits10 + 1];
  const auto end = std::to_chars(std::begin(digits), std::end(digits), value).ptr;
  return succeeded(yajl_gen_number(generator_.get(), digits, static_cast<std::size_t>(end - digits)));
}

bool YAJLStream::write_integer(long long value) noexcept {
  return succeeded(yajl_gen_integer(generator_.get(), value));
}

void YAJLStream::yajl_print(const void* text, std::size_t length) noexcept {
  try {
    os_.write(static_cast<const char*>(text), static_cast<std::streamsize>(length));
  } catch (...) {
    // No exception may cross the generator, which is C; a stream that throws has already set its state.
  }
}

}  // namespace qel::serialization
