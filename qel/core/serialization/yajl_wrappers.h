#pragma once

#include <functional>
#include <string>

#include "qel/core/export.h"

namespace qel::serialization {

class YAJLStream;

/// An object around what `content` writes: keys and values by turns. Throws SerializationException when a brace or the
/// name is refused; what `content` throws passes through and leaves the object open.
QEL_EXPORT void wrap_in_yajl_object(YAJLStream& stream, const std::function<void()>& content);

/// The same as a member, with `name` as its key.
QEL_EXPORT void wrap_in_yajl_object(YAJLStream& stream, const std::string& name, const std::function<void()>& content);

/// An array around the values that `content` writes; failures as those of an object.
QEL_EXPORT void wrap_in_yajl_array(YAJLStream& stream, const std::function<void()>& content);

/// The same as a member, with `name` as its key.
QEL_EXPORT void wrap_in_yajl_array(YAJLStream& stream, const std::string& name, const std::function<void()>& content);

}  // namespace qel::serialization
