#include "qel/core/basic_version.h"
#include "qel/core/device_id.h"
#include "qel/core/fixed_byte_buffer.h"
#include "qel/core/mac_address.h"
#include "qel/core/plc_nid.h"
#include "qel/core/text.h"
#include "qel/core/validity.h"
#include "qel/core/vendor_oui.h"
#include "tests/support/fields.h"
#include "tests/support/golden.h"
#include "tests/support/octets.h"

namespace qel {
namespace {

using test::mac;

TEST(MACAddress, ParsesPairsOfDigitsWithColonsOnly) {
  const std::pair<const char*, const char*> rows[] = {
      {"00:1A:2b:3C:4d:5E", "001A2B3C4D5E"},
      {"AA:BB:CC:DD:EE:F", "010203040506 refused"},
      {"AA:BB:CC:DD:EE:FF0", "010203040506 refused"},
      {"AA-BB-CC-DD-EE-FF", "010203040506 refused"},
      {"AA:BB:CC:DD:EE:FG", "010203040506 refused"},
      {"AA:BB:CC:DD:EE: F", "010203040506 refused"},
      // Even with 17 good characters, the octets parsed before the failure are changed.
      {"0:A:2:B:4:C:6:7:8", "000A020B040C refused"},
      {"AA:BB:CC:DD:EE:F:", "AABBCCDDEE0F refused"},
      {"AA:BB:CC:DDEE::FF", "AABBCCDD0506 refused"},
  };
  for (const auto& [text, outcome] : rows) {
    MACAddress address = mac("010203040506");
    const bool accepted = address.parse_string(text);
    EXPECT_EQ(test::hex(address.octets()) + (accepted ? "" : " refused"), outcome) << text;
  }
  EXPECT_EQ(MACAddress(std::string("00:1a:2B:3c:4D:5e")), mac("001A2B3C4D5E"));
  EXPECT_THAT([] { MACAddress(std::string("AA-BB")); },
              ThrowsMessage<std::invalid_argument>("'AA-BB' is no valid MACAddress string"));
  std::istringstream is("  aa:bb:cc:dd:ee:01 0:1:2:3:4:5:6:7:8");
  MACAddress address;
  EXPECT_TRUE(is >> address);
  EXPECT_FALSE(is >> address);
  EXPECT_EQ(address, mac("AABBCCDDEE01"));
}

TEST(MACAddress, IsPrintedAsUpperCasePairsAndOrderedByOctets) {
  std::ostringstream os;
  os << std::oct << std::showbase << std::left << std::setfill('*');
  os << mac("FE0D0C0B0A09") << ' ' << plc::NID(plc::NID::Octets{0x0F, 0xA1, 0xB2, 0xC3, 0xD4, 0xE5, 0x06}) << 8;
  EXPECT_EQ(os.str(), "FE:0D:0C:0B:0A:09 0f:a1:b2:c3:d4:e5:06010") << "the format stays";
  EXPECT_LT(mac("0000000000FF"), mac("000000000100"));
  EXPECT_LT(mac("0001FFFFFFFF"), mac("800000000000"));
}

TEST(MACAddress, Predicates) {
  const struct {
    const char* octets;
    bool valid, valid_individual, non_zero_individual;
  } rows[] = {
      {"000000000000", false, false, false}, {"00B052000001", false, false, true}, {"00B052000002", true, true, true},
      {"01005E000001", true, false, false},  {"010000000000", true, false, false}, {"02514C000000", true, true, true},
      {"FFFFFFFFFFFF", true, false, false},  {"000000000001", true, true, true},
  };
  for (const auto& row : rows) {
    const MACAddress address = mac(row.octets);
    EXPECT_EQ(is_valid_mac_address(address), row.valid) << address;
    EXPECT_EQ(is_valid(address), row.valid) << address;
    EXPECT_EQ(is_valid_individual_mac_address(address), row.valid_individual) << address;
    EXPECT_EQ(is_non_zero_individual_mac_address(address), row.non_zero_individual) << address;
  }
}

TEST(Validity, RadioMeasurementsEndAtTheirLimits) {
  for (const std::uint8_t value : std::to_array<std::uint8_t>({0, 100, 101, 220, 221, 255})) {
    EXPECT_EQ(is_valid_rcpi(value), value < 221) << int{value};
    EXPECT_EQ(is_valid_anpi(value), value < 221) << int{value};
    EXPECT_TRUE(is_valid_rsni(value)) << int{value};
    EXPECT_EQ(is_valid_channel_utilization(value), value < 101) << int{value};
  }
}

TEST(BasicVersion, ParsesTwoNumbersWithADot) {
  const auto parsed = [](const char* text) {
    BasicVersion version(3, 7);
    const bool accepted = version.parse_string(text);
    return version.to_string() + (accepted ? "" : " refused");
  };
  EXPECT_EQ(parsed("0.65535") + " " + parsed("65535.0"), "0.65535 65535.0");
  for (const char* const text : {"1.2.3", "1,2", "1.", ".2", "65536.1", "1.65536", "", "1", "1.2x", "1.2 "}) {
    EXPECT_EQ(parsed(text), "3.7 refused") << text;
  }
  EXPECT_EQ((std::ostringstream() << std::hex << BasicVersion(258, 772)).str(), "258.772");
  test::fields(BasicVersion(258, 772), FIELD(major), 258, FIELD(minor), 772);
}

TEST(FixedByteBuffer, HoldsUpToItsCapacity) {
  const test::Octets given = {7, 8, 9, 10};
  const std::span octets(given);
  const FixedByteBuffer<3> full(octets.first(3));
  EXPECT_EQ(test::hex({full.data(), full.size()}), "070809");
  EXPECT_TRUE(full.capacity() == 3 && !full.empty() && FixedByteBuffer<3>().empty());
  EXPECT_THROW(FixedByteBuffer<3>{octets}, std::invalid_argument);
  EXPECT_THROW(FixedByteBuffer<3>("abcd"), std::invalid_argument);
  EXPECT_EQ(FixedByteBuffer<3>("a\xFF"), FixedByteBuffer<3>(std::array<std::uint8_t, 2>{'a', 0xFF}));
  test::expect_unequal(full, FixedByteBuffer<3>(octets.first(2)));
  test::expect_unequal(full, FixedByteBuffer<3>(octets.last(3)));
}

TEST(Text, UpperCase) { EXPECT_EQ(to_upper("fe80::a9z-\xE4\xFF"), "FE80::A9Z-\xE4\xFF"); }

TEST(VendorOUI, IsTheConfiguredOne) {
  char text[9];
  std::snprintf(text, sizeof(text), "%02X-%02X-%02X", VENDOR_OUI[0], VENDOR_OUI[1], VENDOR_OUI[2]);
  EXPECT_EQ(text, to_upper(QEL_CONFIGURED_OUI));
}

using enum DeviceIDSubtype;

TEST(DeviceID, TurnsAddressesIntoTextKeepsOtherOctetsAndComparesBothFields) {
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
  const DeviceID id(INTERFACE_NAME, "eth0");
  EXPECT_NE(id, DeviceID(INTERFACE_ALIAS, "eth0"));
  EXPECT_NE(id, DeviceID(INTERFACE_NAME, "eth1"));
  EXPECT_EQ(*clone_optional_device_id(std::make_unique<DeviceID>(id)), id);
  EXPECT_EQ(clone_optional_device_id(nullptr), nullptr);
}

}  // namespace
}  // namespace qel
