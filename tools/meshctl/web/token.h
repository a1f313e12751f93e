#pragma once

#include <string>
#include <string_view>

namespace meshctl::web {

/// A secret of 128 bits. Who has it may act.
class Token {
 public:
  /// A new one, from the kernel's generator. Throws std::runtime_error.
  Token();

  /// 32 hexadecimal digits.
  const std::string& text() const { return text_; }

  /// Takes a time that does not depend on where the texts differ.
  bool matches(std::string_view text) const;

 private:
  std::string text_;
};

}  // namespace meshctl::web
