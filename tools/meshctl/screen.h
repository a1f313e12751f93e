#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace meshctl {

/// The terminal on standard output, on its second screen. A signal that ends or stops this process first restores the
/// terminal. There can be only one object.
class Screen {
 public:
  Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;
  ~Screen();

  /// Shows the text in place of the last one, as much of it as the terminal has room for. The text is UTF-8 and has no
  /// control characters but line feeds. Throws std::runtime_error if it cannot be written.
  void draw(std::string_view text);

  /// Returns after the time, or as soon as the terminal has another size or the process continues after a stop.
  void wait(std::chrono::milliseconds time);
};

/// The first lines of the text, each cut after `columns` characters. What a terminal of this size shows; with a last
/// line about those that it leaves out. A `rows` or `columns` of 0 means unknown, and cuts nothing.
std::string fit(std::string_view text, std::size_t rows, std::size_t columns);

}  // namespace meshctl
