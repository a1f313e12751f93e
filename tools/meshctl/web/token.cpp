#include "tools/meshctl/web/token.h"

#include <sys/random.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <stdexcept>

#include "qel/core/hex_text.h"

namespace meshctl::web {

Token::Token() {
  std::array<std::uint8_t, 16> octets{};
  if (getrandom(octets.data(), octets.size(), 0) != static_cast<ssize_t>(octets.size())) {
    throw std::runtime_error("cannot get random octets");
  }
  text_ = qel::hex_text(octets, qel::LOWER_CASE_DIGITS);
}

bool Token::matches(std::string_view text) const {
  if (text.size() != text_.size()) {
    return false;  // the length is no secret
  }
  unsigned int difference = 0;
  for (std::size_t place = 0; place < text.size(); ++place) {
    difference |= static_cast<unsigned int>(text[place] ^ text_[place]);
  }
  return difference == 0;
}

}  // namespace meshctl::web
