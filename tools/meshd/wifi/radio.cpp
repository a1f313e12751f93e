#include "tools/meshd/wifi/radio.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "qel/channel/frequency.h"
#include "qel/channel/spatial_streams.h"

namespace meshd::wifi {

namespace {

using qel::bit_index;
using qel::ChannelCapabilityBit;
using qel::ChannelStateBit;
using qel::ChannelWidth;
using qel::FrequencyBand;
using qel::WLANPhymode;

/// HT Capability Information (IEEE 802.11-2020, 9.4.2.55.2): Supported Channel Width Set.
constexpr std::uint16_t HT_40_MHZ = 1U << 1;

/// Octets of the Supported MCS Set (9.4.2.55.4): the maps for receiving, one per stream, and the octet about sending.
constexpr std::size_t HT_STREAMS = 4;
constexpr std::size_t HT_SENT = 12;
constexpr unsigned int HT_SENT_DIFFERS = 0x03;  // Tx MCS Set Defined and Tx Rx MCS Set Not Equal
constexpr unsigned int HT_SENT_STREAMS = 2;     // position of the number of streams minus one

/// VHT Capabilities Information (9.4.2.157.2): Supported Channel Width Set, 1 for 160 MHz, 2 for 160 and 80+80 MHz.
unsigned int vht_width(const VHTCapabilities& vht) { return vht.information >> 2 & 3; }

/// HE PHY Capabilities Information (IEEE 802.11ax-2021, 9.4.2.248.3): Supported Channel Width Set.
enum class HEWidth : std::uint8_t {
  MHZ_40_IN_2_4_GHZ = 1U << 1,
  MHZ_40_AND_80 = 1U << 2,
  MHZ_160 = 1U << 3,
  MHZ_80_80 = 1U << 4,
};
bool has(const HECapabilities& he, HEWidth width) { return (he.phy[0] & static_cast<unsigned int>(width)) != 0; }

qel::MCSMap map_at(const std::uint8_t* octets) { return qel::MCSMap(octets[0] | unsigned{octets[1]} << 8); }

/// The most streams that have any MCS; VHT and HE maps encode "none" in the same way.
std::uint8_t streams_of(const qel::MCSMap& map) {
  std::uint8_t streams = 0;
  for (std::uint8_t count = 1; count <= qel::MAX_MCS_STREAMS; ++count) {
    if (qel::get_mcs(map, count) != static_cast<std::uint8_t>(qel::VHTMCSBit::NOT_SUPPORTED)) {
      streams = count;
    }
  }
  return streams;
}

enum class Direction : std::uint8_t { RECEIVE, SEND };

std::uint8_t ht_streams(const HTCapabilities& ht, Direction direction) {
  if (direction == Direction::SEND && (ht.mcs[HT_SENT] & HT_SENT_DIFFERS) == HT_SENT_DIFFERS) {
    return static_cast<std::uint8_t>((ht.mcs[HT_SENT] >> HT_SENT_STREAMS & 3) + 1);
  }
  std::uint8_t streams = 0;
  for (std::uint8_t i = 0; i < HT_STREAMS; ++i) {
    if (ht.mcs[i] != 0) {
      streams = static_cast<std::uint8_t>(i + 1);
    }
  }
  return streams;
}

/// The widths of the band as capabilities of a channel.
std::bitset<9> widths(const Band& band) {
  ChannelWidth widest = ChannelWidth::WIDTH_20_MHZ;
  std::bitset<9> bits = channel_width_capability_bits(widest);
  const auto add = [&](bool is_supported, ChannelWidth width) {
    if (is_supported) {
      bits |= channel_width_capability_bits(width);
    }
  };
  add(band.ht && (band.ht->information & HT_40_MHZ) != 0, ChannelWidth::WIDTH_40_MHZ);
  if (band.band == FrequencyBand::BAND_2_4_GHZ) {
    for (const HECapabilities& he : band.he) {
      add(has(he, HEWidth::MHZ_40_IN_2_4_GHZ), ChannelWidth::WIDTH_40_MHZ);
    }
    return bits;
  }
  if (band.vht) {
    add(true, ChannelWidth::WIDTH_80_MHZ);
    add(vht_width(*band.vht) == 1 || vht_width(*band.vht) == 2, ChannelWidth::WIDTH_160_MHZ);
    add(vht_width(*band.vht) == 2, ChannelWidth::WIDTH_80_80_MHZ);
  }
  for (const HECapabilities& he : band.he) {
    add(has(he, HEWidth::MHZ_40_AND_80), ChannelWidth::WIDTH_80_MHZ);
    add(has(he, HEWidth::MHZ_160), ChannelWidth::WIDTH_160_MHZ);
    add(has(he, HEWidth::MHZ_80_80), ChannelWidth::WIDTH_80_80_MHZ);
  }
  return bits;
}

qel::NSSTable streams(const Band& band, Direction direction) {
  const std::bitset<9> all = widths(band);
  qel::NSSTable table;
  // Sets the number of streams at each width of the band up to this one.
  const auto add = [&](ChannelWidth up_to, std::uint8_t count) {
    for (const ChannelWidth width : qel::capability_bits_channel_widths(all)) {
      if (width <= up_to) {
        table.update_num_streams(width, count, false, false);
      }
    }
  };
  const auto add_at = [&](ChannelWidth width, std::uint8_t count) {
    if (qel::capability_bits_channel_widths(all).contains(width)) {
      table.update_num_streams(width, count, false, false);
    }
  };
  // In each pair, the map for receiving comes first.
  const std::size_t map = direction == Direction::RECEIVE ? 0 : 1;
  if (band.ht) {
    add(ChannelWidth::WIDTH_40_MHZ, ht_streams(*band.ht, direction));
  }
  if (band.vht && band.band != FrequencyBand::BAND_2_4_GHZ) {
    const std::uint8_t count = streams_of(map_at(band.vht->mcs.data() + 4 * map));
    add(ChannelWidth::WIDTH_80_MHZ, count);
    if (vht_width(*band.vht) == 1 || vht_width(*band.vht) == 2) {
      add_at(ChannelWidth::WIDTH_160_MHZ, count);
    }
    if (vht_width(*band.vht) == 2) {
      add_at(ChannelWidth::WIDTH_80_80_MHZ, count);
    }
  }
  for (const HECapabilities& he : band.he) {
    add(ChannelWidth::WIDTH_80_MHZ, streams_of(map_at(he.mcs.data() + 2 * map)));
    if (has(he, HEWidth::MHZ_160)) {
      add_at(ChannelWidth::WIDTH_160_MHZ, streams_of(map_at(he.mcs.data() + 4 + 2 * map)));
    }
    if (has(he, HEWidth::MHZ_80_80)) {
      add_at(ChannelWidth::WIDTH_80_80_MHZ, streams_of(map_at(he.mcs.data() + 8 + 2 * map)));
    }
  }
  return table;
}

/// Weather radar uses 5600 to 5650 MHz and requires a longer check.
bool is_weather_channel(const qel::kHz& frequency) {
  constexpr qel::kHz HALF(10'000);
  return frequency + HALF > qel::kHz(5'600'000) && frequency - HALF < qel::kHz(5'650'000);
}

std::bitset<9> capabilities(const WiphyChannel& channel, std::bitset<9> bits) {
  const auto clear = [&](std::initializer_list<ChannelCapabilityBit> cleared) {
    for (const ChannelCapabilityBit bit : cleared) {
      bits.reset(bit_index(bit));
    }
  };
  using enum ChannelCapabilityBit;
  if (channel.no_ht40_minus && channel.no_ht40_plus) {
    clear({HT40, HT80, HT160, HT8080});
  }
  if (channel.no_80_mhz) {
    clear({HT80, HT160, HT8080});
  }
  if (channel.no_160_mhz) {
    clear({HT160});
  }
  bits.set(bit_index(PRIMARY_LOWER_BEHAVIOR), bits[bit_index(HT40)] && !channel.no_ht40_plus);
  bits.set(bit_index(PRIMARY_UPPER_BEHAVIOR), bits[bit_index(HT40)] && !channel.no_ht40_minus);
  bits.set(bit_index(DFS), channel.has_radar);
  bits.set(bit_index(DFS_WEATHER), channel.has_radar && is_weather_channel(channel.frequency));
  return bits;
}

std::bitset<5> state(const WiphyChannel& channel) {
  std::bitset<5> bits;
  if (channel.has_radar) {
    const DfsState dfs = channel.dfs_state.value_or(DfsState::USABLE);
    bits.set(bit_index(ChannelStateBit::DFS_CLEAR), dfs == DfsState::AVAILABLE);
    bits.set(bit_index(ChannelStateBit::RADAR_FOUND), dfs == DfsState::UNAVAILABLE);
    bits.set(bit_index(ChannelStateBit::PRECAC_TODO), dfs == DfsState::USABLE);
  }
  return bits;
}

qel::LastChanged<float> power(const std::optional<float>& dbm, Timestamp now) {
  return dbm ? qel::LastChanged<float>(*dbm, now) : qel::LastChanged<float>();
}

}  // namespace

qel::NSSTable receive_streams(const Band& band) { return streams(band, Direction::RECEIVE); }

qel::NSSTable send_streams(const Band& band) { return streams(band, Direction::SEND); }

std::bitset<6> phymodes(const Band& band) {
  std::bitset<6> modes;
  const bool is_2_4_ghz = band.band == FrequencyBand::BAND_2_4_GHZ;
  modes.set(bit_index(WLANPhymode::A), band.has_ofdm_rates && band.band == FrequencyBand::BAND_5_GHZ);
  modes.set(bit_index(WLANPhymode::B), band.has_dsss_rates && is_2_4_ghz);
  modes.set(bit_index(WLANPhymode::G), band.has_ofdm_rates && is_2_4_ghz);
  modes.set(bit_index(WLANPhymode::N), band.ht.has_value());
  modes.set(bit_index(WLANPhymode::AC), band.vht && !is_2_4_ghz);  // no standard defines it there
  modes.set(bit_index(WLANPhymode::AX), !band.he.empty());
  return modes;
}

qel::ChannelList channel_list(const Band& band, const Regulatory* regulatory, Timestamp now) {
  const std::bitset<9> all = widths(band);
  std::vector<qel::ChannelEntry> entries;
  for (const WiphyChannel& channel : band.channels) {
    if (channel.is_disabled) {
      continue;
    }
    entries.emplace_back(
        qel::frequency_to_channel(channel.frequency), channel.frequency, capabilities(channel, all),
        qel::LastChanged<std::bitset<5>>(state(channel), now), qel::LastChanged<std::bitset<2>>(),
        power(channel.max_power, now),
        power(regulatory != nullptr ? max_regulatory_power(*regulatory, channel.frequency) : std::nullopt, now));
  }
  return qel::ChannelList(std::move(entries));
}

qel::WLANRadio radio_of(const Wiphy& wiphy, FrequencyBand which, const Regulatory* regulatory, Timestamp now,
                        std::optional<qel::MACAddress> identifier) {
  if (!identifier && !wiphy.addresses.empty()) {
    identifier = wiphy.addresses.front();
  }
  qel::WLANRadio radio(identifier ? qel::WLANRadio::RadioID(identifier->octets(), now) : qel::WLANRadio::RadioID());
  for (const Band& band : wiphy.bands) {
    if (band.band == which) {
      radio.set_rx_nss_table(receive_streams(band));
      radio.set_tx_nss_table(send_streams(band));
      radio.set_supported_phymodes(phymodes(band));
      radio.set_channel_list(channel_list(band, regulatory, now));
    }
  }
  return radio;
}

}  // namespace meshd::wifi
