#include "qel/core/text.h"

#include <algorithm>
#include <cctype>

namespace qel {

std::string to_upper(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char character) { return static_cast<char>(std::toupper(character)); });
  return text;
}

}  // namespace qel
