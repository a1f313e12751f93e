#pragma once

#include <optional>
#include <string>

#include "qel/core/mac_address.h"

namespace meshd {

/// The file that keeps the AL MAC address of a daemon over its restarts.
class AlMacFile {
 public:
  /// In an existing directory; an empty one stands for no file: nothing is kept then.
  AlMacFile(const std::string& directory, const std::string& daemon);

  /// Nothing if there is no such file or it holds no MAC address of a device.
  std::optional<qel::MACAddress> read() const;

  /// Replaces the file as a whole. Throws std::system_error.
  void write(const qel::MACAddress& al_mac) const;

 private:
  std::string path_;
};

}  // namespace meshd
