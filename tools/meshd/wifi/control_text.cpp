#include "tools/meshd/wifi/control_text.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <stdexcept>

#include "qel/channel/frequency.h"
#include "qel/channel/opclass_segment.h"
#include "qel/channel/wlan_types.h"
#include "tools/command_line.h"

namespace meshd::wifi::control_text {

namespace {

using qel::ChannelWidth;
using qel::kHz;
using qel::MACAddress;
using Region = qel::OperatingClassDeduction::Region;

/// Beacons that announce a switch, so that clients which sleep learn of it as well.
constexpr int SWITCH_BEACONS = 5;

constexpr std::uint8_t MEASUREMENT_REPORT = 39;  ///< element identifier
constexpr std::uint8_t BEACON_REPORT = 5;        ///< type of a measurement

/// Of the BSSID information (IEEE 802.11-2020, 9.4.2.36): reachable for the client. Nothing else is known of the access
/// point.
constexpr unsigned int REACHABLE = 3;
/// The subelement of a neighbor with a preference of 255, the highest.
constexpr std::string_view MOST_PREFERRED = "0301ff";

std::string megahertz(const kHz& frequency) { return std::to_string(frequency.value() / 1000); }

std::string digits_of(std::span<const std::uint8_t> octets) {
  constexpr std::string_view DIGITS = "0123456789abcdef";
  std::string digits;
  for (const std::uint8_t octet : octets) {
    digits += {DIGITS[octet >> 4], DIGITS[octet & 0xF]};
  }
  return digits;
}

/// Removes the first word from the text, and returns it.
std::string_view take_word(std::string_view& text) {
  const std::string_view word = text.substr(0, text.find(' '));
  text.remove_prefix(std::min(word.size() + 1, text.size()));
  return word;
}

/// Likewise, an address.
std::optional<MACAddress> take_address(std::string_view& text) {
  MACAddress address;
  return address.parse_string(std::string(take_word(text))) ? std::optional(address) : std::nullopt;
}

std::optional<std::uint8_t> take_octet(std::string_view& text) {
  return tools::parse_number<std::uint8_t>(take_word(text));
}

/// The value of the word "key=value", or "".
std::string_view word_value(std::string_view text, std::string_view key) {
  while (!text.empty()) {
    const std::string_view word = take_word(text);
    if (word.size() > key.size() && word.starts_with(key) && word[key.size()] == '=') {
      return word.substr(key.size() + 1);
    }
  }
  return {};
}

/// The primary channels that the channel of the class can have.
std::vector<kHz> primaries_of(std::uint8_t opclass, std::uint8_t channel) {
  try {
    const std::array one{channel};
    return get_known_channels(one, opclass, Region::GLOBAL, qel::UnknownChannels::SKIP).empty()
               ? std::vector<kHz>()
               : get_opclass_segment(channel, opclass, Region::GLOBAL).get_primaries();
  } catch (const std::invalid_argument&) {
    return {};
  }
}

/// What the access point most likely is, since only its class is known.
qel::PHYType likely_type(std::uint8_t opclass, std::uint8_t channel) {
  const std::vector<kHz> primaries = primaries_of(opclass, channel);
  switch (primaries.empty() ? qel::FrequencyBand::BAND_5_GHZ : frequency_to_band(primaries.front())) {
    case qel::FrequencyBand::BAND_2_4_GHZ:
      return qel::PHYType::HT;
    case qel::FrequencyBand::BAND_6_GHZ:
      return qel::PHYType::HE;
    default:
      return qel::PHYType::VHT;
  }
}

}  // namespace

std::string_view value_of(std::string_view reply, std::string_view key) {
  while (!reply.empty()) {
    const std::string_view line = reply.substr(0, reply.find('\n'));
    if (line.size() > key.size() && line.starts_with(key) && line[key.size()] == '=') {
      return line.substr(key.size() + 1);
    }
    reply.remove_prefix(std::min(line.size() + 1, reply.size()));
  }
  return {};
}

std::vector<std::uint8_t> octets_of(std::string_view digits) {
  std::vector<std::uint8_t> octets;
  for (; digits.size() >= 2; digits.remove_prefix(2)) {
    const auto octet = tools::parse_number<std::uint8_t>(digits.substr(0, 2), 16);
    if (!octet) {
      break;
    }
    octets.push_back(*octet);
  }
  return octets;
}

BssStatus bss_status_of(std::string_view reply) {
  BssStatus status;
  status.has_ht = value_of(reply, "ieee80211n") == "1";
  status.has_vht = value_of(reply, "ieee80211ac") == "1";
  status.has_he = value_of(reply, "ieee80211ax") == "1";
  const auto interval = tools::parse_number<std::uint16_t>(value_of(reply, "beacon_int"));
  status.beacon_interval = interval && *interval != 0 ? *interval : status.beacon_interval;
  return status;
}

std::string switch_command(const qel::ChannelInfo& channel, const BssStatus& status) {
  if (!channel.get_primary_frequency().is_set()) {
    throw std::invalid_argument("no primary channel");
  }
  const kHz primary = channel.get_primary_frequency().get();
  std::string command = "CHAN_SWITCH " + std::to_string(SWITCH_BEACONS) + ' ' + megahertz(primary);
  if (channel.get_primary_segment().is_set()) {
    const auto& [center, width] = channel.get_primary_segment().get();
    if (width != ChannelWidth::WIDTH_20_MHZ) {
      const kHz half_of_40 = get_center_frequency_of_subsegment(channel, ChannelWidth::WIDTH_40_MHZ);
      command += half_of_40 > primary ? " sec_channel_offset=1" : " sec_channel_offset=-1";
    }
    command += " center_freq1=" + megahertz(center);
    if (width == ChannelWidth::WIDTH_80_80_MHZ) {
      command += " center_freq2=" + megahertz(channel.get_secondary_center_frequency());
    }
    command += " bandwidth=" + std::to_string(channel_width_to_frequency(width).value());
  } else {
    command += " center_freq1=" + megahertz(primary) + " bandwidth=20";
  }
  command += status.has_ht ? " ht" : "";
  command += status.has_vht ? " vht" : "";
  command += status.has_he ? " he" : "";
  return command;
}

std::string move_command(const MoveRequest& request, const BssStatus& status, std::uint8_t token) {
  std::string command = "BSS_TM_REQ " + request.client.to_string() + " dialog_token=" + std::to_string(token);
  if (request.timer != 0) {  // hostapd counts in beacons; not earlier than requested
    const int beacons = (request.timer + status.beacon_interval - 1) / status.beacon_interval;
    command += " disassoc_timer=" + std::to_string(beacons);
  }
  for (const MoveRequest::Target& target : request.targets) {
    command += " neighbor=" + target.bssid.to_string() + ',' + std::to_string(REACHABLE) + ',' +
               std::to_string(target.opclass) + ',' + std::to_string(target.channel) + ',' +
               std::to_string(static_cast<unsigned int>(likely_type(target.opclass, target.channel))) + ',';
    command += MOST_PREFERRED;
  }
  command += request.targets.empty() ? "" : " pref=1";
  command += request.is_abridged ? " abridged=1" : "";
  command += request.disassociation_imminent ? " disassoc_imminent=1" : "";
  return command;
}

std::string beacon_command(const MACAddress& client, std::span<const std::uint8_t> request) {
  return "REQ_BEACON " + client.to_string() + ' ' + digits_of(request);
}

std::string deny_command(const MACAddress& client, bool is_denied) {
  return (is_denied ? "DENY_ACL ADD_MAC " : "DENY_ACL DEL_MAC ") + client.to_string();
}

std::string disconnect_command(const MACAddress& client) {
  // IEEE 802.11-2020, 9.4.1.7: the access point cannot serve all its stations.
  return "DEAUTHENTICATE " + client.to_string() + " reason=5";
}

std::string scan_command(std::uint8_t opclass, std::uint8_t channel) {
  std::string command = "SCAN";
  for (const kHz& primary : primaries_of(opclass, channel)) {
    command += (command.find('=') == std::string::npos ? " freq=" : ",") + megahertz(primary);
  }
  return command;
}

std::string roam_command(const MACAddress& bssid) { return "ROAM " + bssid.to_string(); }

std::optional<ClientEvent> client_event_of(std::string_view event) {
  const std::string_view name = take_word(event);
  const bool has_joined = name == "AP-STA-CONNECTED";
  const auto client = has_joined || name == "AP-STA-DISCONNECTED" ? take_address(event) : std::nullopt;
  return client ? std::optional(ClientEvent{*client, has_joined}) : std::nullopt;
}

std::optional<MoveEvent> move_event_of(std::string_view event) {
  const bool is_response = take_word(event) == "BSS-TM-RESP";
  const auto client = is_response ? take_address(event) : std::nullopt;
  const auto status = tools::parse_number<std::uint8_t>(word_value(event, "status_code"));
  if (!client || !status) {
    return std::nullopt;
  }
  MoveEvent result{*client, tools::parse_number<std::uint8_t>(word_value(event, "dialog_token")), {*status, {}}};
  MACAddress target;
  if (target.parse_string(std::string(word_value(event, "target_bssid")))) {
    result.answer.target = target;
  }
  return result;
}

std::optional<BeaconEvent> beacon_event_of(std::string_view event) {
  const std::string_view name = take_word(event);
  const bool is_report = name == "BEACON-RESP-RX";
  const auto client = is_report || name == "BEACON-REQ-TX-STATUS" ? take_address(event) : std::nullopt;
  const auto token = client ? take_octet(event) : std::nullopt;
  if (!token) {
    return std::nullopt;
  }
  BeaconEvent result{*client, *token, false};
  if (!is_report) {
    result.is_lost = word_value(event, "ack") == "0";
    return result;
  }
  const auto mode = tools::parse_number<std::uint8_t>(take_word(event), 16);
  std::vector<std::uint8_t> report = octets_of(event);
  constexpr std::size_t FIXED = 3;
  if (!mode || report.size() > 255 - FIXED) {
    return std::nullopt;
  }
  result.report = {MEASUREMENT_REPORT, static_cast<std::uint8_t>(FIXED + report.size()), *token, *mode, BEACON_REPORT};
  result.report.insert(result.report.end(), report.begin(), report.end());
  return result;
}

std::optional<MACAddress> connection_of(std::string_view event) {
  constexpr std::string_view BEGINNING = "CTRL-EVENT-CONNECTED - Connection to ";
  if (!event.starts_with(BEGINNING)) {
    return std::nullopt;
  }
  event.remove_prefix(BEGINNING.size());
  return take_address(event);
}

}  // namespace meshd::wifi::control_text
