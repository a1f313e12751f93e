#pragma once

#include <chrono>
#include <concepts>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct yajl_gen_t;

namespace meshdump {

/// Writes one JSON value, compact and without control characters. Calls that violate the grammar throw
/// std::logic_error.
class JsonWriter {
 public:
  JsonWriter();
  ~JsonWriter();

  /// Starts another value.
  void reset();
  /// The output since the last reset.
  const std::string& text() const { return text_; }

  void begin_object();
  void end_object();
  void begin_array();
  void end_array();

  /// Octets that are not UTF-8 become U+FFFD. In an object, keys and values must alternate.
  void put(std::string_view text);
  void put(const char* text) { put(std::string_view(text)); }
  void put(std::same_as<bool> auto value) { put_bool(value); }
  template <std::integral T>
  requires(!std::same_as<T, bool>) void put(T number) { put_digits(std::to_string(number)); }
  /// Seconds with six decimals.
  void put(std::chrono::microseconds time);
  void put(std::nullptr_t);

  template <class T>
  void put(std::string_view key, const T& value) {
    put(key);
    put(value);
  }

 private:
  struct Free {
    void operator()(yajl_gen_t* generator) const;
  };

  void put_bool(bool value);
  void put_digits(std::string_view digits);

  std::string text_;
  std::unique_ptr<yajl_gen_t, Free> generator_;
};

}  // namespace meshdump
