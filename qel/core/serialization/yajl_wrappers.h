#pragma once

#include <functional>
#include <string>

#include "qel/core/export.h"

namespace qel::serialization {

class YAJLStream;

/// Writes an object around what `content` writes, which must alternate keys and values. Throws SerializationException
/// if a brace or the name is refused; an exception from `content` passes through and leaves the object open.
QEL_EXPORT void wrap_in_yajl_object(YAJLStream& stream, const std::function<void()>& content);

/// Writes an object as a member, with `name` as its key.
QEL_EXPORT void wrap_in_yajl_object(YAJLStream& stream, const std::string& name, const std::function<void()>& content);

/// Writes an array around the values that `content` writes; it fails as wrap_in_yajl_object does.
QEL_EXPORT void wrap_in_yajl_array(YAJLStream& stream, const std::function<void()>& content);

/// Writes an array as a member, with `name` as its key.
QEL_EXPORT void wrap_in_yajl_array(YAJLStream& stream, const std::string& name, const std::function<void()>& content);

}  // namespace qel::serialization
