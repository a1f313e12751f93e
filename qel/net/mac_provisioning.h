#pragma once

#include "qel/core/export.h"
#include "qel/core/mac_address.h"

namespace qel {

/// The base MAC address of this device, from the variable "maca" of the boot environment.
class QEL_EXPORT MACAProvider {
 public:
  /// The one of this process, made by the first call, whose reading of the variable it keeps. Throws
  /// std::runtime_error when the variable is absent and std::invalid_argument when it is no address; the next call then
  /// tries again.
  static MACAProvider& get();

  MACAProvider(const MACAProvider&) = delete;
  MACAProvider& operator=(const MACAProvider&) = delete;

  MACAddress get_mac_a() const { return mac_a_; }

 private:
  MACAProvider();
  ~MACAProvider() = default;

  MACAddress mac_a_;
};

/// VENDOR_OUI and three random octets. Throws what std::random_device throws without a source of randomness.
QEL_EXPORT MACAddress generate_random_qel_mac_address();

}  // namespace qel
