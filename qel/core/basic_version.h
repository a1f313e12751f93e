#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>

#include "qel/core/export.h"

namespace qel {

/// A major and a minor number, printed as "3.7".
class QEL_EXPORT BasicVersion {
 public:
  constexpr BasicVersion() = default;
  constexpr BasicVersion(std::uint16_t major, std::uint16_t minor) : major_(major), minor_(minor) {}

  constexpr std::uint16_t get_major() const { return major_; }
  void set_major(unsigned short major) { major_ = major; }
  constexpr std::uint16_t get_minor() const { return minor_; }
  void set_minor(unsigned short minor) { minor_ = minor; }

  std::string to_string() const;

  /// Parses two numbers below 65536 separated by a dot, as a stream reads numbers, with nothing after them. For any
  /// other text, returns false and leaves the version unchanged.
  bool parse_string(const std::string& text);

  friend constexpr bool operator==(const BasicVersion&, const BasicVersion&) = default;
  friend constexpr auto operator<=>(const BasicVersion&, const BasicVersion&) = default;

 private:
  std::uint16_t major_ = 0;
  std::uint16_t minor_ = 0;
};

QEL_EXPORT std::ostream& operator<<(std::ostream& os, const BasicVersion& version);

}  // namespace qel
