#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>

#include "qel/core/export.h"

namespace qel {

/// Subtype of a chassis identifier (IEEE 802.1AB-2016, 8.5.2.2).
enum class DeviceIDSubtype : std::uint8_t {
  RESERVED = 0,
  CHASSIS_COMPONENT = 1,
  INTERFACE_ALIAS = 2,
  PORT_COMPONENT = 3,
  MAC_ADDRESS = 4,
  NETWORK_ADDRESS = 5,
  INTERFACE_NAME = 6,
  LOCALLY_ASSIGNED = 7,
  INVALID_MAX = 8,  ///< never a legal value
};

QEL_EXPORT std::string enum_to_string(DeviceIDSubtype subtype);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, DeviceIDSubtype subtype);

/// Identifies a device as an LLDP chassis ID does.
///
/// The octets to construct it from depend on the subtype: six for a MAC address; the IANA address family (1 or 2) and
/// the 4 or 16 octets of the address for a network address; any number for the others.
class QEL_EXPORT DeviceID {
 public:
  /// Throws std::invalid_argument if the subtype is INVALID_MAX or above, or does not allow these octets.
  DeviceID(DeviceIDSubtype subtype, const char* data, unsigned int length);
  DeviceID(DeviceIDSubtype subtype, const std::string& octets);

  DeviceIDSubtype get_subtype() const { return subtype_; }

  /// A MAC or network address as upper-case text; for other subtypes, the octets themselves.
  const std::string& get_value() const { return value_; }

  friend bool operator==(const DeviceID&, const DeviceID&) = default;

 private:
  DeviceIDSubtype subtype_;
  std::string value_;
};

/// Prints as ["MAC_ADDRESS", "00:11:22:33:44:55"].
QEL_EXPORT std::ostream& operator<<(std::ostream& os, const DeviceID& id);

/// Copies `id`; null remains null.
QEL_EXPORT std::unique_ptr<DeviceID> clone_optional_device_id(const std::unique_ptr<DeviceID>& id);

}  // namespace qel
