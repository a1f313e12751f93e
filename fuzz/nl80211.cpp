#include <linux/nl80211.h>

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <variant>

#include "fuzz/round_trip.h"
#include "qel/channel/spatial_streams.h"
#include "tools/meshd/wifi/event.h"
#include "tools/meshd/wifi/radio.h"
#include "tools/meshd/wifi/regulatory.h"
#include "tools/meshd/wifi/station.h"
#include "tools/meshd/wifi/survey.h"
#include "tools/meshd/wifi/wiphy.h"

/// Reads any octets as messages of nl80211, one after another as in a netlink datagram. Each is converted as every kind
/// of message, and together they form one dump of radios. The results stay within the limits and can be printed.

namespace {

using namespace meshd::wifi;
using qel::fuzz::require;

constexpr Timestamp NOW = 1;

void check(const qel::ChannelInfo& info) {
  const auto& primary = info.get_primary_frequency();
  const auto& segment = info.get_primary_segment();
  require(!segment.is_set() || primary.is_set(), "a segment has a primary channel");
  if (segment.is_set()) {
    const qel::kHz center = get_center_frequency_of_subsegment(info, qel::ChannelWidth::WIDTH_20_MHZ);
    require(segment.get().second == qel::ChannelWidth::WIDTH_20_MHZ || center != qel::kHz(0), "and is around it");
  }
}

void check(const Wiphys& wiphys, const Regulatory& regulatory) {
  require(wiphys.size() <= MOST_WIPHYS, "a limited number of radios");
  for (const auto& [number, wiphy] : wiphys) {
    require(wiphy.bands.size() <= 3, "bands of the model");
    std::ostringstream text;
    for (const Band& band : wiphy.bands) {
      require(band.channels.size() <= MOST_CHANNELS, "a limited number of channels");
      const qel::ChannelList channels = channel_list(band, &regulatory, NOW);
      require(channels.get_channels().size() <= band.channels.size(), "no other channels");
      require(is_valid(receive_streams(band)) && is_valid(send_streams(band)), "streams at 20 MHz");
      require(receive_streams(band).get_max_streams() <= qel::MAX_MCS_STREAMS, "as many as there can be");
      for (const qel::ChannelEntry& entry : channels.get_channels()) {
        const std::bitset<5>& state = entry.get_state_flags().get();
        require(state.count() <= 1 && (state.none() || entry.get_capability_flags()[4]), "one state, upon radar");
      }
      text << radio_of(wiphy, band.band, &regulatory, NOW);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Wiphys wiphys;
  Regulatory regulatory;
  Survey earlier;
  const Octets octets(reinterpret_cast<const std::byte*>(data), size);
  meshd::netlink::for_each<nlmsghdr, &nlmsghdr::nlmsg_len>(octets, [&](const nlmsghdr&, Octets body) {
    const auto message = message_of(body);
    if (!message) {
      return;
    }
    add_wiphy(wiphys, *message);
    if (const Regulatory told = regulatory_of(*message); !told.rules.empty()) {
      regulatory = told;
    }
    const Survey survey = survey_of(*message);
    require(utilization(survey, earlier).value_or(0) <= 100, "no more than all of the time");
    earlier = survey;
    const Interface interface = interface_of(*message, NOW);
    require(interface.ssid.size() <= 32, "an SSID");
    check(interface.channel);
    require(station_of(*message).elements.size() <= 2304, "the elements of a frame");
    if (const auto event = event_of(*message, NOW)) {
      if (const auto* const change = std::get_if<ChannelSwitchEvent>(&*event)) {
        check(change->channel);
      }
    }
  });
  require(regulatory.rules.size() <= MOST_RULES, "a limited number of rules");
  check(wiphys, regulatory);
  return 0;
}
