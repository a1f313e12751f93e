#include "qel/core/device_id.h"

#include "tests/support/octets.h"

namespace qel {
namespace {

using enum DeviceIDSubtype;

TEST(DeviceID, TurnsAddressesIntoTextAndKeepsOtherOctets) {
  const struct {
    DeviceIDSubtype subtype;
    const char* octets;
    std::string value;
  } rows[] = {
      {MAC_ADDRESS, "001122 33AAFF", "00:11:22:33:AA:FF"},
      {NETWORK_ADDRESS, "01 C0A80102", "192.168.1.2"},
      {NETWORK_ADDRESS, "02 20010DB8000000000000000000ABCDEF", "2001:DB8::AB:CDEF"},
      {RESERVED, "", ""},
      {CHASSIS_COMPONENT, "61620063", std::string("ab\0c", 4)},
      {INTERFACE_ALIAS, "C3A4", "\xC3\xA4"},
      {PORT_COMPONENT, "0102030405", "\x01\x02\x03\x04\x05"},
      {INTERFACE_NAME, "65746830", "eth0"},
      {LOCALLY_ASSIGNED, "78", "x"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(enum_to_string(row.subtype));
    const std::string characters = test::characters_of(test::octets(row.octets));
    const DeviceID id(row.subtype, characters.data(), static_cast<unsigned int>(characters.size()));
    EXPECT_EQ(id.get_subtype(), row.subtype);
    EXPECT_EQ(id.get_value(), row.value);
    EXPECT_TRUE(id == DeviceID(row.subtype, characters));
    EXPECT_EQ((std::ostringstream() << id).str(), "[\"" + enum_to_string(row.subtype) + "\", \"" + row.value + "\"]");
  }
}

TEST(DeviceID, RefusesWhatTheSubtypeDoesNotAllow) {
  const auto refusal_of = [](DeviceIDSubtype subtype, std::size_t length, char first) -> std::string {
    try {
      DeviceID refused(subtype, std::string(length, first));
    } catch (const std::invalid_argument& exception) {
      return exception.what();
    }
    return {};
  };
  for (const unsigned int subtype : {8U, 9U, 255U}) {
    EXPECT_EQ(refusal_of(DeviceIDSubtype(subtype), 6, 1), "Subtype DeviceIDSubtype::INVALID_MAX is not allowed");
  }
  for (const auto& [subtype, length, family, text] : {std::tuple(MAC_ADDRESS, 5U, 1, "MAC"),
                                                      {MAC_ADDRESS, 7, 1, "MAC"},
                                                      {NETWORK_ADDRESS, 4, 1, "IPv4 network"},
                                                      {NETWORK_ADDRESS, 6, 1, "IPv4 network"},
                                                      {NETWORK_ADDRESS, 16, 2, "IPv6 network"},
                                                      {NETWORK_ADDRESS, 18, 2, "IPv6 network"}}) {
    EXPECT_EQ(refusal_of(subtype, length, static_cast<char>(family)),
              std::to_string(length) + " does not match " + text + " address length");
  }
  for (const auto& [length, family] : {std::pair(0U, '\1'), {5U, '\0'}, {17U, '\3'}}) {
    EXPECT_EQ(refusal_of(NETWORK_ADDRESS, length, family), "Network address is invalid");
  }
}

TEST(DeviceID, ComparesSubtypeAndValue) {
  const DeviceID id(INTERFACE_NAME, "eth0");
  EXPECT_TRUE(id != DeviceID(INTERFACE_ALIAS, "eth0"));
  EXPECT_TRUE(id != DeviceID(INTERFACE_NAME, "eth1"));
  EXPECT_TRUE(id != DeviceID(INTERFACE_NAME, std::string("eth0\0", 5)));
  EXPECT_EQ(*clone_optional_device_id(std::make_unique<DeviceID>(id)), id);
  EXPECT_EQ(clone_optional_device_id(nullptr), nullptr);
}

}  // namespace
}  // namespace qel
