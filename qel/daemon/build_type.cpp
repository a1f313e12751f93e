#include "qel/daemon/build_type.h"

#include <cerrno>
#include <cstdlib>
#include <limits>
#include <ostream>

namespace qel {

namespace {

constexpr bool is_between(GUBuildType type, int first, int last) {
  return static_cast<int>(type) >= first && static_cast<int>(type) <= last;
}

GUBuildType read_build_type() {
  const char* text = std::getenv("CONFIG_BUILDTYPE");
  if (text == nullptr) {
    return GUBuildType(0);
  }
  errno = 0;
  const long number = std::strtol(text, nullptr, 10);
  if (errno == ERANGE || number < std::numeric_limits<int>::min() || number > std::numeric_limits<int>::max()) {
    return GUBuildType(0);
  }
  const GUBuildType type{static_cast<int>(number)};
  return is_valid(type) ? type : GUBuildType(0);
}

}  // namespace

std::string enum_to_string(GUBuildType type) { return std::to_string(static_cast<int>(type)); }
std::ostream& operator<<(std::ostream& os, GUBuildType type) { return os << enum_to_string(type); }

bool is_valid(GUBuildType type) {
  return is_between(type, 1, 3) || is_between(type, 998, 998) || is_between(type, 1000, 1007);
}

GUBuildType get_build_type() {
  static const GUBuildType type = read_build_type();
  return type;
}

bool is_production_release() { return is_between(get_build_type(), 1, 2) || is_between(get_build_type(), 1000, 1007); }

}  // namespace qel
