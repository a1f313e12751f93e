#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "qel/channel/channel_list.h"
#include "qel/channel/type_with_ratio.h"
#include "tools/meshd/wifi/message.h"
#include "tools/meshd/wifi/radio.h"

namespace meshd::wifi {

/// How a radio found a channel. The times add up since the interface was brought up, or since it last came to the
/// channel, as drivers do; what a driver does not tell is missing.
struct Survey {
  qel::kHz frequency;
  bool is_in_use = false;                           ///< the radio is there now
  std::optional<std::int8_t> noise;                 ///< in dBm
  std::optional<std::chrono::milliseconds> active;  ///< on the channel
  std::optional<std::chrono::milliseconds> busy;    ///< of these
  std::optional<std::chrono::milliseconds> receiving;
  std::optional<std::chrono::milliseconds> sending;
};

/// From a message of a dump (NL80211_CMD_NEW_SURVEY_RESULTS).
Survey survey_of(const Message& message);

/// In percent, since `earlier`, another survey of the channel; nothing if the radio was not there in between or tells
/// no times. Times that went back have begun anew, and count from there.
std::optional<std::uint8_t> utilization(const Survey& survey, const Survey& earlier = {});

/// Sets ANPI and utilization of the channel in the list, if it is there.
void apply_survey(qel::ChannelList& channels, const Survey& survey, const Survey& earlier, Timestamp now);

}  // namespace meshd::wifi
