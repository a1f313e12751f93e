#include "qel/core/device_id.h"

#include <algorithm>
#include <array>
#include <ostream>
#include <stdexcept>
#include <string_view>

#include "qel/core/enum_text.h"
#include "qel/core/mac_address.h"
#include "qel/core/text.h"
#include "qelevsock.h"

namespace qel {

namespace {

constexpr EnumText SUBTYPES[] = {
    {DeviceIDSubtype::RESERVED, "RESERVED"},
    {DeviceIDSubtype::CHASSIS_COMPONENT, "CHASSIS_COMPONENT"},
    {DeviceIDSubtype::INTERFACE_ALIAS, "INTERFACE_ALIAS"},
    {DeviceIDSubtype::PORT_COMPONENT, "PORT_COMPONENT"},
    {DeviceIDSubtype::MAC_ADDRESS, "MAC_ADDRESS"},
    {DeviceIDSubtype::NETWORK_ADDRESS, "NETWORK_ADDRESS"},
    {DeviceIDSubtype::INTERFACE_NAME, "INTERFACE_NAME"},
    {DeviceIDSubtype::LOCALLY_ASSIGNED, "LOCALLY_ASSIGNED"},
    {DeviceIDSubtype::INVALID_MAX, "INVALID_MAX"},
};

[[noreturn]] void refuse_length(std::size_t length, const char* why) {
  throw std::invalid_argument(std::to_string(length) + why);
}

std::string mac_address_text(std::string_view octets) {
  MACAddress address;
  if (octets.size() != address.octets().size()) {
    refuse_length(octets.size(), " does not match MAC address length");
  }
  std::copy(octets.begin(), octets.end(), address.octets().begin());
  return address.to_string();
}

std::string network_address_text(std::string_view octets) {
  constexpr char IPV4 = EVSOCK_FAMILY_IPV4;
  constexpr char IPV6 = EVSOCK_FAMILY_IPV6;
  const char family = octets.empty() ? '\0' : octets.front();
  if (family != IPV4 && family != IPV6) {
    throw std::invalid_argument("Network address is invalid");
  }
  if (family == IPV4 && octets.size() != 5) {
    refuse_length(octets.size(), " does not match IPv4 network address length");
  }
  if (family == IPV6 && octets.size() != 17) {
    refuse_length(octets.size(), " does not match IPv6 network address length");
  }
  std::array<char, EVSOCK_INADDR_TEXT_SIZE> text;
  if (evsock_inaddr2str(family, octets.data() + 1, text.data(), text.size()) == nullptr) {
    throw std::invalid_argument("Failed to convert network address to string");
  }
  return to_upper(text.data());
}

std::string value_of(DeviceIDSubtype subtype, std::string_view octets) {
  if (subtype >= DeviceIDSubtype::INVALID_MAX) {
    throw std::invalid_argument("Subtype DeviceIDSubtype::INVALID_MAX is not allowed");
  }
  switch (subtype) {
    case DeviceIDSubtype::MAC_ADDRESS:
      return mac_address_text(octets);
    case DeviceIDSubtype::NETWORK_ADDRESS:
      return network_address_text(octets);
    default:
      return std::string(octets);
  }
}

}  // namespace

std::string enum_to_string(DeviceIDSubtype subtype) { return enum_text(SUBTYPES, subtype); }
std::ostream& operator<<(std::ostream& os, DeviceIDSubtype subtype) { return print_enum(os, SUBTYPES, subtype); }

DeviceID::DeviceID(DeviceIDSubtype subtype, const char* data, unsigned int length)
    : subtype_(subtype), value_(value_of(subtype, {data, length})) {}

DeviceID::DeviceID(DeviceIDSubtype subtype, const std::string& octets)
    : subtype_(subtype), value_(value_of(subtype, octets)) {}

std::ostream& operator<<(std::ostream& os, const DeviceID& id) {
  return os << "[\"" << id.get_subtype() << "\", \"" << id.get_value() << "\"]";
}

std::unique_ptr<DeviceID> clone_optional_device_id(const std::unique_ptr<DeviceID>& id) {
  return id != nullptr ? std::make_unique<DeviceID>(*id) : nullptr;
}

}  // namespace qel
