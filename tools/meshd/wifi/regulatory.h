#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "qel/channel/type_with_ratio.h"
#include "tools/meshd/wifi/message.h"

namespace meshd::wifi {

/// What a country allows between two frequencies.
struct RegulatoryRule {
  qel::kHz start;
  qel::kHz end;
  qel::kHz max_bandwidth;
  float max_power = 0;  ///< EIRP in dBm
};

/// The regulatory rules for radios.
struct Regulatory {
  std::string country;                 ///< two letters; "00" for what is allowed everywhere
  std::optional<std::uint32_t> wiphy;  ///< the radio that these rules are for; absent if for all others
  std::vector<RegulatoryRule> rules;
};

inline constexpr std::size_t MOST_RULES = 128;

/// From a message of a dump (NL80211_CMD_GET_REG).
Regulatory regulatory_of(const Message& message);

/// In dBm, for the 20 MHz channel with this centre; nothing if no rule covers it.
std::optional<float> max_regulatory_power(const Regulatory& regulatory, const qel::kHz& frequency);

}  // namespace meshd::wifi
