#pragma once

#include <optional>
#include <sstream>
#include <string>

#include "qel/core/serialization/json_serializable_type.h"
#include "qel/core/serialization/yajl_wrappers.h"

namespace meshctl {

/// A JSON object on one line.
class JsonLine {
 public:
  template <class Members>
  std::string write(Members members) {
    qel::serialization::wrap_in_yajl_object(stream_, members);
    return text_.str() + '\n';
  }

  template <class T>
  void member(const char* key, const T& value) {
    put(std::string(key));
    put(value);
  }

  /// Writes null if there is no value.
  template <class T>
  void member(const char* key, const std::optional<T>& value) {
    value ? member(key, *value) : member(key, nullptr);
  }

  /// Writes an array of objects; `members` writes the members of one element.
  template <class List, class Members>
  void objects(const char* key, const List& list, Members members) {
    qel::serialization::wrap_in_yajl_array(stream_, key, [&] {
      for (const auto& element : list) {
        qel::serialization::wrap_in_yajl_object(stream_, [&] { members(element); });
      }
    });
  }

 private:
  template <class T>
  void put(const T& value) {
    qel::serialization::JSONSerializableType<T>::serialize(stream_, context_, value);
  }

  std::ostringstream text_;
  qel::serialization::SerializationContext context_;
  qel::serialization::YAJLStream stream_{text_, qel::serialization::YAJLIndentation::COMPACT};
};

}  // namespace meshctl
