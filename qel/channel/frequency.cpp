#include "qel/channel/frequency.h"

#include <algorithm>
#include <iterator>
#include <span>

namespace qel {

namespace {

constexpr long GRID = 5000;
constexpr long START_60_GHZ = 56160000;
constexpr long GRID_60_GHZ = 2160000;

/// Closed ranges in kHz, in ascending order.
constexpr struct {
  kHz from;
  kHz to;
  DetailedFrequencyBand band;
} BAND_RANGES[] = {
    {kHz(2412000), kHz(2484000), DetailedFrequencyBand::BAND_2_4_GHZ},
    {kHz(5180000), kHz(5320000), DetailedFrequencyBand::BAND_5_GHZ_LOWER},
    {kHz(5500000), kHz(5885000), DetailedFrequencyBand::BAND_5_GHZ_UPPER},
    {kHz(5930000), kHz(7125000), DetailedFrequencyBand::BAND_6_GHZ},
};

/// In ascending order of width, as far as capabilities are concerned.
constexpr struct {
  ChannelCapabilityBit bit;
  ChannelWidth width;
} WIDTH_BITS[] = {
    {ChannelCapabilityBit::HT20, ChannelWidth::WIDTH_20_MHZ},
    {ChannelCapabilityBit::HT40, ChannelWidth::WIDTH_40_MHZ},
    {ChannelCapabilityBit::HT80, ChannelWidth::WIDTH_80_MHZ},
    {ChannelCapabilityBit::HT160, ChannelWidth::WIDTH_160_MHZ},
    {ChannelCapabilityBit::HT8080, ChannelWidth::WIDTH_80_80_MHZ},
};

constexpr WLANPhymode MODES_2_4_GHZ[] = {WLANPhymode::AX, WLANPhymode::N, WLANPhymode::G, WLANPhymode::B};
constexpr WLANPhymode MODES_5_GHZ[] = {WLANPhymode::AX, WLANPhymode::AC, WLANPhymode::N, WLANPhymode::A};
constexpr WLANPhymode MODES_6_GHZ[] = {WLANPhymode::AX};

constexpr std::uint8_t steps(long frequency, long start, long grid) {
  return static_cast<std::uint8_t>((frequency - start) / grid);
}

/// The modes of a band, newest first.
std::span<const WLANPhymode> modes_of(FrequencyBand band) {
  switch (band) {
    case FrequencyBand::BAND_2_4_GHZ:
      return MODES_2_4_GHZ;
    case FrequencyBand::BAND_5_GHZ:
      return MODES_5_GHZ;
    case FrequencyBand::BAND_6_GHZ:
      return MODES_6_GHZ;
    case FrequencyBand::INVALID_BAND_MAX:
      break;
  }
  return {};
}

}  // namespace

std::uint8_t frequency_to_channel(const kHz& frequency) {
  const long f = frequency.value();
  if (f <= 0) {
    return 0;
  }
  if (f == 2484000) {
    return 14;  // the only 2.4 GHz channel that is not on the grid
  }
  if (f <= 2483999) {
    return steps(f, 2407000, GRID);
  }
  if (f <= 5929999) {
    return steps(f, 5000000, GRID);
  }
  if (f < 5950000) {
    return steps(f, 5925000, GRID);  // channel 2 of operating class 136 is below the 6 GHz grid
  }
  if (f <= 7124999) {
    return steps(f, 5950000, GRID);
  }
  if (f > START_60_GHZ && f <= 64800000) {
    return steps(f, START_60_GHZ, GRID_60_GHZ);
  }
  return 0;
}

kHz channel_grid(const kHz& starting_frequency) {
  return kHz(starting_frequency >= kHz(START_60_GHZ) ? GRID_60_GHZ : GRID);
}

kHz channel_to_frequency(const kHz& starting_frequency, unsigned char channel) {
  return starting_frequency + kHz(channel * channel_grid(starting_frequency).value());
}

kHz band_to_starting_frequency(FrequencyBand band) {
  switch (band) {
    case FrequencyBand::BAND_2_4_GHZ:
      return kHz(2407000);
    case FrequencyBand::BAND_5_GHZ:
      return kHz(5000000);
    case FrequencyBand::BAND_6_GHZ:
      return kHz(5950000);
    case FrequencyBand::INVALID_BAND_MAX:
      break;
  }
  return kHz(0);
}

DetailedFrequencyBand frequency_to_detailed_band(const kHz& frequency) {
  const auto* const range = std::ranges::find_if(BAND_RANGES, [&](const auto& r) { return frequency <= r.to; });
  return range != std::end(BAND_RANGES) && frequency >= range->from ? range->band : DetailedFrequencyBand::INVALID;
}

FrequencyBand frequency_to_band(const kHz& frequency) {
  switch (frequency_to_detailed_band(frequency)) {
    case DetailedFrequencyBand::BAND_2_4_GHZ:
      return FrequencyBand::BAND_2_4_GHZ;
    case DetailedFrequencyBand::BAND_5_GHZ_LOWER:
    case DetailedFrequencyBand::BAND_5_GHZ_UPPER:
    case DetailedFrequencyBand::BAND_5_GHZ:
      return FrequencyBand::BAND_5_GHZ;
    case DetailedFrequencyBand::BAND_6_GHZ:
      return FrequencyBand::BAND_6_GHZ;
    case DetailedFrequencyBand::INVALID:
      break;
  }
  return FrequencyBand::INVALID_BAND_MAX;
}

MHz channel_width_to_frequency(ChannelWidth width) {
  switch (width) {
    case ChannelWidth::WIDTH_20_MHZ:
      return MHz(20);
    case ChannelWidth::WIDTH_40_MHZ:
      return MHz(40);
    case ChannelWidth::WIDTH_80_MHZ:
    case ChannelWidth::WIDTH_80_80_MHZ:
      return MHz(80);
    case ChannelWidth::WIDTH_160_MHZ:
      return MHz(160);
    case ChannelWidth::INVALID:
      break;
  }
  return MHz(0);
}

ChannelWidth frequency_to_channel_width(const MHz& width) {
  switch (width.value()) {
    case 20:
    case 25:
      return ChannelWidth::WIDTH_20_MHZ;
    case 40:
      return ChannelWidth::WIDTH_40_MHZ;
    case 80:
      return ChannelWidth::WIDTH_80_MHZ;
    case 160:
      return ChannelWidth::WIDTH_160_MHZ;
    default:
      return ChannelWidth::INVALID;
  }
}

std::bitset<9> channel_width_capability_bits(ChannelWidth width) {
  std::bitset<9> bits;
  if (is_valid(width)) {
    for (const auto& row : WIDTH_BITS) {
      // 80+80 MHz does not need 160 MHz.
      const bool needed = row.width < width && row.width != ChannelWidth::WIDTH_160_MHZ;
      bits.set(bit_index(row.bit), needed || row.width == width);
    }
  }
  return bits;
}

ChannelWidth capability_bits_max_channel_width(const std::bitset<9>& capabilities) {
  for (auto row = std::rbegin(WIDTH_BITS); row != std::rend(WIDTH_BITS); ++row) {
    if (capabilities.test(bit_index(row->bit))) {
      return row->width;
    }
  }
  return ChannelWidth::INVALID;
}

std::set<ChannelWidth> capability_bits_channel_widths(const std::bitset<9>& capabilities) {
  std::set<ChannelWidth> widths;
  for (const auto& row : WIDTH_BITS) {
    if (capabilities.test(bit_index(row.bit))) {
      widths.insert(widths.end(), row.width);
    }
  }
  return widths;
}

ChannelWidth find_common_channel_width(ChannelWidth a, ChannelWidth b) {
  if (!is_valid(a) || !is_valid(b)) {
    return ChannelWidth::INVALID;
  }
  if (a != b && (a == ChannelWidth::WIDTH_80_80_MHZ || b == ChannelWidth::WIDTH_80_80_MHZ)) {
    return std::min({a, b, ChannelWidth::WIDTH_80_MHZ});
  }
  return std::min(a, b);
}

WLANPhymode get_max_phy_mode(FrequencyBand band, std::bitset<6> modes) {
  for (const WLANPhymode mode : modes_of(band)) {
    if (modes.test(bit_index(mode))) {
      return mode;
    }
  }
  return WLANPhymode::INVALID_MAX;
}

PHYType phymode_to_phytype(WLANPhymode mode) {
  switch (mode) {
    case WLANPhymode::A:
      return PHYType::OFDM;
    case WLANPhymode::B:
      return PHYType::HRDSSS;
    case WLANPhymode::G:
      return PHYType::ERP;
    case WLANPhymode::N:
      return PHYType::HT;
    case WLANPhymode::AC:
      return PHYType::VHT;
    case WLANPhymode::AX:
      return PHYType::HE;
    case WLANPhymode::INVALID_MAX:
      break;
  }
  return PHYType::INVALID_PHYTYPE_MAX;
}

PHYType phymodesupportbits_to_phytype(const std::bitset<6>& modes) {
  for (const WLANPhymode mode : {WLANPhymode::AX, WLANPhymode::AC, WLANPhymode::N, WLANPhymode::G, WLANPhymode::B}) {
    if (modes.test(bit_index(mode))) {
      return phymode_to_phytype(mode);
    }
  }
  return PHYType::INVALID_PHYTYPE_MAX;
}

}  // namespace qel
