#pragma once

#include "qel/core/export.h"
#include "qel/core/mac_address.h"

namespace qel {

/// The base MAC address of this device, read from the variable "maca" of the boot environment.
class QEL_EXPORT MACAProvider {
 public:
  /// Returns the provider of this process; the first call creates it and reads the variable. Throws std::runtime_error
  /// if the variable is absent and std::invalid_argument if it is not an address; the next call then tries again.
  static MACAProvider& get();

  MACAProvider(const MACAProvider&) = delete;
  MACAProvider& operator=(const MACAProvider&) = delete;

  MACAddress get_mac_a() const { return mac_a_; }

 private:
  MACAProvider();
  ~MACAProvider() = default;

  MACAddress mac_a_;
};

/// Returns VENDOR_OUI followed by three random octets. Throws like std::random_device if there is no source of
/// randomness.
QEL_EXPORT MACAddress generate_random_qel_mac_address();

}  // namespace qel
