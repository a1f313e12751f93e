#pragma once

#include <optional>
#include <string>

#include "qel/core/mac_address.h"

namespace meshd {

/// The file that keeps the AL MAC address of a daemon across restarts.
class AlMacFile {
 public:
  /// The directory must exist. If its name is empty, nothing is kept.
  AlMacFile(const std::string& directory, const std::string& daemon);

  /// Nothing if the file is missing or does not hold an individual MAC address.
  std::optional<qel::MACAddress> read() const;

  /// Replaces the file as a whole. Throws std::system_error.
  void write(const qel::MACAddress& al_mac) const;

 private:
  std::string path_;
};

}  // namespace meshd
