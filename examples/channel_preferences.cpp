// Shows the channel preferences of a radio: what an agent reports, what the controller requests, and which 40 MHz
// channel the agent then chooses.

#include <bitset>
#include <cstdint>
#include <initializer_list>
#include <iostream>

#include "qel/channel/channel_list.h"
#include "qel/channel/frequency.h"
#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/channel_preference_conversion.h"

namespace {

using namespace qel;
using namespace qel::ieee1905_1;

const MACAddress RADIO({0x02, 0x19, 0x05, 0xAA, 0x01, 0x10});

/// Channels 36 to 64, up to 80 MHz wide, at 23 dBm.
APRadioBasicCapabilitiesTLV capabilities() {
  APRadioBasicCapabilitiesTLV radio(RADIO, 4);
  for (std::uint8_t opclass = 115; opclass <= 120; ++opclass) {
    radio.add_operation_class_information({opclass, 23});
  }
  OperatingClassInformation of_80_mhz(128, 23);
  for (const std::uint8_t beyond_64 : std::initializer_list<std::uint8_t>{106, 122, 138, 155, 171}) {
    of_80_mhz.add_non_operable_channel(beyond_64);
  }
  radio.add_operation_class_information(of_80_mhz);
  return radio;
}

/// Below 5250 MHz, a neighbour disturbs channel 40; above, there is radar on channel 52 and the others are clear.
ChannelList channels_of(const ChannelPreferenceConversion& conversion) {
  ChannelList channels = conversion.to_channel_list({});  // nothing is known against any channel
  const auto set_state = [&](long mhz, ChannelStateBit state) {
    const auto flags = std::bitset<5>().set(bit_index(state));
    channels.get_channel_entry(kHz(mhz * 1000))->set_state_flags(LastChanged<std::bitset<5>>(flags));
  };
  channels.get_channel_entry(kHz(5200000))->set_remote_disturber(true);
  set_state(5260, ChannelStateBit::RADAR_FOUND);
  for (const long mhz : {5280, 5300, 5320}) {
    set_state(mhz, ChannelStateBit::DFS_CLEAR);
  }
  return channels;
}

/// The controller reserves channels 44 and 48 for other radios.
ChannelPreferenceTLV request(const ChannelPreferenceConversion& conversion) {
  ChannelList channels = conversion.to_channel_list({});
  channels.set_performance_opt_flag(44, 48, true);
  return conversion.to_preferences(channels);
}

}  // namespace

int main() {
  const ChannelPreferenceConversion conversion(capabilities());
  const ChannelPreferenceTLV report = conversion.to_preferences(channels_of(conversion));
  std::cout << report << "\n\n";

  const ChannelScores merged = merge(conversion.to_scores(report), conversion.to_scores(request(conversion)));
  PrimaryChannel best;
  ChannelScore best_score{ChannelScore::NON_OPERABLE};
  for (const auto& [primary, score] : conversion.to_primary_scores(merged)) {
    std::cout << "channel " << int{frequency_to_channel(primary.frequency)} << " at " << primary.width << ": "
              << int{score.score} << ' ' << score.reason << '\n';
    if (primary.width == ChannelWidth::WIDTH_40_MHZ && score.score > best_score.score) {
      best = primary;
      best_score = score;
    }
  }
  if (best_score.is_operable()) {
    std::cout << "best: channel " << int{frequency_to_channel(best.frequency)} << " at " << best.width << '\n';
  }
}
