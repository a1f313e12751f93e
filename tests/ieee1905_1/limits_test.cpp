#include "tests/ieee1905_1/tlv_test.h"

namespace qel::ieee1905_1 {
namespace {

const ieee802_11::IEEE802_11_MeasurementReport REPORT(9, 4, ieee802_11::MeasurementType::BEACON, {});

TEST(Limits, OfCountsWhenEncoding) {
  const auto station = list(&UnassociatedSTAChannel::add_sta_mac, 1);
  const auto restricted = list(&RestrictedOperatingClass::add_restricted_channel, 1);
  check_counts(&DeviceInformationTLV::add_interface_information, 1, 255);
  check_counts(&DeviceBridgingCapabilityTLV::add_bridging_tuple, 1, 255);
  check_counts(&DeviceBridgingTuple::add_mac_address, 0, 255);
  check_counts(&SupportedServiceTLV::add_service, 1, 255);
  check_counts(&APOperationalBSSTLV::add_report, 1, 255);
  check_counts(&BSSOperationalRadioReport::add_BSS_operating, 0, 255);
  check_counts(&AssociatedClientsTLV::add_operated_bss, 1, 255);
  check_counts(&OperatedBSSClients::add_associated_client, 0, 65535);
  check_counts(&APRadioBasicCapabilitiesTLV::add_operation_class_information, 1, 255);
  check_counts(&OperatingClassInformation::add_non_operable_channel, 0, 255);
  check_counts(&MetricReportingPolicyTLV::add_radio_policy, 1, 255);
  check_counts(&ChannelPreferenceTLV::add_channel_preference, 0, 255);
  check_counts(&ChannelPreference::add_channel, 0, 255);
  check_counts(&RadioOperationRestrictionTLV::add_restricted_operating_class, 1, 255, INVALID_SIZE, restricted);
  check_counts(&RestrictedOperatingClass::add_restricted_channel, 1, 255);
  check_counts(&OperatingChannelReportTLV::add_operating_class_channel, 1, 255);
  check_counts(&APMetricQueryTLV::add_bssid, 1, 255);
  check_counts(&AssociatedSTALinkMetricsTLV::add_sta_link_metric, 0, 255);
  check_counts(&UnassociatedSTALinkMetricsQueryTLV::add_channel, 1, 255, INVALID_SIZE, station);
  check_counts(&UnassociatedSTAChannel::add_sta_mac, 1, 255);
  check_counts(&UnassociatedSTALinkMetricsResponseTLV::add_report, 0, 255);
  check_counts(&APChannelReportList::add_channel, 1, 254);
  check_counts(&BeaconMetricsResponseTLV::add_report, 1, 255, INVALID_SIZE, REPORT);
  check_counts(&ClientAssociationControlRequestTLV::add_sta_mac, 1, 255);
}

TEST(Limits, OfTheLengthWhenEncoding) {
  auto query = list(
      &BeaconMetricsQueryTLV::add_ap_channel_reports, 255, list(&APChannelReportList::add_channel, 254),
      BeaconMetricsQueryTLV(A, 83, 255, D, 1, FixedByteBuffer<32>(test::Octets(32, 's')), {}, test::Octets(205, 48)));
  check_limit(query, "");  // 15 + 33 + 1 + 255 * 256 + 1 + 205 = 65535
  query.add_reporting_element_id(49);
  check_limit(query, INVALID_LENGTH);

  const auto inside = [](std::size_t tuples) {  // 3 + 1 + tuples + 6 * 10914 in the TLV, 4 around it
    auto tlv =
        list(&DeviceBridgingCapabilityTLV::add_bridging_tuple, 42, list(&DeviceBridgingTuple::add_mac_address, 255));
    tlv.add_bridging_tuple(list(&DeviceBridgingTuple::add_mac_address, 10914 - 42 * 255));
    tlv = list(&DeviceBridgingCapabilityTLV::add_bridging_tuple, tuples - 43, {}, tlv);
    return VendorSpecificTLV(VENDOR_OUI,
                             std::make_unique<QELTLVType>(std::make_unique<DeviceBridgingCapabilityTLV>(tlv)));
  };
  check_limit(inside(43), "");
  check_limit(inside(44), INVALID_SIZE);
  check_limit(inside(50), INVALID_SIZE);
  check_limit(inside(51), INVALID_LENGTH);  // 65536 in the inner TLV, which is itself too long

  // Counts are checked before the length.
  auto clients =
      list(&AssociatedClientsTLV::add_operated_bss, 1, list(&OperatedBSSClients::add_associated_client, 8191));
  check_limit(clients, INVALID_LENGTH);
  clients.add_operated_bss(list(&OperatedBSSClients::add_associated_client, 65536));
  check_limit(clients, INVALID_SIZE);
}

TEST(Limits, PlaceholdersAreNotEncoded) {
  check_limit(DummyTLV(), "DummyTLV is not serializable!");
  check_limit(QELTLVType(), "DummyTLV is not serializable!");
  check_limit(VendorSpecificTLV(VENDOR_OUI, std::make_unique<QELTLVType>()), "DummyTLV is not serializable!");
  check_limit(VendorSpecificTLV(VENDOR_OUI), "VendorSpecificUnknown is not serializable!");
}

TEST(Limits, OfLengthsWhenDecoding) {
  const struct {
    std::uint8_t type;
    const char* refused;
    std::size_t consumed;  // 0 means all that the length covers
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
      EXPECT_EQ(decode_tlv(wire).outcome, (test::ReadOutcome{row.refused, std::ios_base::goodbit, consumed}))
          << int{row.type} << " " << int{length};
    }
  }
}

TEST(Limits, ListsThatDoNotEncodeDoDecode) {
  for (const char* const wire : {"03 0007 021A2B3C4D5E 00", "8C 0009 021A2B3C4D5E 01 73 00",
                                 "8F 0008 021A2B3C4D5E 00 FD", "9A 0008 021A2B3C4D5E 00 00"}) {
    check_decodes_only(wire, INVALID_SIZE);
  }
}

TEST(Failures, NameTheTypeThatIsCutShort) {
  const auto tlv = list(&TransmitterLinkMetricTLV::add_transmitter_link_metric, 1);
  test::Octets wire = octets("09 0029");
  wire.resize(44);
  for (const auto& [size, read, written] : {std::tuple(0U, "std::uint8_t", "std::uint8_t"),
                                            {2, "std::uint16_t", "std::uint16_t"},
                                            {33, "std::uint32_t", "std::stringstream"}}) {
    EXPECT_EQ(test::decode<TransmitterLinkMetricTLV>(test::first(size, wire)).outcome,
              (test::ReadOutcome{string("Deserialization of type ") + read + " failed.", test::CUT_SHORT, size}));
    test::LimitedOStream os(size);
    serialization::SerializationContext context;
    EXPECT_EQ(test::refusal([&] { tlv.serialize_impl(os, context); }),
              string("Serialization of type ") + written + " failed.");
  }
}

TEST(DummyTLV, SkipsItsBodyAndRepresentsAType) {
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

  EXPECT_TRUE(DummyTLV(TLVType::WSC) == DummyTLV(TLVType::WSC));
  test::expect_unequal<TLV>(DummyTLV(TLVType::WSC), DummyTLV());
  test::expect_unequal<TLV>(EndOfMessageTLV(), DummyTLV(TLVType::END_OF_MESSAGE));
  EXPECT_EQ((std::ostringstream() << DummyTLV(TLVType::WSC)).str(), "type: DUMMY");
}

}  // namespace
}  // namespace qel::ieee1905_1
