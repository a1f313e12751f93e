#include "qel/ieee802_11/measurement_report.h"

#include "tests/support/fields.h"
#include "tests/support/golden.h"

namespace qel::ieee802_11 {
namespace {

using test::decode;
using test::encode;
using test::Octets;
using test::octets;
using Report = IEEE802_11_MeasurementReport;

/// A measurement pilot of a VHT PHY on class 115, channel 36, and a subelement of five octets.
BeaconReport beacon_report() {
  return test::fields(BeaconReport(), FIELD(operating_class), 115, FIELD(channel_number), 36,
                      FIELD(measurement_start_time), 0x162738495A6B7C8D, FIELD(measurement_duration), 50, FIELD(rcpi),
                      110, FIELD(rsni), 47, FIELD(bssid), test::mac("021A2B3C4D5E"), FIELD(antenna_id), 1,
                      FIELD(parent_tsf), 0xA1B2C3D4, FIELD(optional_subelements), octets("0105AA1B2C3D4E"),
                      FIELD(reported_frame_information), 0x89);
}

TEST(MeasurementReport, Golden) {
  const Report report =
      test::fields(Report(3, 4, beacon_report()), FIELD(measurement_token), 3, FIELD(measurement_report_mode), 4U);
  test::check_golden_of(report, R"(
27 24               # ID, length
03 04 05            # token, mode, type
73 24               # operating class, channel
8D7C6B5A49382716    # start time
3200 89 6E 2F       # duration, frame information, RCPI, RSNI
021A2B3C4D5E 01     # BSSID, antenna
D4C3B2A1            # parent TSF
0105AA1B2C3D4E)",
                        "Measurement Token: 3 Mode: 4 Type: BEACON Operating Class: 115 Channel Number: 36 "
                        "Measurement Start Time: 1596306480626891917 Measurement Duration: 50 PHY Type: VHT "
                        "Frame Type: MEASUREMENT_PILOT RCPI: 110 RSNI: 47 BSSID: 02:1A:2B:3C:4D:5E Antenna ID: 1 "
                        "Parent TSF: 2712847316 Subelements: 7 Byte");
  test::check_golden_of(Report(9, 1, MeasurementType::CCA, octets("06 8D7C6B5A49382716 E803 4D")),
                        "27 0F 09 01 01 06 8D7C6B5A49382716 E803 4D",
                        "Measurement Token: 9 Mode: 1 Type: CCA Body: 12 Byte");
  test::check_golden_of(Report(200, 2, static_cast<MeasurementType>(77), {}), "27 03 C8 02 4D",
                        "Measurement Token: 200 Mode: 2 Type: 77 Body: 0 Byte");
}

TEST(MeasurementReport, TypeBeaconTooShortForAReportIsKept) {
  const Octets whole = octets("27 1D 07 04 05 7324 8D7C6B5A49382716 3200 89 6E 2F 021A2B3C4D5E 01 D4C3B2A1");
  const Report report = *decode<Report>(whole).object;
  ASSERT_NE(report.get_beacon_report(), nullptr);
  EXPECT_EQ(report.get_beacon_report()->get_phy_type(), PHYType::VHT);
  EXPECT_EQ(report.get_beacon_report()->get_frame_type(), BeaconReportFrameType::MEASUREMENT_PILOT);
  EXPECT_EQ(report.get_measurement_type(), MeasurementType::BEACON);
  EXPECT_EQ(report.get_opaque_body(), nullptr);

  Octets cut = test::first(whole.size() - 1, whole);
  --cut[1];
  const auto [outcome, decoded] = decode<Report>(cut);
  ASSERT_EQ(outcome.refused, "");
  EXPECT_EQ(decoded->get_beacon_report(), nullptr);
  EXPECT_EQ(encode(*decoded).octets, test::hex(cut));
  EXPECT_EQ(*decoded->get_opaque_body(), Octets(cut.begin() + 5, cut.end()));
}

TEST(MeasurementReport, Refusals) {
  EXPECT_EQ(decode<Report>(octets("26 03 C8 02 4D")).outcome.refused, "Invalid length");
  EXPECT_EQ(decode<Report>(octets("27 02 C8 02 4D")).outcome.refused, "Invalid length");
  EXPECT_EQ(encode(Report(1, 0, MeasurementType::LCI, Octets(252))).refused, "");
  EXPECT_EQ(encode(Report(1, 0, MeasurementType::LCI, Octets(253))), (test::Written{"", "Invalid size"}));
}

}  // namespace
}  // namespace qel::ieee802_11
