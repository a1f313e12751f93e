#include "qel/core/serialization/yajl_wrappers.h"

#include "qel/core/serialization/serialization_exception.h"
#include "qel/core/serialization/yajl_stream.h"

namespace qel::serialization {

namespace {

struct Wrapper {
  const char* kind;
  bool (YAJLStream::*open)();
  bool (YAJLStream::*close)();
};

constexpr Wrapper OBJECT{"object", &YAJLStream::open_object, &YAJLStream::close_object};
constexpr Wrapper ARRAY{"array", &YAJLStream::open_array, &YAJLStream::close_array};

[[noreturn]] void refuse(const char* piece, const Wrapper& wrapper, const std::string& suffix) {
  throw SerializationException(std::string("Failed to write ") + piece + wrapper.kind + suffix);
}

void wrap(YAJLStream& stream, const Wrapper& wrapper, const std::string& suffix, const std::function<void()>& content) {
  if (!(stream.*wrapper.open)()) {
    refuse("opening brace for wrapper ", wrapper, suffix);
  }
  content();
  if (!(stream.*wrapper.close)()) {
    refuse("closing brace for wrapper ", wrapper, suffix);
  }
}

void wrap_member(YAJLStream& stream, const Wrapper& wrapper, const std::string& name,
                 const std::function<void()>& content) {
  if (!stream.write_string(name)) {
    refuse("wrapper ", wrapper, " name: " + name);
  }
  wrap(stream, wrapper, ": " + name, content);
}

}  // namespace

void wrap_in_yajl_object(YAJLStream& stream, const std::function<void()>& content) {
  wrap(stream, OBJECT, "", content);
}

void wrap_in_yajl_object(YAJLStream& stream, const std::string& name, const std::function<void()>& content) {
  wrap_member(stream, OBJECT, name, content);
}

void wrap_in_yajl_array(YAJLStream& stream, const std::function<void()>& content) { wrap(stream, ARRAY, "", content); }

void wrap_in_yajl_array(YAJLStream& stream, const std::string& name, const std::function<void()>& content) {
  wrap_member(stream, ARRAY, name, content);
}

}  // namespace qel::serialization
