#include "qel/core/device_id.h"

#include "tests/support/octets.h"

namespace qel {
namespace {

using enum DeviceIDSubtype;

TEST(DeviceID, TurnsAddressesIntoTextAndKeepsOtherOctets) {
  const std::tuple<DeviceIDSubtype, const char*, std::string> rows[] = {
      // the octets, and the value or why they are refused
      {MAC_ADDRESS, "001122 33AAFF", "00:11:22:33:AA:FF"},
      {MAC_ADDRESS, "001122 33AA", "5 does not match MAC address length"},
      {MAC_ADDRESS, "001122 33AAFFEE", "7 does not match MAC address length"},
      {NETWORK_ADDRESS, "01 C0A80102", "192.168.1.2"},
      {NETWORK_ADDRESS, "01 C0A801", "4 does not match IPv4 network address length"},
      {NETWORK_ADDRESS, "01 C0A8010203", "6 does not match IPv4 network address length"},
      {NETWORK_ADDRESS, "02 20010DB8000000000000000000ABCDEF", "2001:DB8::AB:CDEF"},
      {NETWORK_ADDRESS, "02 20010DB8000000000000000000ABCD", "16 does not match IPv6 network address length"},
      {NETWORK_ADDRESS, "02 20010DB8000000000000000000ABCDEF01", "18 does not match IPv6 network address length"},
      {NETWORK_ADDRESS, "", "Network address is invalid"},
      {NETWORK_ADDRESS, "00 C0A80102", "Network address is invalid"},
      {NETWORK_ADDRESS, "03 20010DB8000000000000000000ABCDEF", "Network address is invalid"},
      {RESERVED, "", ""},
      {CHASSIS_COMPONENT, "61620063", std::string("ab\0c", 4)},
      {INTERFACE_ALIAS, "C3A4", "\xC3\xA4"},
      {INVALID_MAX, "78", "Subtype DeviceIDSubtype::INVALID_MAX is not allowed"},
      {DeviceIDSubtype(255), "78", "Subtype DeviceIDSubtype::INVALID_MAX is not allowed"},
  };
  for (const auto& [subtype, octets, outcome] : rows) {
    SCOPED_TRACE(enum_to_string(subtype) + " " + octets);
    const std::string characters = test::characters_of(test::octets(octets));
    try {
      const DeviceID id(subtype, characters);
      EXPECT_EQ(id.get_value(), outcome);
      EXPECT_TRUE(id == DeviceID(subtype, characters.data(), static_cast<unsigned int>(characters.size())));
      EXPECT_EQ((std::ostringstream() << id).str(), "[\"" + enum_to_string(subtype) + "\", \"" + outcome + "\"]");
    } catch (const std::invalid_argument& refused) {
      EXPECT_EQ(refused.what(), outcome);
    }
  }
}

TEST(DeviceID, ComparesSubtypeAndValue) {
  const DeviceID id(INTERFACE_NAME, "eth0");
  EXPECT_NE(id, DeviceID(INTERFACE_ALIAS, "eth0"));
  EXPECT_NE(id, DeviceID(INTERFACE_NAME, "eth1"));
  EXPECT_EQ(*clone_optional_device_id(std::make_unique<DeviceID>(id)), id);
  EXPECT_EQ(clone_optional_device_id(nullptr), nullptr);
}

}  // namespace
}  // namespace qel
