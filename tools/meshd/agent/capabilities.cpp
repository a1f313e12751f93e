#include "tools/meshd/agent/capabilities.h"

#include <linux/nl80211.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "qel/channel/frequency.h"
#include "qel/channel/operating_class_deduction.h"
#include "tools/meshd/wifi/radio.h"

namespace meshd::agent {

namespace {

using namespace qel::ieee1905_1;  // NOLINT(google-build-using-namespace): all of this file is about it
using qel::ChannelWidth;
using qel::kHz;
using qel::OperatingClassDeduction;
using wifi::AirRadio;
using wifi::Band;

constexpr auto REGION = OperatingClassDeduction::Region::GLOBAL;

/// An access point may send first only where this is not set.
std::set<kHz> channels_without_initiation(const AirRadio& radio) {
  std::set<kHz> frequencies;
  for (const Band& band : radio.bands) {
    for (const wifi::WiphyChannel& channel : band.channels) {
      if (channel.no_initiation) {
        frequencies.insert(channel.frequency);
      }
    }
  }
  return frequencies;
}

/// In whole dBm, rounded down; 0 if it is not known.
std::uint8_t power_of(const qel::ChannelEntry& entry) {
  if (!entry.get_max_power().is_set()) {
    return 0;
  }
  const float dbm = std::clamp(std::floor(entry.get_max_power().get()), -128.0F, 127.0F);
  return std::isnan(dbm) ? std::uint8_t{0} : static_cast<std::uint8_t>(static_cast<std::int8_t>(dbm));
}

bool is_in_use(const AirRadio& radio, const Band& band) {
  return radio.channel.get_primary_frequency().is_set() &&
         qel::frequency_to_band(radio.channel.get_primary_frequency().get()) == band.band;
}

/// The band that is described for a standard; null if no band has it.
template <class Has>
const Band* band_with(const AirRadio& radio, const Has& has) {
  const Band* found = nullptr;
  for (const Band& band : radio.bands) {
    if (has(band) && (found == nullptr || is_in_use(radio, band))) {
      found = &band;
    }
  }
  return found;
}

std::uint8_t at_least_one(std::uint8_t streams) { return std::max(streams, std::uint8_t{1}); }

template <std::size_t N>
bool bit(const std::array<std::uint8_t, N>& octets, std::size_t number) {
  return (octets[number / 8] >> (number % 8) & 1) != 0;
}

template <std::size_t N>
qel::MCSMap map_at(const std::array<std::uint8_t, N>& octets, std::size_t offset) {
  return qel::MCSMap(octets[offset] | unsigned{octets[offset + 1]} << 8);
}

/// The capabilities as an access point, or else those for other kinds of interface.
const wifi::HECapabilities& as_access_point(const Band& band) {
  const auto found = std::ranges::find_if(
      band.he, [](const wifi::HECapabilities& he) { return he.interface_types.test(NL80211_IFTYPE_AP); });
  return found == band.he.end() ? band.he.front() : *found;
}

/// The default rules, except that a channel which must be checked for radar first is not operable: the check would
/// close the access point for a minute or more.
std::vector<ChannelScoreRule> score_rules() {
  std::vector<ChannelScoreRule> rules(std::begin(DEFAULT_CHANNEL_SCORE_RULES), std::end(DEFAULT_CHANNEL_SCORE_RULES));
  for (ChannelScoreRule& rule : rules) {
    if (rule.score.reason == ChannelPreferenceReasonCode::DFS_CHANNEL_STATE_UNKNOWN) {
      rule.score.score = ChannelScore::NON_OPERABLE;
    }
  }
  return rules;
}

struct Known {
  qel::ChannelList channels;
  std::uint8_t most_bss;
  APRadioBasicCapabilitiesTLV capabilities;
  ChannelPreferenceConversion conversion;
};

APRadioBasicCapabilitiesTLV find_capabilities(const AirRadio& radio, const qel::ChannelList& channels) {
  APRadioBasicCapabilitiesTLV all(radio.identifier, radio.most_bss);
  for (const std::uint8_t opclass : OperatingClassDeduction::get_all_region_opclasses(REGION)) {
    all.add_operation_class_information({opclass, 0});
  }
  const ChannelScores scores = ChannelPreferenceConversion(all).to_scores(channels);

  struct Class {
    std::vector<std::uint8_t> non_operable;
    std::optional<std::uint8_t> power;  // unset if no channel is operable
  };
  std::map<std::uint8_t, Class> classes;
  for (const auto& [channel, score] : scores) {
    Class& found = classes[channel.get_operating_class()];
    if (!score.is_operable()) {
      found.non_operable.push_back(channel.get_channel());
      continue;
    }
    const auto segment = get_opclass_segment(channel.get_channel(), channel.get_operating_class(), REGION);
    for (const kHz& frequency : segment.get_20_mhz_channels()) {
      if (const qel::ChannelEntry* entry = channels.get_channel_entry(frequency)) {
        const std::uint8_t power = power_of(*entry);
        if (!found.power || static_cast<std::int8_t>(*found.power) < static_cast<std::int8_t>(power)) {
          found.power = power;
        }
      }
    }
  }
  APRadioBasicCapabilitiesTLV capabilities(radio.identifier, radio.most_bss);
  for (const auto& [opclass, found] : classes) {
    if (found.power) {
      OperatingClassInformation information(opclass, *found.power);
      std::ranges::for_each(found.non_operable,
                            [&](std::uint8_t channel) { information.add_non_operable_channel(channel); });
      capabilities.add_operation_class_information(information);
    }
  }
  return capabilities;
}

/// It takes milliseconds to find this out, so it is kept as long as the channels stay the same.
const Known& known_of(const AirRadio& radio) {
  constexpr std::size_t MOST_KNOWN = 16;
  static const std::vector<ChannelScoreRule> RULES = score_rules();
  static std::map<qel::MACAddress, Known> all;
  qel::ChannelList channels = operable_channels(radio);
  channels.reset_state_flags();  // radar may be gone tomorrow
  const auto known = all.find(radio.identifier);
  if (known != all.end() && known->second.most_bss == radio.most_bss &&
      known->second.channels.equivalent_to(channels)) {
    return known->second;
  }
  if (known == all.end() && all.size() >= MOST_KNOWN) {
    all.clear();
  }
  const APRadioBasicCapabilitiesTLV capabilities = find_capabilities(radio, channels);
  const ChannelPreferenceConversion conversion(capabilities, REGION, qel::UnknownChannels::SKIP, RULES);
  return all.insert_or_assign(radio.identifier, Known{std::move(channels), radio.most_bss, capabilities, conversion})
      .first->second;
}

}  // namespace

qel::ChannelList operable_channels(const AirRadio& radio) {
  const std::set<kHz> excluded = channels_without_initiation(radio);
  std::vector<qel::ChannelEntry> entries;
  for (const qel::WLANRadio& band : radio.radios) {
    for (const qel::ChannelEntry& entry : band.get_channel_list().get_channels()) {
      if (!excluded.contains(entry.get_frequency())) {
        entries.emplace_back(entry.get_channel_number(), entry.get_frequency(), entry.get_capability_flags(),
                             entry.get_state_flags(), entry.get_config_flags(), entry.get_max_power(),
                             entry.get_max_regulatory_power());
      }
    }
  }
  return qel::ChannelList(std::move(entries));
}

const APRadioBasicCapabilitiesTLV& basic_capabilities(const AirRadio& radio) { return known_of(radio).capabilities; }

const ChannelPreferenceConversion& conversion_of(const AirRadio& radio) { return known_of(radio).conversion; }

std::optional<APHTCapabilitiesTLV> ht_capabilities(const AirRadio& radio) {
  const Band* band = band_with(radio, [](const Band& each) { return each.ht.has_value(); });
  if (band == nullptr) {
    return std::nullopt;
  }
  constexpr auto WIDTH = ChannelWidth::WIDTH_20_MHZ;
  constexpr std::uint8_t MOST_STREAMS = 4;
  const std::uint16_t information = band->ht->information;  // IEEE 802.11-2020, 9.4.2.55.2
  APHTCapabilitiesTLV ht(radio.identifier);
  ht.set_number_tx_spatial_streams(
      std::min(at_least_one(wifi::send_streams(*band).get_num_streams(WIDTH)), MOST_STREAMS));
  ht.set_number_rx_spatial_streams(
      std::min(at_least_one(wifi::receive_streams(*band).get_num_streams(WIDTH)), MOST_STREAMS));
  ht.set_HT_40_mhz((information & 1U << 1) != 0);
  ht.set_short_GI_20_mhz((information & 1U << 5) != 0);
  ht.set_short_GI_40_mhz((information & 1U << 6) != 0);
  return ht;
}

std::optional<APVHTCapabilitiesTLV> vht_capabilities(const AirRadio& radio) {
  // No standard defines VHT at 2.4 GHz.
  const Band* band =
      band_with(radio, [](const Band& each) { return each.vht && each.band != qel::FrequencyBand::BAND_2_4_GHZ; });
  if (band == nullptr) {
    return std::nullopt;
  }
  const std::uint32_t information = band->vht->information;  // IEEE 802.11-2020, 9.4.2.157.2
  const std::uint32_t widths = information >> 2 & 3;
  constexpr auto WIDTH = ChannelWidth::WIDTH_80_MHZ;
  APVHTCapabilitiesTLV vht(radio.identifier);
  vht.set_vht_rx_mcs(map_at(band->vht->mcs, 0));
  vht.set_vht_tx_mcs(map_at(band->vht->mcs, 4));
  vht.set_number_tx_spatial_streams(at_least_one(wifi::send_streams(*band).get_num_streams(WIDTH)));
  vht.set_number_rx_spatial_streams(at_least_one(wifi::receive_streams(*band).get_num_streams(WIDTH)));
  vht.set_short_gi_80_mhz_supported((information & 1U << 5) != 0);
  vht.set_short_gi_160_80_80_mhz_supported((information & 1U << 6) != 0);
  vht.set_vht_80_80_supported(widths == 2);
  vht.set_vht_160_supported(widths == 1 || widths == 2);
  vht.set_su_beamformer_capable((information & 1U << 11) != 0);
  vht.set_mu_beamformer_capable((information & 1U << 19) != 0);
  return vht;
}

std::optional<APHECapabilitiesTLV> he_capabilities(const AirRadio& radio) {
  const Band* band = band_with(radio, [](const Band& each) { return !each.he.empty(); });
  if (band == nullptr) {
    return std::nullopt;
  }
  const wifi::HECapabilities& of_band = as_access_point(*band);
  const auto& phy = of_band.phy;  // IEEE 802.11ax-2021, 9.4.2.248.3
  constexpr auto WIDTH = ChannelWidth::WIDTH_20_MHZ;
  APHECapabilitiesTLV he(radio.identifier);
  he.set_he_rx_mcs_80(map_at(of_band.mcs, 0));
  he.set_he_tx_mcs_80(map_at(of_band.mcs, 2));
  he.set_number_tx_spatial_streams(at_least_one(wifi::send_streams(*band).get_num_streams(WIDTH)));
  he.set_number_rx_spatial_streams(at_least_one(wifi::receive_streams(*band).get_num_streams(WIDTH)));
  he.set_he_160_mhz_support(bit(phy, 3));
  // The maps of 80+80 MHz follow those of 160 MHz, which such a radio has too.
  he.set_he_80_80_mhz_support(bit(phy, 3) && bit(phy, 4));
  he.set_he_rx_mcs_160(map_at(of_band.mcs, 4));
  he.set_he_tx_mcs_160(map_at(of_band.mcs, 6));
  he.set_he_rx_mcs_8080(map_at(of_band.mcs, 8));
  he.set_he_tx_mcs_8080(map_at(of_band.mcs, 10));
  he.set_su_beamformer_capable(bit(phy, 31));
  he.set_mu_beamformer_capable(bit(phy, 33));
  he.set_ul_mumimo_capable(bit(phy, 22));
  he.set_ul_mumimo_ofdma_capable(bit(phy, 23));
  he.set_dl_mumimo_ofdma_capable(bit(phy, 54));
  // Mandatory for an access point (4.3.15a).
  he.set_ul_ofdma_capable(true);
  he.set_dl_ofdma_capable(true);
  return he;
}

void add_ap_capabilities(MessageBuilder& builder, const std::vector<AirRadio>& radios) {
  APCapabilityTLV capability;
  capability.set_link_metrics_support_operated_channel(false);    // of clients that are not ours
  capability.set_link_metrics_support_unoperated_channel(false);  // likewise
  capability.set_agent_initiated_rcpi_based_steering(false);
  builder.add(capability);
  const auto add = [&](auto part) {
    if (part) {
      builder.add(std::move(*part));
    }
  };
  for (const AirRadio& radio : radios) {
    if (const APRadioBasicCapabilitiesTLV& basic = basic_capabilities(radio);
        !basic.get_operation_class_information_vector().empty()) {
      builder.add(basic);
    }
    add(ht_capabilities(radio));
    add(vht_capabilities(radio));
    add(he_capabilities(radio));
  }
}

void add_backhaul_capabilities(MessageBuilder& builder, const std::vector<AirRadio>& radios) {
  for (const AirRadio& radio : radios) {
    if (radio.backhaul) {
      builder.add(BackhaulSTARadioCapabilitiesTLV(radio.identifier, radio.backhaul->station));
    }
  }
}

}  // namespace meshd::agent
