#include "qel/ieee1905_1/channel_score.h"

#include <algorithm>
#include <initializer_list>
#include <tuple>

#include "qel/core/validity.h"

namespace qel::ieee1905_1 {

namespace {

bool is_worse(const ChannelScore& a, const ChannelScore& b) {
  const auto rank = [](const ChannelScore& each) {
    return std::tuple(each.score, each.reason == ChannelPreferenceReasonCode::UNSPECIFIED, each.reason);
  };
  return rank(a) < rank(b);
}

/// Tests whether a condition is true of the channel.
struct HoldsFor {
  const ChannelEntry& entry;

  bool operator()(ChannelStateBit bit) const {
    return entry.get_state_flags().is_set() && entry.get_state_flags().get().test(bit_index(bit));
  }
  bool operator()(ChannelConfigBit bit) const {
    return entry.get_config_flags().is_set() && entry.get_config_flags().get().test(bit_index(bit));
  }
  bool operator()(DFSStateUnknown) const {
    using enum ChannelStateBit;
    return entry.get_capability_flags().test(bit_index(ChannelCapabilityBit::DFS)) &&
           std::ranges::none_of(
               std::initializer_list<ChannelStateBit>{DFS_CLEAR, RADAR_FOUND, CAC_RUNNING, PRECAC_TODO}, *this);
  }
  bool operator()(UtilizationFrom lowest) const {
    const auto& utilization = entry.get_channel_utilization();
    return utilization.is_set() && is_valid_channel_utilization(utilization.get()) &&
           utilization.get() >= lowest.percent;
  }
  bool operator()(ANPIFrom lowest) const {
    const auto& anpi = entry.get_ANPI();
    return anpi.is_set() && is_valid_anpi(anpi.get()) && anpi.get() >= lowest.anpi;
  }
};

}  // namespace

ChannelScore worse_of(const ChannelScore& a, const ChannelScore& b) { return is_worse(b, a) ? b : a; }

ChannelScore better_of(const ChannelScore& a, const ChannelScore& b) { return is_worse(b, a) ? a : b; }

ChannelScore score_of(const ChannelEntry& entry, std::span<const ChannelScoreRule> rules) {
  ChannelScore worst;
  bool found = false;
  for (const ChannelScoreRule& rule : rules) {
    if ((!found || rule.score.score < worst.score) && std::visit(HoldsFor{entry}, rule.condition)) {
      worst = rule.score;
      found = true;
    }
  }
  return worst;
}

const ChannelScoreRule* find_rule(const ChannelScore& score, std::span<const ChannelScoreRule> rules) {
  if (score.reason == ChannelPreferenceReasonCode::UNSPECIFIED) {
    return nullptr;
  }
  const ChannelScoreRule* of_reason = nullptr;
  for (const ChannelScoreRule& rule : rules) {
    const bool is_bit = std::holds_alternative<ChannelStateBit>(rule.condition) ||
                        std::holds_alternative<ChannelConfigBit>(rule.condition);
    if (!is_bit || rule.score.reason != score.reason) {
      continue;
    }
    if (rule.score == score) {
      return &rule;
    }
    if (of_reason == nullptr && rule.score.is_operable() == score.is_operable()) {
      of_reason = &rule;
    }
  }
  return of_reason;
}

}  // namespace qel::ieee1905_1
