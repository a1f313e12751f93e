#include "tools/meshd/wifi/simulated_air.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <sstream>

#include "qel/channel/frequency.h"
#include "qel/channel/opclass_segment.h"
#include "qel/channel/operating_class_deduction.h"
#include "tools/meshd/wifi/interface.h"
#include "tools/meshd/wifi/radio.h"

namespace meshd::wifi {

namespace {

using qel::ChannelStateBit;
using qel::ChannelWidth;
using qel::FrequencyBand;
using qel::kHz;
using qel::MACAddress;

constexpr Timestamp LONG_AGO = 1;
constexpr const char* GONE = "it is not there";

std::vector<WiphyChannel> channels_of(FrequencyBand band) {
  std::vector<WiphyChannel> channels;
  const auto add = [&](long first_mhz, long last_mhz, long step, bool has_radar, float power) {
    for (long mhz = first_mhz; mhz <= last_mhz; mhz += step) {
      WiphyChannel channel{kHz(mhz * 1000)};
      channel.has_radar = has_radar;
      if (has_radar) {
        channel.dfs_state = DfsState::USABLE;
      }
      channel.max_power = power;
      channels.push_back(channel);
    }
  };
  switch (band) {
    case FrequencyBand::BAND_2_4_GHZ:
      add(2412, 2472, 5, false, 20);
      break;
    case FrequencyBand::BAND_5_GHZ:
      add(5180, 5240, 20, false, 23);
      add(5260, 5320, 20, true, 20);
      add(5500, 5700, 20, true, 26);
      break;
    case FrequencyBand::BAND_6_GHZ:
      add(5955, 6415, 20, false, 23);
      break;
    case FrequencyBand::INVALID_BAND_MAX:
      break;
  }
  return channels;
}

Band band_of(FrequencyBand band, ChannelWidth widest) {
  Band result{band, channels_of(band)};
  const bool is_2_4_ghz = band == FrequencyBand::BAND_2_4_GHZ;
  result.has_dsss_rates = is_2_4_ghz;
  result.has_ofdm_rates = true;
  result.ht = HTCapabilities{
      .information = static_cast<std::uint16_t>(0x20 | (widest >= ChannelWidth::WIDTH_40_MHZ ? 0x42 : 0)),
      .mcs = {0xFF, 0xFF}};
  HECapabilities he;
  he.interface_types.set(3);  // access points
  he.mcs = {0xFA, 0xFF, 0xFA, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
  if (is_2_4_ghz) {
    he.phy[0] = widest >= ChannelWidth::WIDTH_40_MHZ ? 0x02 : 0;
  } else {
    he.phy[0] = widest >= ChannelWidth::WIDTH_80_MHZ ? 0x04 : 0;
    if (widest >= ChannelWidth::WIDTH_160_MHZ) {
      he.phy[0] |= 0x08;
      std::ranges::copy_n(he.mcs.begin(), 4, he.mcs.begin() + 4);
    }
  }
  result.he = {he};
  if (band == FrequencyBand::BAND_5_GHZ && widest >= ChannelWidth::WIDTH_80_MHZ) {
    result.vht = VHTCapabilities{.information = 0x20, .mcs = {0xFA, 0xFF, 0, 0, 0xFA, 0xFF, 0, 0}};
  }
  return result;
}

constexpr double CLIENT_POWER = 17;                       // dBm
constexpr std::array<double, 3> POWER{20, 23, 23};        // of access points, in dBm
constexpr std::array<double, 3> FIRST_METRE{40, 47, 48};  // loss, in dB

/// In the arrays above: 2.4, 5 and 6 GHz.
std::size_t band_index(FrequencyBand band) {
  return band == FrequencyBand::BAND_2_4_GHZ ? 0 : band == FrequencyBand::BAND_5_GHZ ? 1 : 2;
}

std::string text_of(const qel::ChannelInfo& channel) {
  std::ostringstream text;
  text << channel.get_primary_frequency().get() << " at " << channel.get_primary_segment().get().second << " around "
       << channel.get_primary_segment().get().first;
  return text.str();
}

}  // namespace

AirRadio simulated_radio(const MACAddress& identifier, const std::set<FrequencyBand>& bands, ChannelWidth widest) {
  Wiphy wiphy;
  wiphy.addresses = {identifier};
  for (const FrequencyBand band : bands) {
    wiphy.bands.push_back(band_of(band, widest));
  }
  AirRadio radio;
  radio.identifier = identifier;
  radio.name = "phy" + std::to_string(int{identifier.octets()[5]});
  radio.bands = wiphy.bands;
  for (const FrequencyBand band : bands) {
    radio.radios.push_back(radio_of(wiphy, band, nullptr, LONG_AGO));
  }
  radio.most_bss = 8;
  return radio;
}

qel::ChannelInfo simulated_channel(const kHz& primary, ChannelWidth width) {
  constexpr auto REGION = qel::OperatingClassDeduction::Region::GLOBAL;
  kHz center = primary;
  for (const std::uint8_t opclass : qel::OperatingClassDeduction::get_all_region_opclasses(REGION)) {
    for (const std::uint8_t channel : qel::OperatingClassDeduction::get_all_opclass_channels(opclass, REGION)) {
      const qel::OpclassSegment segment = get_opclass_segment(channel, opclass, REGION);
      if (segment.width == width && std::ranges::count(segment.get_primaries(), primary) != 0) {
        center = segment.center;
      }
    }
  }
  return {qel::LastChanged<kHz>(primary, LONG_AGO),
          qel::LastChanged<qel::ChannelInfo::Segment>({center, width}, LONG_AGO), kHz(0),
          qel::LastChanged<float>(20, LONG_AGO)};
}

AirClient simulated_client(const MACAddress& mac, std::int8_t signal) {
  AirClient client;
  client.station.mac = mac;
  client.station.signal = signal;
  client.station.is_authorized = true;
  client.station.is_associated = true;
  client.can_move = true;
  return client;
}

std::vector<std::uint8_t> simulated_association_request(const std::string& ssid, bool can_move, bool can_report) {
  const std::uint8_t measures = can_report ? 0x72 : 0;  // RM enabled capabilities
  const std::uint8_t moves = can_move ? 0x08 : 0;       // extended capabilities
  std::vector<std::uint8_t> body{0x31, 4, 5, 0, 0, static_cast<std::uint8_t>(ssid.size())};
  std::ranges::copy(ssid, std::back_inserter(body));
  body.insert(body.end(), {70, 5, measures, 0, 0, 0, 0, 127, 4, 0, 0, moves, 0x40});
  return body;
}

double simulated_signal(FrequencyBand band, double metres) {
  return POWER[band_index(band)] - (FIRST_METRE[band_index(band)] + 35 * std::log10(std::max(metres, 1.0)));
}

double simulated_uplink(FrequencyBand band, double signal) { return signal + CLIENT_POWER - POWER[band_index(band)]; }

std::uint32_t simulated_rate(FrequencyBand band, double signal) {
  constexpr std::array<double, 3> FASTEST{144, 866, 1200};
  return static_cast<std::uint32_t>(std::clamp((signal + 92) / 42, 0.01, 1.0) * FASTEST[band_index(band)]) + 1;
}

std::vector<std::uint8_t> simulated_beacon(const MACAddress& bssid, const kHz& primary, double signal) {
  const auto& classes = qel::OperatingClassDeduction::get_lookup(qel::OperatingClassDeduction::Region::GLOBAL);
  std::vector<std::uint8_t> element{39,
                                    29,
                                    1,
                                    0,
                                    5,
                                    classes.get_opclass(ChannelWidth::WIDTH_20_MHZ, primary, {}),
                                    qel::frequency_to_channel(primary)};
  element.resize(element.size() + 11);  // start, duration, frame information
  element.push_back(rcpi_of(static_cast<int>(std::lround(signal))));
  element.push_back(60);
  element.insert(element.end(), bssid.octets().begin(), bssid.octets().end());
  element.resize(31);
  return element;
}

template <class Text>
void SimulatedAir::record(const Text& text) {
  if (is_recording) {
    acts_.push_back(text());
  }
}

template <class Text, class Act>
void SimulatedAir::act(bool is_there, const Text& text, OnDone on_done, const Act& act) {
  record(text);
  std::string why = !is_there ? GONE : trouble ? trouble(text()) : "";
  if (why.empty()) {
    why = act();
  }
  add_outcome([on_done = std::move(on_done), why = std::move(why)] { on_done(why); });
}

void SimulatedAir::add_outcome(std::function<void()> outcome) {
  outcomes_.push_back(std::move(outcome));
  if (on_outcome) {
    on_outcome();
  }
}

bool SimulatedAir::deliver() {
  bool was_any = false;
  // What they cause waits for the next time.
  for (std::size_t count = outcomes_.size(); count != 0; --count) {
    const std::function<void()> outcome = std::move(outcomes_.front());
    outcomes_.pop_front();
    outcome();
    was_any = true;
  }
  return was_any;
}

bool SimulatedAir::join(const MACAddress& bssid, AirClient client_state) {
  AirBss* bss = find_bss(bssid);
  const MACAddress mac = client_state.station.mac;
  if (bss == nullptr || is_denied(bssid, mac)) {
    return false;
  }
  bss->clients.push_back(std::move(client_state));
  client(bssid, mac, true);
  return true;
}

std::optional<AirClient> SimulatedAir::leave(const MACAddress& mac) {
  for (AirRadio& radio : state) {
    for (AirBss& bss : radio.bss) {
      const auto found =
          std::ranges::find_if(bss.clients, [&](const AirClient& each) { return each.station.mac == mac; });
      if (found != bss.clients.end()) {
        const MACAddress bssid = bss.bssid;
        std::optional<AirClient> left = std::move(*found);
        bss.clients.erase(found);
        client(bssid, mac, false);
        return left;
      }
    }
  }
  return std::nullopt;
}

void SimulatedAir::set_dfs_state(const MACAddress& identifier, const kHz& frequency, ChannelStateBit dfs_state) {
  AirRadio* radio = find_radio(identifier);
  for (qel::WLANRadio& band : radio->radios) {
    qel::ChannelList channels = band.get_channel_list();
    if (qel::ChannelEntry* entry = channels.get_channel_entry(frequency)) {
      entry->reset_state_flags();
      entry->set_state_flags({std::bitset<5>().set(bit_index(dfs_state)), LONG_AGO});
      band.set_channel_list(std::move(channels));
    }
  }
  changed();
}

void SimulatedAir::find_radar(const MACAddress& identifier, const kHz& frequency) {
  AirRadio* radio = find_radio(identifier);
  if (occupies(radio->channel, frequency)) {
    radio->channel.reset();
    for (const qel::WLANRadio& band : radio->radios) {
      const auto& channels = band.get_channel_list().get_channels();
      const auto refuge = std::ranges::find_if(channels, [&](const qel::ChannelEntry& entry) {
        return !entry.get_capability_flags().test(bit_index(qel::ChannelCapabilityBit::DFS)) &&
               entry.get_frequency_band() == qel::frequency_to_band(frequency);
      });
      if (refuge != channels.end()) {
        radio->channel = simulated_channel(refuge->get_frequency());
      }
    }
  }
  set_dfs_state(identifier, frequency, ChannelStateBit::RADAR_FOUND);
}

AirRadio* SimulatedAir::find_radio(const MACAddress& identifier) {
  const auto found = std::ranges::find(state, identifier, &AirRadio::identifier);
  return found == state.end() ? nullptr : &*found;
}

AirBss* SimulatedAir::find_bss(const MACAddress& bssid) {
  for (AirRadio& radio : state) {
    const auto found = std::ranges::find(radio.bss, bssid, &AirBss::bssid);
    if (found != radio.bss.end()) {
      return &*found;
    }
  }
  return nullptr;
}

AirClient* SimulatedAir::find_client(const MACAddress& bssid, const MACAddress& mac) {
  AirBss* bss = find_bss(bssid);
  if (bss == nullptr) {
    return nullptr;
  }
  const auto found = std::ranges::find_if(bss->clients, [&](const AirClient& each) { return each.station.mac == mac; });
  return found == bss->clients.end() ? nullptr : &*found;
}

void SimulatedAir::switch_channel(const MACAddress& identifier, const qel::ChannelInfo& channel, OnDone on_done) {
  AirRadio* radio = find_radio(identifier);
  const auto text = [&] { return "switch " + identifier.to_string() + " to " + text_of(channel); };
  act(radio != nullptr, text, std::move(on_done), [&]() -> std::string {
    for (const qel::WLANRadio& band : radio->radios) {
      for (const qel::ChannelEntry& entry : band.get_channel_list().get_channels()) {
        if (occupies(channel, entry.get_frequency()) && entry.get_state_flags().is_set() &&
            entry.get_state_flags().get().test(bit_index(ChannelStateBit::RADAR_FOUND))) {
          return "there is radar";
        }
      }
    }
    const qel::LastChanged<float> power = radio->channel.get_max_power();
    radio->channel = channel;
    radio->channel.set_max_power(power);  // unless the order has one
    changed();
    return {};
  });
}

void SimulatedAir::limit_power(const MACAddress& radio, int dbm, OnDone on_done) {
  const auto text = [&] { return "limit " + radio.to_string() + " to " + std::to_string(dbm) + " dBm"; };
  act(find_radio(radio) != nullptr, text, std::move(on_done), [] { return std::string(); });
}

void SimulatedAir::ask_to_move(const MoveRequest& request, OnAnswer on_answer) {
  record([&] {
    std::string text = "ask " + request.client.to_string() + " at " + request.bssid.to_string() + " to move to";
    for (const MoveRequest::Target& target : request.targets) {
      text += " " + target.bssid.to_string() + " on " + std::to_string(int{target.opclass}) + "/" +
              std::to_string(int{target.channel});
    }
    return text + (request.targets.empty() ? " another" : "") + (request.is_abridged ? ", abridged" : "") +
           (request.disassociation_imminent ? ", or be disconnected in " + std::to_string(request.timer) : "");
  });
  std::optional<MoveAnswer> answer;
  if (find_client(request.bssid, request.client) != nullptr) {
    if (on_asked_to_move) {
      answer = on_asked_to_move(request);
    } else if (!request.targets.empty()) {
      answer = MoveAnswer{0, request.targets.front().bssid};
    } else {
      answer = MoveAnswer{1, {}};
    }
  }
  add_outcome([this, request, answer, on_answer = std::move(on_answer)] {
    on_answer(answer);
    if (answer && answer->status == 0 && answer->target) {
      move(request, *answer->target);
    }
  });
}

void SimulatedAir::move(const MoveRequest& request, const MACAddress& target) {
  const std::optional<AirClient> moved = leave(request.client);
  if (moved && find_bss(target) != nullptr) {
    join(target, *moved);
  } else if (moved && on_moved_away) {
    on_moved_away(*moved, target);
  }
}

void SimulatedAir::set_denied(const MACAddress& bssid, const MACAddress& mac, bool is_denied, OnDone on_done) {
  const auto text = [&] { return (is_denied ? "deny " : "allow ") + mac.to_string() + " at " + bssid.to_string(); };
  act(find_bss(bssid) != nullptr, text, std::move(on_done), [&] {
    if (is_denied) {
      denied_.emplace(bssid, mac);
    } else {
      denied_.erase({bssid, mac});
    }
    return std::string();
  });
}

void SimulatedAir::disconnect(const MACAddress& bssid, const MACAddress& mac, OnDone on_done) {
  const auto text = [&] { return "disconnect " + mac.to_string() + " from " + bssid.to_string(); };
  act(find_client(bssid, mac) != nullptr, text, std::move(on_done), [&] {
    leave(mac);
    return std::string();
  });
}

void SimulatedAir::ask_for_beacons(const MACAddress& bssid, const MACAddress& mac,
                                   std::span<const std::uint8_t> request, OnReports on_reports) {
  record([&] {
    std::string text = "ask " + mac.to_string() + " for beacons:";
    for (const std::uint8_t octet : request) {
      constexpr const char* DIGITS = "0123456789ABCDEF";
      text += {' ', DIGITS[octet >> 4], DIGITS[octet & 15]};
    }
    return text;
  });
  std::vector<std::vector<std::uint8_t>> reports;
  const bool is_there = find_client(bssid, mac) != nullptr;
  const bool answers = is_there && on_asked_for_beacons;
  if (answers) {
    reports = on_asked_for_beacons(mac, request);
  }
  add_outcome([reports = std::move(reports), is_there, answers, on_reports = std::move(on_reports)] {
    on_reports(reports, answers ? "" : is_there ? "the client did not answer" : GONE);
  });
}

void SimulatedAir::move_backhaul(const MACAddress& station, const MACAddress& bssid, std::uint8_t opclass,
                                 std::uint8_t channel, OnDone on_done) {
  const auto found = std::ranges::find_if(
      state, [&](const AirRadio& radio) { return radio.backhaul && radio.backhaul->station == station; });
  const auto text = [&] {
    return "move " + station.to_string() + " to " + bssid.to_string() + " on " + std::to_string(int{opclass}) + "/" +
           std::to_string(int{channel});
  };
  act(found != state.end(), text, std::move(on_done), [&] {
    found->backhaul->bssid = bssid;
    changed();
    return std::string();
  });
}

}  // namespace meshd::wifi
