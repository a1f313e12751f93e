#include "tools/meshd/wifi/media.h"

#include <algorithm>
#include <limits>
#include <string_view>
#include <utility>

#include "qel/channel/frequency.h"

namespace meshd::wifi {

namespace {

using qel::FrequencyBand;
using qel::WLANPhymode;
using qel::ieee1905_1::WLANInterfaceRole1905_1;
using qel::ieee1905_1::WLANMode1905_1;
using qel::ieee1905_1::WLANSpecificInformation;

const Interface* find_interface(const Model& model, std::uint32_t number) {
  const auto place = model.get_interfaces().find(number);
  return place == model.get_interfaces().end() ? nullptr : &place->second;
}

/// The standard has these roles only: whoever is no access point is a station.
WLANInterfaceRole1905_1 role_of(Role role) {
  switch (role) {
    case Role::AP:
    case Role::AP_VLAN:
      return WLANInterfaceRole1905_1::AP;
    case Role::P2P_CLIENT:
      return WLANInterfaceRole1905_1::P2PClient;
    case Role::P2P_GROUP_OWNER:
      return WLANInterfaceRole1905_1::P2PGroupOwner;
    default:
      return WLANInterfaceRole1905_1::STA;
  }
}

FrequencyBand band_of(const Interface& interface) {
  const auto& frequency = interface.channel.get_primary_frequency();
  return frequency.is_set() ? frequency_to_band(frequency.get()) : FrequencyBand::INVALID_BAND_MAX;
}

/// The newest of its band that the radio supports; of all bands while it is on no channel.
WLANPhymode newest_mode(const Model& model, std::uint32_t wiphy, FrequencyBand band) {
  std::bitset<6> modes;
  if (const auto radio = model.get_wiphys().find(wiphy); radio != model.get_wiphys().end()) {
    for (const Band& one : radio->second.bands) {
      modes |= band == FrequencyBand::INVALID_BAND_MAX || one.band == band ? phymodes(one) : std::bitset<6>();
    }
  }
  std::size_t mode = modes.size();
  while (mode > 0 && !modes.test(mode - 1)) {
    --mode;
  }
  return mode == 0 ? WLANPhymode::INVALID_MAX : static_cast<WLANPhymode>(mode - 1);
}

WLANMode1905_1 mode_of(WLANPhymode mode, FrequencyBand band) {
  const bool is_2_4_ghz = band == FrequencyBand::BAND_2_4_GHZ;
  switch (mode) {
    case WLANPhymode::A:
      return is_2_4_ghz ? WLANMode1905_1::G_2_4_GHZ : WLANMode1905_1::A_5_GHZ;
    case WLANPhymode::B:
      return WLANMode1905_1::B_2_4_GHZ;
    case WLANPhymode::G:
      return WLANMode1905_1::G_2_4_GHZ;
    case WLANPhymode::N:
      return is_2_4_ghz ? WLANMode1905_1::N_2_4_GHZ : WLANMode1905_1::N_5_GHZ;
    case WLANPhymode::AC:  // no standard defines it at 2.4 GHz
      return is_2_4_ghz ? WLANMode1905_1::N_2_4_GHZ : WLANMode1905_1::AC_5_GHZ;
    case WLANPhymode::AX:
      return WLANMode1905_1::AX;
    case WLANPhymode::INVALID_MAX:
      break;
  }
  return WLANMode1905_1::INVALID;
}

/// Sets width and centres, which stay 0 while they are unknown.
void set_channel(WLANSpecificInformation& information, const qel::ChannelInfo& channel) {
  const auto& segment = channel.get_primary_segment();
  if (!segment.is_set() || segment.get().second == qel::ChannelWidth::INVALID) {
    return;
  }
  // ChannelWidth has the values of dot11CurrentChannelWidth.
  information.set_band(static_cast<std::uint8_t>(segment.get().second));
  information.set_center_freq_1(qel::frequency_to_channel(segment.get().first));
  if (segment.get().second == qel::ChannelWidth::WIDTH_80_80_MHZ) {
    information.set_center_freq_2(qel::frequency_to_channel(channel.get_secondary_center_frequency()));
  }
}

std::uint16_t megabits(std::uint64_t kilobits) {
  return static_cast<std::uint16_t>(
      std::min<std::uint64_t>(kilobits / 1000, std::numeric_limits<std::uint16_t>::max()));
}

LinkState link_state(const Station& station) {
  LinkState state;
  state.received_packets = station.received_packets.value_or(0);
  state.receive_errors = static_cast<std::uint32_t>(station.receive_drops.value_or(0));
  state.sent_packets = station.sent_packets.value_or(0);
  state.send_errors = station.send_failures.value_or(0);
  state.speed = station.send_rate ? megabits(station.send_rate->kilobits) : std::uint16_t{0};
  state.throughput = station.expected_throughput ? megabits(*station.expected_throughput) : state.speed;
  if (const auto signal = station.average_signal ? station.average_signal : station.signal) {
    state.rcpi = rcpi_of(*signal);
  }
  return state;
}

}  // namespace

WLANPhymode standard_of(const std::string& status) {
  constexpr std::pair<std::string_view, WLANPhymode> LINES[] = {
      {"ieee80211ax=1", WLANPhymode::AX},
      {"ieee80211ac=1", WLANPhymode::AC},
      {"ieee80211n=1", WLANPhymode::N},
      {"ieee80211n=0", WLANPhymode::A},  // of hostapd, which has all these lines
      {"wifi_generation=6", WLANPhymode::AX},
      {"wifi_generation=5", WLANPhymode::AC},
      {"wifi_generation=4", WLANPhymode::N},
      {"wpa_state=COMPLETED", WLANPhymode::A}};  // wpa_supplicant names no older generation
  const std::string lines = '\n' + status + '\n';
  for (const auto& [line, standard] : LINES) {
    if (lines.find('\n' + std::string(line) + '\n') != std::string::npos) {
      return standard;
    }
  }
  return WLANPhymode::INVALID_MAX;
}

std::optional<WlanInterface> wlan_interface(const Model& model, const StandardsInUse& standards, std::uint32_t number) {
  const Interface* const interface = find_interface(model, number);
  if (interface == nullptr) {
    return std::nullopt;
  }
  const Interface& bss = model.get_bss(*interface);
  WlanInterface result;
  const auto standard = standards.find(bss.number);
  const bool is_known = standard != standards.end() && standard->second != WLANPhymode::INVALID_MAX;
  result.mode = mode_of(is_known ? standard->second : newest_mode(model, bss.wiphy, band_of(bss)), band_of(bss));
  for (const auto& [mac, station] : model.get_stations(number)) {
    if (is_peer(station)) {
      result.peers.push_back(mac);
    }
  }
  result.information.set_role(role_of(interface->role));
  if (interface->role == Role::AP || interface->role == Role::AP_VLAN || interface->role == Role::P2P_GROUP_OWNER) {
    result.information.set_bssid(interface->mac);
  } else if ((interface->role == Role::STATION || interface->role == Role::P2P_CLIENT) && !result.peers.empty()) {
    result.information.set_bssid(result.peers.front());
  }
  set_channel(result.information, bss.channel);
  return result;
}

void add_link_states(const Model& model, std::uint32_t number, InterfaceState& state) {
  const Interface* const interface = find_interface(model, number);
  if (interface == nullptr) {
    return;
  }
  for (const auto& [mac, station] : model.get_stations(number)) {
    state.links.emplace(mac, link_state(station));
  }
  if (const auto utilization = model.get_utilization(model.get_bss(*interface))) {
    state.availability = static_cast<std::uint16_t>(100 - *utilization);
  }
}

}  // namespace meshd::wifi
