#include "tests/ieee1905_1/tlv_test.h"

namespace qel::ieee1905_1 {
namespace {

using serialization::SerializationContext;
using std::make_unique;
using MAC = MACAddressTLVCommon<TLVType::MAC_ADDRESS>;

constexpr VendorSpecificTLV::OUI FOREIGN{0x0A, 0xB1, 0x05};

std::unique_ptr<MAC> mac_tlv() { return make_unique<MAC>(B); }

/// A class that is not one of the library's, whatever its type says, with its field at the same place.
template <class Base, class Field>
struct Foreign final : Base {
  explicit Foreign(Field value) : field(value) {}
  void serialize_impl(std::ostream&, SerializationContext&) const override {}
  void deserialize_impl(std::istream&, SerializationContext&) override {}
  Field field;
};
struct Payload : VendorSpecific {
  QELVendorTLVType get_type() const override { return QELVendorTLVType::VENDOR_UNKNOWN; }
};

TEST(Comparison, RequiresTheSameClass) {
  EXPECT_FALSE(VendorSpecificUnknown(7) == (Foreign<Payload, std::uint16_t>(7)));
  EXPECT_FALSE(*mac_tlv() == (Foreign<TLVCommon<TLVType::MAC_ADDRESS>, MACAddress>(B)));
  EXPECT_FALSE(DummyTLV() == (Foreign<TLVCommon<TLVType::DUMMY>, TLVType>(TLVType::DUMMY)));
}

TEST(VendorPayloads, Golden) {
  using G = test::Golden<VendorSpecific>;
  using Type = QELMessageTypeTLV;
  using Version = QELMeshdVersionTLV;
  constexpr auto VERSION = QELMessageType::QEL_MESHD_VERSION_MESSAGE;
  check_rows({
      G(fields(Type(VERSION), FIELD(qel_message_type), VERSION), "09 0002 0001",
        "type: QEL_MESSAGETYPE_TLV QEL Message Type: QEL_MESHD_VERSION_MESSAGE"),
      G(fields(Version(BasicVersion(258, 772)), FIELD(major_and_minor), BasicVersion(258, 772)), "0C 0004 0102 0304",
        "type: QEL_MESHD_VERSION_TLV QEL Meshd Version: 258.772"),
      G(QELTLVType(mac_tlv()), "00 02 0006 06F1E2D3C4B5",
        "type: QEL_TLV_TYPE\n\ttype: MAC_ADDRESS mac: 06:F1:E2:D3:C4:B5", {0, 2, 3}),
  });
}

TEST(VendorSpecificTLV, Golden) {
  // A length of 0, which differs in one bit, is refused.
  const test::Golden<TLV> golden(VendorSpecificTLV(VENDOR_OUI, make_unique<QELMessageTypeTLV>(QELMessageType(772))),
                                 "0B 0008 OUI 09 0002 0304",
                                 "type: VENDOR_SPECIFIC Vendor OUI:  [ " + test::oui_text() +
                                     "]\n\ttype: QEL_MESSAGETYPE_TLV QEL Message Type: 772",
                                 {0, 1, 7, 8}, {2});
  test::check_golden<TLV>({golden}, blank_tlv, {.leaves_base_decimal = true});
}

TEST(VendorSpecificTLV, SkipsWhatItDoesNotKnow) {
  const auto check = [](const std::string& text, std::uint16_t length) {
    test::Octets wire = octets(text);
    wire.push_back(0xEE);
    const auto [outcome, tlv] = test::decode<VendorSpecificTLV>(wire);
    EXPECT_EQ(outcome, (test::ReadOutcome{"", std::ios_base::goodbit, wire.size() - 1})) << text;
    EXPECT_TRUE(*tlv->get_vendor_specific() == VendorSpecificUnknown(length)) << text;
    return (std::ostringstream() << std::hex << std::showbase << std::uppercase << *tlv).str();
  };
  check("0B 0003 0AB105", 0);
  EXPECT_EQ(check("0B 0007 0AB105 01020304", 4),
            "type: VENDOR_SPECIFIC Vendor OUI:  [ 0xa 0xb1 0x5 ]\n\ttype: VENDOR_UNKNOWN length: 4 Bytes");
  check("0B 0004 OUI 11", 1);
  check("0B 0006 OUI FF 0203", 3);
  test::expect_unequal<VendorSpecific>(VendorSpecificUnknown(5), VendorSpecificUnknown(4));
  test::expect_unequal<VendorSpecific>(VendorSpecificUnknown(0), QELMeshdVersionTLV());
  EXPECT_EQ((std::ostringstream() << std::hex << VendorSpecificUnknown(18)).str(),
            "type: VENDOR_UNKNOWN length: 18 Bytes");
}

TEST(VendorSpecificTLV, KeepsItsPayloadWhenDecodingFails) {
  const char* const NO_SEEK = "Deserialization of VendorSpecificUnknown failed, could not seek stream!";
  const char* const NO_TLV = "Could not create IEEE1905 TLV!";
  const struct {
    const char* octets;
    const char* refused;
    std::size_t consumed;
  } rows[] = {
      {"0B 0000 0AB105 09", "Invalid OUI", 6},
      {"0B 0002 OUI 09 0002 0001", "Invalid OUI", 6},
      {"0B 0003 OUI 09 0002 0001", "Invalid length", 6},
      {"0B 0005 0AB105 01", NO_SEEK, 6},
      {"0B 0005 OUI 20", NO_SEEK, 6},
      {"0B 0005 OUI", NO_SEEK, 6},
      {"0B 0008 OUI 00", NO_TLV, 7},
      {"0B 0008 OUI 00 11 0000", NO_TLV, 7},
      {"0B 0008 OUI 09 0002 00", "Deserialization of type std::uint16_t failed.", 10},
  };
  for (const auto& row : rows) {
    VendorSpecificTLV tlv(make_unique<QELMessageTypeTLV>());
    const VendorSpecific* const payload = tlv.get_vendor_specific().get();
    SerializationContext context;
    const test::ReadOutcome outcome =
        test::read_all(octets(row.octets), [&](std::istream& is) { tlv.deserialize_impl(is, context); });
    EXPECT_EQ(std::tuple(outcome.refused, outcome.consumed), std::tuple(row.refused, row.consumed)) << row.octets;
    EXPECT_EQ(tlv.get_vendor_specific().get(), payload) << row.octets;
  }
}

TEST(VendorSpecificTLV, NeverHoldsNull) {
  VendorSpecificTLV tlv(FOREIGN);
  EXPECT_TRUE(VendorSpecificTLV() == VendorSpecificTLV(std::unique_ptr<VendorSpecific>()));
  fields(VendorSpecificTLV(), FIELD(vendor_specific_oui), FOREIGN);
  std::unique_ptr<VendorSpecific> payload = make_unique<QELTLVType>();
  tlv.set_vendor_specific(payload);
  EXPECT_EQ(payload, nullptr);
  tlv.set_vendor_specific(payload);
  EXPECT_TRUE(*tlv.get_vendor_specific() == VendorSpecificUnknown(0));

  QELTLVType holder(mac_tlv());
  const QELTLVType moved = std::move(holder);
  EXPECT_TRUE(*moved.get_tlv() == *mac_tlv());
  EXPECT_TRUE(*holder.get_tlv() == DummyTLV());  // NOLINT(bugprone-use-after-move)
  holder.set_tlv(std::unique_ptr<TLV>());
  EXPECT_TRUE(*holder.get_tlv() == DummyTLV());
}

/// Nests this many vendor TLVs; the innermost holds an End-of-message TLV.
test::Octets nested(std::size_t levels) {
  const test::Octets oui_and_subtype = octets("OUI 00");
  test::Octets wire;
  for (std::size_t length = 3 + 7 * levels - 3; levels > 0; --levels, length -= 7) {
    wire.insert(wire.end(), {0x0B, static_cast<std::uint8_t>(length >> 8U), static_cast<std::uint8_t>(length)});
    wire.insert(wire.end(), oui_and_subtype.begin(), oui_and_subtype.end());
  }
  wire.insert(wire.end(), {0, 0, 0});
  return wire;
}

TEST(VendorSpecificTLV, NestsToALimit) {
  constexpr std::size_t LIMIT = SerializationContext::MAX_NESTING;
  const std::string refused = "TLVs are nested too deeply!";
  SerializationContext context;
  auto tlv = make_unique<VendorSpecificTLV>();
  const auto decode = [&](std::istream& is) { tlv->deserialize_impl(is, context); };
  for (const std::size_t levels : {LIMIT + 1, std::size_t{9000}}) {
    EXPECT_EQ(test::read_all(nested(levels), decode).refused, refused);
  }
  // The context is still usable.
  EXPECT_EQ(test::read_all(nested(LIMIT), decode).refused, "");
  EXPECT_EQ(test::encode(*tlv), (test::Written{test::hex(nested(LIMIT)), ""}));
  const VendorSpecificTLV deeper(VENDOR_OUI, make_unique<QELTLVType>(std::move(tlv)));
  EXPECT_EQ(test::encode(deeper), (test::Written{"", refused}));
}

}  // namespace
}  // namespace qel::ieee1905_1
