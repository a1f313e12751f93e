#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>

#include "qel/core/export.h"

namespace qel {

/// Two numbers, printed as "3.7".
class QEL_EXPORT BasicVersion {
 public:
  constexpr BasicVersion() = default;
  constexpr BasicVersion(std::uint16_t major, std::uint16_t minor) : major_(major), minor_(minor) {}

  constexpr std::uint16_t get_major() const { return major_; }
  void set_major(unsigned short major) { major_ = major; }
  constexpr std::uint16_t get_minor() const { return minor_; }
  void set_minor(unsigned short minor) { minor_ = minor; }

  std::string to_string() const;

  /// Two numbers below 65536 with a dot between them, read as a stream reads numbers, and nothing behind them.
  /// Otherwise false, and the version stays as it was.
  bool parse_string(const std::string& text);

  friend constexpr bool operator==(const BasicVersion&, const BasicVersion&) = default;
  friend constexpr auto operator<=>(const BasicVersion&, const BasicVersion&) = default;

 private:
  std::uint16_t major_ = 0;
  std::uint16_t minor_ = 0;
};

QEL_EXPORT std::ostream& operator<<(std::ostream& os, const BasicVersion& version);

}  // namespace qel
