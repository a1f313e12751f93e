#include "qel/ieee1905_1/device_information_tlv.h"
#include "qel/ieee1905_1/framework_tlvs.h"
#include "qel/ieee1905_1/link_metric_tlvs.h"
#include "qel/ieee1905_1/neighbor_tlvs.h"
#include "qel/ieee1905_1/tlv_factory.h"
#include "qel/ieee1905_1/vendor/qel_tlv_type.h"
#include "qel/ieee1905_1/vendor/vendor_specific_tlv.h"
#include "tests/support/golden.h"

namespace qel::ieee1905_1 {
namespace {

using test::octets;

template <class T, class Element>
T list_of(void (T::*add)(const Element&), std::size_t count) {
  return test::with(T(), add, std::vector<Element>(count));
}

/// Spreads the addresses over the tuples: 1 + tuples + 6 * addresses octets of body.
DeviceBridgingCapabilityTLV bridging(std::size_t tuples, std::size_t addresses) {
  DeviceBridgingCapabilityTLV tlv;
  for (; tuples > 0; --tuples) {
    const std::size_t share = (addresses + tuples - 1) / tuples;
    tlv.add_bridging_tuple(list_of(&DeviceBridgingTuple::add_mac_address, share));
    addresses -= share;
  }
  return tlv;
}

/// 3 octets of OUI, 1 of subtype, then the TLV.
VendorSpecificTLV envelope(const DeviceBridgingCapabilityTLV& tlv) {
  return VendorSpecificTLV(VENDOR_OUI,
                           std::make_unique<QELTLVType>(std::make_unique<DeviceBridgingCapabilityTLV>(tlv)));
}

const std::string BEFORE = "what was there before";

void expect_taken(const TLV& tlv, std::size_t length) {
  const test::Written result = test::encode(tlv, BEFORE);
  const std::uint8_t header[] = {static_cast<std::uint8_t>(tlv.get_type()), static_cast<std::uint8_t>(length >> 8U),
                                 static_cast<std::uint8_t>(length)};
  EXPECT_EQ(result.refused, "");
  EXPECT_EQ(result.octets.substr(2 * BEFORE.size(), 6), test::hex(header));
  EXPECT_EQ(result.octets.size(), 2 * (BEFORE.size() + 3 + length));
  const test::Octets wire = octets(std::string_view(result.octets).substr(2 * BEFORE.size()));
  EXPECT_TRUE(*test::decode(wire, [&] { return create_TLV(tlv.get_type()); }).object == tlv);
}

void expect_refused(const TLV& tlv, const char* text) {
  EXPECT_EQ(test::encode(tlv, BEFORE), (test::Written{test::hex(test::octets_of(BEFORE)), text}));
}

TEST(Limits, OfCountsWhenEncoding) {
  constexpr auto ADD_INTERFACE = &DeviceInformationTLV::add_interface_information;
  expect_refused(list_of(ADD_INTERFACE, 0), "Invalid size");
  expect_taken(list_of(ADD_INTERFACE, 1), 7 + 9);
  expect_taken(list_of(ADD_INTERFACE, 255), 7 + 255 * 9);
  expect_refused(list_of(ADD_INTERFACE, 256), "Invalid size");
  expect_refused(bridging(0, 0), "Invalid size");
  expect_taken(bridging(1, 0), 2);
  expect_taken(bridging(255, 0), 256);
  expect_refused(bridging(256, 0), "Invalid size");
  expect_taken(bridging(1, 255), 2 + 255 * 6);
  expect_refused(bridging(1, 256), "Invalid size");
}

TEST(Limits, OfLengthsWhenEncoding) {
  expect_taken(bridging(44, 10915), 65535);
  expect_refused(bridging(45, 10915), "Invalid length");  // 65536
  expect_taken(list_of(&NonIEEE1905NeighborDeviceListTLV::add_mac_address, 10921), 6 + 10921 * 6);
  expect_refused(list_of(&NonIEEE1905NeighborDeviceListTLV::add_mac_address, 10922), "Invalid length");
  expect_taken(list_of(&IEEE1905NeighborDeviceTLV::add_AL_MAC_neighbor, 9361), 6 + 9361 * 7);
  expect_refused(list_of(&IEEE1905NeighborDeviceTLV::add_AL_MAC_neighbor, 9362), "Invalid length");
  expect_taken(list_of(&TransmitterLinkMetricTLV::add_transmitter_link_metric, 2259), 12 + 2259 * 29);
  expect_refused(list_of(&TransmitterLinkMetricTLV::add_transmitter_link_metric, 2260), "Invalid length");
  expect_taken(list_of(&ReceiverLinkMetricTLV::add_receiver_link_metric, 2848), 12 + 2848 * 23);
  expect_refused(list_of(&ReceiverLinkMetricTLV::add_receiver_link_metric, 2849), "Invalid length");
  expect_taken(envelope(bridging(43, 10914)), 65535);
  expect_refused(envelope(bridging(44, 10914)), "Invalid size");    // 65536
  expect_refused(envelope(bridging(45, 10915)), "Invalid length");  // the TLV inside is too long already
}

TEST(Limits, PlaceholdersAreNotEncoded) {
  expect_refused(DummyTLV(), "DummyTLV is not serializable!");
  expect_refused(VendorSpecificTLV(VENDOR_OUI, std::make_unique<QELTLVType>()), "DummyTLV is not serializable!");
  expect_refused(VendorSpecificTLV(VENDOR_OUI), "VendorSpecificUnknown is not serializable!");
}

TEST(Limits, OfLengthsWhenDecoding) {
  const struct {
    std::uint8_t type;
    const char* refused;
    std::size_t consumed;  // 0 for all that the length says
    std::vector<std::uint8_t> lengths;
  } rows[] = {
      {0, "", 0, {0}},
      {0, "Deserialization of EndOfMessageTLV failed, length is not null!", 3, {1, 255}},
      {6, "", 0, {6, 12}},
      {6, "Invalid length: must fit at least one MACAddress", 9, {0, 5}},
      {6, "Invalid length: must fit at least a MACAddress", 9, {7, 11, 13}},
      {7, "", 0, {6, 13}},
      {7, "Invalid length: must fit at least one MACAddress", 9, {0, 5}},
      {7, "Invalid length: must fit an IEEE1905Neighbor element", 9, {7, 12, 14}},
      {9, "", 0, {12, 41}},
      {9, "Invalid length: must fit at least two MACAddresses", 15, {0, 11}},
      {9, "Invalid length: must fit an TransmitterLinkMetric element", 15, {13, 40, 42}},
      {10, "", 0, {12, 35}},
      {10, "Invalid length: must fit at least two MACAddresses", 15, {0, 11}},
      {10, "Invalid length: must fit a ReceiverLinkMetric", 15, {13, 34, 36}},
  };
  for (const auto& row : rows) {
    for (const std::uint8_t length : row.lengths) {
      test::Octets wire = {row.type, 0, length};
      wire.resize(100, 0x11);
      const std::size_t consumed = row.consumed != 0 ? row.consumed : 3U + length;
      EXPECT_EQ(test::decode(wire, [&] { return create_TLV(TLVType(row.type)); }).outcome,
                (test::ReadOutcome{row.refused, std::ios_base::goodbit, consumed}))
          << int{row.type} << " " << int{length};
    }
  }
}

TEST(Limits, EmptyListsOfTypes3And4DecodeButDoNotEncode) {
  for (const char* const wire : {"03 0007 021A2B3C4D5E 00", "04 0001 00"}) {
    const auto decoded = test::decode(octets(wire), [&] { return create_TLV(TLVType(octets(wire)[0])); });
    EXPECT_EQ(decoded.outcome.refused, "");
    expect_refused(*decoded.object, "Invalid size");
  }
}

TEST(Failures, NameThePrimitiveThatIsCutShort) {
  const auto tlv = list_of(&TransmitterLinkMetricTLV::add_transmitter_link_metric, 1);
  test::Octets wire = octets("09 0029");
  wire.resize(44);
  const auto type_at = [](std::size_t offset) {
    const bool is_16_bits = offset == 1 || offset == 2 || offset >= 38;
    return std::string(is_16_bits ? "std::uint16_t" : offset >= 30 ? "std::uint32_t" : "std::uint8_t");
  };
  for (std::size_t size = 0; size < wire.size(); ++size) {
    EXPECT_EQ(test::decode<TransmitterLinkMetricTLV>(test::first(size, wire)).outcome,
              (test::ReadOutcome{"Deserialization of type " + type_at(size) + " failed.", test::CUT_SHORT, size}));
    test::LimitedOStream os(size);
    serialization::SerializationContext context;
    EXPECT_EQ(test::refusal([&] { tlv.serialize_impl(os, context); }),
              "Serialization of type " + (size < 3 ? type_at(size) : "std::stringstream") + " failed.");
  }
}

TEST(DummyTLV, SkipsAndAddsUp) {
  const char* const NO_SEEK = "Deserialization of DummyTLV failed, could not seek stream!";
  DummyTLV dummy(TLVType::WSC);
  const auto state = [&] {
    return std::tuple(dummy.get_represented_type(), dummy.get_consumed_length(), dummy.get_consumed_total_length());
  };
  EXPECT_EQ(state(), std::tuple(TLVType::WSC, 0, 0));
  const test::Octets wire = octets("FF 0004 A1A2A3A4  2A 0000  11 0102");
  serialization::MemoryIStream is(wire);
  serialization::SerializationContext context;
  dummy.deserialize_impl(is, context);
  EXPECT_EQ(state(), std::tuple(TLVType::DUMMY, 4, 7));
  dummy.deserialize_impl(is, context);
  EXPECT_EQ(state(), std::tuple(TLVType(42), 4, 10));
  EXPECT_EQ(is.consumed(), 10U);
  EXPECT_EQ(test::refusal([&] { dummy.deserialize_impl(is, context); }), NO_SEEK);
  EXPECT_EQ(state(), std::tuple(TLVType::WSC, 4, 10));
  EXPECT_EQ(test::decode<DummyTLV>(octets("FF 0002 A1")).outcome.refused, NO_SEEK);
  EXPECT_EQ(test::decode<DummyTLV>(octets("FF 00")).outcome.refused, "Deserialization of type std::uint16_t failed.");
}

TEST(DummyTLV, StandsForAType) {
  EXPECT_TRUE(DummyTLV(TLVType::WSC) == DummyTLV(TLVType::WSC));
  test::expect_unequal<TLV>(DummyTLV(TLVType::WSC), DummyTLV());
  test::expect_unequal<TLV>(EndOfMessageTLV(), DummyTLV(TLVType::END_OF_MESSAGE));
  EXPECT_EQ((std::ostringstream() << DummyTLV(TLVType::WSC)).str(), "type: DUMMY");
}

}  // namespace
}  // namespace qel::ieee1905_1
