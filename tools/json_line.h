#pragma once

#include <optional>
#include <ostream>
#include <sstream>
#include <string>
#include <utility>

#include "qel/core/serialization/json_member.h"
#include "qel/core/serialization/yajl_wrappers.h"

namespace tools {

/// Writes a JSON object on one line.
class JsonLine {
 public:
  explicit JsonLine(std::ostream& os) : os_(os) {}

  /// Writes the object around what `members` writes, and a line feed.
  template <class Members>
  void write(Members members) {
    qel::serialization::wrap_in_yajl_object(stream_, members);
    os_ << '\n';
  }

  template <class T>
  void member(const char* key, const T& value) {
    qel::serialization::write_member(stream_, context_, key, value);
  }

  /// Writes null if there is no value.
  template <class T>
  void member(const char* key, const std::optional<T>& value) {
    value ? member(key, *value) : member(key, nullptr);
  }

  /// Writes an object, or null if there is no value; `members` writes the members of the value.
  template <class T, class Members>
  void object(const char* key, const std::optional<T>& value, Members members) {
    if (value) {
      qel::serialization::wrap_in_yajl_object(stream_, key, [&] { members(*value); });
    } else {
      member(key, nullptr);
    }
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
  std::ostream& os_;
  qel::serialization::SerializationContext context_;
  qel::serialization::YAJLStream stream_{os_, qel::serialization::YAJLIndentation::COMPACT};
};

/// Returns the line with what `members` writes to the JsonLine that it is given.
template <class Members>
std::string json_line(Members members) {
  std::ostringstream text;
  JsonLine json(text);
  json.write([&] { members(json); });
  return std::move(text).str();
}

}  // namespace tools
