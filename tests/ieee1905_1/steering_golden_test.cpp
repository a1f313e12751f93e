#include "tests/ieee1905_1/tlv_test.h"

namespace qel::ieee1905_1 {
namespace {

using G = test::Golden<TLV>;
using Target = SteeringRequestTargetBSSID;

const SteeringRadioPolicy RADIO(D, SteeringPolicyType::AGENT_INITIATED_RCPI_BASED_STEERING_MANDATED, 128, 70);
const Target TARGET(D, 115, 36);
const string TARGET_OCTETS = "0E7D6C5B4A39 73 24 # BSSID, class, channel\n";
const string TARGET_TEXT = "BSSID: 0E:7D:6C:5B:4A:39 OperatingClass: 115 ChannelNumber: 36";

SteeringPolicyTLV steering_policy(const std::vector<MACAddress>& local, const std::vector<MACAddress>& btm,
                                  const std::vector<SteeringRadioPolicy>& radios) {
  return filled(SteeringPolicyTLV(), LIST_FIELD(local_steering_disallowed_sta), local,
                LIST_FIELD(btm_steering_disallowed_sta), btm, LIST_FIELD(radio_policy), radios);
}

SteeringRequestTLV steering_request(const SteeringRequestTLV& tlv, const std::vector<MACAddress>& stations,
                                    const std::vector<Target>& targets) {
  return filled(tlv, LIST_FIELD(steering_sta_mac), stations, LIST_FIELD(target_bssid), targets);
}

using Request = SteeringRequestTLV;
const Request MANDATE = filled(Request(A), FIELD(steering_mandated), true);
const Request OPPORTUNITY =
    filled(Request(D), FIELD(btm_disassociation_imminent), true, FIELD(steering_opertunity_window), 4660);

const SteeringBTMReportTLV ANSWER(A, B, 4);
const auto ANSWER_WITH_TARGET = filled(ANSWER, FIELD(target_bssid), D);
const string ANSWER_OCTETS = " 021A2B3C4D5E 06F1E2D3C4B5 04 # BSSID, station, status\n";
const string ANSWER_TEXT =
    "type: STEERING_BTM_REPORT BSSID: 02:1A:2B:3C:4D:5E STAMAC: 06:F1:E2:D3:C4:B5 BTM Status Code: 4";

TEST(SteeringTLVs, Golden) {
  using Radio = SteeringRadioPolicy;
  using Policy = SteeringPolicyTLV;
  using Metrics = MetricReportingRadioPolicy;
  using MetricPolicy = MetricReportingPolicyTLV;
  using Backhaul = BackhaulSteeringRequestTLV;
  using Response = BackhaulSteeringResponseTLV;
  constexpr auto UNBLOCK = ClientAssociationControl::UNBLOCK;
  constexpr auto FAILURE = BackhaulSteeringResultCode::FAILURE;
  const Radio radio = fields(RADIO, FIELD(radio_identifier), D, FIELD(steering_policy),
                             SteeringPolicyType::AGENT_INITIATED_RCPI_BASED_STEERING_MANDATED,
                             FIELD(channel_utilization_threshold), 128, FIELD(rcpi_steering_threshold), 70);
  const Metrics metrics =
      fields(Metrics(B), FIELD(radio_identifier), B, FIELD(rcpi_threshold), 90, FIELD(hysteresis_override), 3,
             FIELD(reporting_threshold), 180, FIELD(statistics), true);
  check_rows({
      G(fields(Policy(), LIST_FIELD(local_steering_disallowed_sta), std::vector{A, B},
               LIST_FIELD(btm_steering_disallowed_sta), std::vector{C}, LIST_FIELD(radio_policy),
               std::vector{radio, Radio(A)}),
        "89 0027 02 021A2B3C4D5E 06F1E2D3C4B5 01 0A0918273645 # not to be steered; not by BTM\n"
        "02 0E7D6C5B4A39 01 80 46  021A2B3C4D5E FF 00 00 # radio, policy, utilization, RCPI",
        "type: STEERING_POLICY\n\tLocalSteeringDisallowed: [ 02:1A:2B:3C:4D:5E 06:F1:E2:D3:C4:B5 ]"
        "\n\tBTMSteeringDisallowed: [ 0A:09:18:27:36:45 ]\n\tIndicated Radios: ["
        "\n\t\tIndicated Radio: 0E:7D:6C:5B:4A:39 Steering Policy: AGENT_INITIATED_RCPI_BASED_STEERING_MANDATED "
        "Channel Util Threshold: 128 RCPI Steering Threshold: 70"
        "\n\t\tIndicated Radio: 02:1A:2B:3C:4D:5E Steering Policy: RESERVED Channel Util Threshold: 0 "
        "RCPI Steering Threshold: 0]"),
      G(fields(MetricPolicy(60), FIELD(reporting_interval), 60, LIST_FIELD(radio_policy),
               std::vector{metrics, fields(Metrics(D), FIELD(metrics), true)}),
        "8A 0016 3C 02 06F1E2D3C4B5 5A 03 B4 80  0E7D6C5B4A39 00 00 00 40 # radio, three numbers, flags",
        "type: METRIC_REPORTING_POLICY Reporting Interval: 60 Policies: ["
        "\n\tRadio Identifier: 06:F1:E2:D3:C4:B5 RCPI Threshold: 90 Hysteresis Override: 3 Reporting Threshold: 180 "
        "Stats: true Metrics: false"
        "\n\tRadio Identifier: 0E:7D:6C:5B:4A:39 RCPI Threshold: 0 Hysteresis Override: 0 Reporting Threshold: 0 "
        "Stats: false Metrics: true]"),
      G(fields(MANDATE, FIELD(bssid), A, FIELD(steering_mandated), true, FIELD(btm_abridged), true,
               FIELD(steering_opertunity_window), 258, FIELD(disassociation_timer), 772, LIST_FIELD(steering_sta_mac),
               std::vector{B, C}, LIST_FIELD(target_bssid),
               std::vector{fields(TARGET, FIELD(bssid), D, FIELD(operating_class), 115, FIELD(channel_number), 36),
                           Target(A, 81, 6)}),
        "9B 0029 021A2B3C4D5E A0 0102 0304 # BSSID, flags, window, timer\n 02 06F1E2D3C4B5 0A0918273645  02" +
            TARGET_OCTETS + "021A2B3C4D5E 51 06",
        "type: STEERING_REQUEST BSSID: 02:1A:2B:3C:4D:5E Request is Mandate"
        "\n\tBTM Disassociation Imminent bit: false BTM Abridged Bit: true"
        "\n\tOpportunity Window: 258 Disassociation Timer: 772"
        "\n\tSTA List: [\n\t\t06:F1:E2:D3:C4:B5\n\t\t0A:09:18:27:36:45 ]\n\tTarget BSSID List: [\n\t\t" +
            TARGET_TEXT + "\n\t\tBSSID: 02:1A:2B:3C:4D:5E OperatingClass: 81 ChannelNumber: 6 ]",
        {0, 1, 2}, {9}),  // an opportunity drops the targets
      G(steering_request(fields(OPPORTUNITY, FIELD(btm_disassociation_imminent), true), {A, B}, {}),
        "9B 0019 0E7D6C5B4A39 40 1234 0000 02 021A2B3C4D5E 06F1E2D3C4B5 00",
        "type: STEERING_REQUEST BSSID: 0E:7D:6C:5B:4A:39 Request is Opportunity"
        "\n\tBTM Disassociation Imminent bit: true BTM Abridged Bit: false"
        "\n\tOpportunity Window: 4660 Disassociation Timer: 0"
        "\n\tSTA List: [\n\t\t02:1A:2B:3C:4D:5E\n\t\t06:F1:E2:D3:C4:B5 ]\n\tTarget BSSID List: [ ]"),
      G(fields(ANSWER, FIELD(bssid), A, FIELD(sta_mac_address), B, FIELD(btm_status_code), 4),
        "9C 000D" + ANSWER_OCTETS, ANSWER_TEXT, {0}),
      G(fields(ANSWER_WITH_TARGET, FIELD(target_bssid), D), "9C 0013" + ANSWER_OCTETS + "0E7D6C5B4A39",
        ANSWER_TEXT + " Target BSSID: 0E:7D:6C:5B:4A:39", {0}),
      G(fields(ClientAssociationControlRequestTLV(C, UNBLOCK, 3600), FIELD(bssid), C, FIELD(association_control),
               UNBLOCK, FIELD(validity_period), 3600, LIST_FIELD(sta_mac), std::vector{A, D}),
        "9D 0016 0A0918273645 01 0E10 02 021A2B3C4D5E 0E7D6C5B4A39",
        "type: CLIENT_ASSOCIATION_CONTROL_REQUEST BSSID: 0A:09:18:27:36:45 AssocControl: UNBLOCK ValidityPeriod: 3600 "
        "STA MAC: [\n\t02:1A:2B:3C:4D:5E\n\t0E:7D:6C:5B:4A:39 ]"),
      G(fields(Backhaul(A, B, 81, 11), FIELD(backhaul_mac_address), A, FIELD(target_bssid), B, FIELD(operating_class),
               81, FIELD(channel_number), 11),
        "9E 000E 021A2B3C4D5E 06F1E2D3C4B5 51 0B",
        "type: BACKHAUL_STEERING_REQUEST Backhaul MAC: 02:1A:2B:3C:4D:5E Target BSSID: 06:F1:E2:D3:C4:B5 "
        "OperatingClass: 81 ChannelNumber: 11"),
      G(fields(Response(C, D, FAILURE), FIELD(backhaul_mac_address), C, FIELD(target_bssid), D, FIELD(result_code),
               FAILURE),
        "9F 000D 0A0918273645 0E7D6C5B4A39 01",
        "type: BACKHAUL_STEERING_RESPONSE Backhaul MAC: 0A:09:18:27:36:45 Target BSSID: 0E:7D:6C:5B:4A:39 "
        "Result Code: FAILURE"),
  });
}

TEST(SteeringTLVs, WildcardTargetsAreEqualButOrdered) {
  const Target first(Target::WILDCARD, 81, 1), second(Target::WILDCARD, 115, 36), lowest(A, 82, 2);
  EXPECT_TRUE(first == second && second == first);
  EXPECT_FALSE(first == Target(A, 81, 1) || Target(A, 81, 1) == first);
  test::expect_ascending<Target>({&lowest, &first, &second});
  EXPECT_EQ(steering_request(MANDATE, {}, {first}), steering_request(MANDATE, {}, {second}));
}

TEST(SteeringTLVs, TheLengthOfABTMReportShowsWhetherATargetFollows) {
  test::Octets wire(40, 0x11);
  for (const std::uint8_t length : test::Octets{0, 12, 14, 18, 20}) {
    std::ranges::copy(test::Octets{0x9C, 0, length}, wire.begin());
    EXPECT_EQ(decode_tlv(wire).outcome, (test::ReadOutcome{"Invalid length", std::ios_base::goodbit, 3}));
  }
  test::expect_unequal<TLV>(ANSWER, ANSWER_WITH_TARGET);
  auto used = ANSWER_WITH_TARGET;
  EXPECT_EQ(decode_into(used, "9C 000D" + ANSWER_OCTETS), "");
  EXPECT_EQ(used, ANSWER);
  EXPECT_EQ(std::pair(used.get_target_bssid_included(), used.get_target_bssid()), std::pair(false, MACAddress()));
}

TEST(SteeringTLVs, AMandateHasOneTargetForAllOrOneForEach) {
  const string VIOLATED = "Invalid size: Constrains violated!";
  for (const auto& [stations, targets, refused] : {std::tuple(2U, 2U, string()),
                                                   {2, 3, VIOLATED},
                                                   {2, 1, ""},
                                                   {0, 0, ""},
                                                   {1, 0, VIOLATED},
                                                   {255, 255, ""},
                                                   {256, 1, "Invalid size"},
                                                   {1, 256, "Invalid size"}}) {
    check_limit(steering_request(MANDATE, std::vector(stations, B), std::vector(targets, TARGET)), refused);
  }
}

TEST(SteeringTLVs, AnOpportunityDropsItsTargets) {
  const auto with_targets = steering_request(OPPORTUNITY, {A, B}, std::vector(255, TARGET));
  const auto without = steering_request(OPPORTUNITY, {A, B}, {});
  EXPECT_EQ(test::encode(with_targets), test::encode(without));
  test::expect_unequal<TLV>(with_targets, without);
  check_limit(steering_request(OPPORTUNITY, std::vector(256, A), {}), "Invalid size");
  check_limit(steering_request(OPPORTUNITY, {}, std::vector(256, TARGET)), "Invalid size");
  EXPECT_EQ(decoded<SteeringRequestTLV>("9B 0015 0E7D6C5B4A39 40 1234 0000 00 01 " + TARGET_OCTETS),
            steering_request(OPPORTUNITY, {}, {TARGET}));
}

TEST(SteeringPolicyTLV, LimitsOfCounts) {
  const string LOCAL = "Invalid local_vector size", BTM = "Invalid btm_vector size",
               RADIOS = "Invalid radio_vector size";
  for (const auto& [local, btm, radios, refused] : {std::tuple(0U, 0U, 1U, string()),
                                                    {255, 255, 255, ""},
                                                    {256, 0, 1, LOCAL},
                                                    {0, 256, 1, BTM},
                                                    {0, 0, 256, RADIOS},
                                                    {256, 256, 0, LOCAL}}) {
    check_limit(steering_policy(std::vector(local, A), std::vector(btm, B), std::vector(radios, RADIO)), refused);
  }
  check_decodes_only("89 0003 00 00 00", RADIOS);
}

}  // namespace
}  // namespace qel::ieee1905_1
