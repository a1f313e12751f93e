#include "qel/core/basic_version.h"

#include <locale>
#include <ostream>
#include <sstream>

namespace qel {

std::string BasicVersion::to_string() const { return std::to_string(major_) + "." + std::to_string(minor_); }

bool BasicVersion::parse_string(const std::string& text) {
  std::istringstream is(text);
  is.imbue(std::locale::classic());
  std::uint16_t major = 0;
  char separator = '\0';
  std::uint16_t minor = 0;
  if (!(is >> major >> separator >> minor) || !is.eof() || separator != '.') {
    return false;
  }
  major_ = major;
  minor_ = minor;
  return true;
}

std::ostream& operator<<(std::ostream& os, const BasicVersion& version) { return os << version.to_string(); }

}  // namespace qel
