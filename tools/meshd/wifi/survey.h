#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "qel/channel/channel_list.h"
#include "qel/channel/type_with_ratio.h"
#include "tools/meshd/wifi/message.h"
#include "tools/meshd/wifi/radio.h"

namespace meshd::wifi {

/// What a radio measured on a channel. The times accumulate since the interface came up or since it last entered the
/// channel, depending on the driver; values that the driver does not report are unset.
struct Survey {
  qel::kHz frequency;
  bool is_in_use = false;                           ///< the radio is on it now
  std::optional<std::int8_t> noise;                 ///< in dBm
  std::optional<std::chrono::milliseconds> active;  ///< on the channel
  std::optional<std::chrono::milliseconds> busy;    ///< of these
  std::optional<std::chrono::milliseconds> receiving;
  std::optional<std::chrono::milliseconds> sending;
};

/// From a message of a dump (NL80211_CMD_NEW_SURVEY_RESULTS).
Survey survey_of(const Message& message);

/// In percent, since `earlier`, another survey of the channel; nothing if the radio was not on the channel in between
/// or reports no times. Times that decreased were reset, and count from 0.
std::optional<std::uint8_t> utilization(const Survey& survey, const Survey& earlier = {});

/// Sets ANPI and utilization of the channel in the list, if the list has it.
void apply_survey(qel::ChannelList& channels, const Survey& survey, const Survey& earlier, Timestamp now);

}  // namespace meshd::wifi
