#pragma once

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <string>

#include "qel/core/export.h"

struct yajl_gen_t;

namespace qel::serialization {

/// Layout of the output.
enum class YAJLIndentation {
  COMPACT = 0,
  TABS = 1,     ///< a tab per level
  DEFAULT = 2,  ///< YAJL's own indentation, four blanks per level
};

QEL_EXPORT std::string enum_to_string(YAJLIndentation indentation);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, YAJLIndentation indentation);

/// Writes one JSON value, piece by piece, to a stream, which must outlive this object. The pieces must follow the
/// grammar of JSON: inside an object, a key (a string) precedes each value.
///
/// Each operation returns false if the generator refuses the piece: it is in the wrong place (a key that is not a
/// string, anything after the complete value), it is a string that is not UTF-8, or the nesting reaches 128 levels.
/// Output written before remains. A failed output stream does not make an operation return false; check the state of
/// the stream.
class QEL_EXPORT YAJLStream {
 public:
  /// Throws SerializationException if there is no memory for the generator.
  YAJLStream(std::ostream& os, YAJLIndentation indentation);
  YAJLStream(const YAJLStream&) = delete;
  YAJLStream& operator=(const YAJLStream&) = delete;
  ~YAJLStream();

  bool open_object() noexcept;
  bool close_object() noexcept;
  bool open_array() noexcept;
  bool close_array() noexcept;
  bool write_bool(bool value) noexcept;
  bool write_null() noexcept;
  /// The text must be UTF-8; NUL is a character like any other.
  bool write_string(const std::string& text) noexcept;
  bool write_integer(unsigned int value) noexcept;
  bool write_integer(int value) noexcept;
  bool write_integer(unsigned long value) noexcept { return write_integer(static_cast<unsigned long long>(value)); }
  bool write_integer(long value) noexcept { return write_integer(static_cast<long long>(value)); }
  bool write_integer(unsigned long long value) noexcept;
  bool write_integer(long long value) noexcept;

  /// Receives the generator's output.
  void yajl_print(const void* text, std::size_t length) noexcept;

 private:
  struct FreeGenerator {
    void operator()(yajl_gen_t* generator) const noexcept;
  };

  template <class Brace>
  bool open(Brace brace) noexcept;
  template <class Brace>
  bool close(Brace brace) noexcept;

  std::ostream& os_;
  std::unique_ptr<yajl_gen_t, FreeGenerator> generator_;
  unsigned int depth_ = 0;
};

}  // namespace qel::serialization
