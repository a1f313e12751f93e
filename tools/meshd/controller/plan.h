#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/channel_score.h"
#include "tools/meshd/controller/mesh_model.h"
#include "tools/meshd/controller/policy.h"

namespace meshd::controller {

/// A radio as a plan sees it. Channels are given as the class and channel of operating class tables; the channel of an
/// 80 or 160 MHz class is its centre.
struct PlanRadio {
  qel::MACAddress agent;
  qel::MACAddress radio;
  std::optional<qel::ieee1905_1::PrimaryChannel> current{};  ///< nothing while it is on no channel
  std::map<qel::ieee1905_1::PrimaryChannel, qel::ieee1905_1::ChannelScore>
      scores{};                  ///< what it can use, and how gladly
  unsigned int utilization = 0;  ///< of its current channel, in percent
  unsigned int clients = 0;
  unsigned int backhaul_clients = 0;  ///< of these, those that lead to other agents
  bool is_fixed = false;  ///< must stay: excluded, changed too recently, or its own backhaul dictates the channel
  std::string fixed_why{};
};

/// How strongly a radio is heard where another one or its clients are; either direction suffices.
struct Hearing {
  std::size_t one = 0;  ///< index of the radio
  std::size_t other = 0;
  std::uint8_t rcpi = 0;
};

struct PlanInput {
  std::vector<PlanRadio> radios{};
  std::vector<Hearing> hearings{};  ///< pairs that are not listed: see plan.cpp for what is assumed
};

/// Why a channel was not taken.
struct Rejected {
  qel::ieee1905_1::PrimaryChannel channel;
  double cost = 0;  ///< of the mesh, if it were taken instead; not a number if it may not be used at all
  std::string why;
};

struct PlanChange {
  std::size_t radio = 0;  ///< index in the input
  qel::ieee1905_1::PrimaryChannel to;
  std::string why;
};

struct Plan {
  double cost_before = 0;
  double cost_after = 0;
  std::vector<PlanChange> changes{};              ///< in the order in which they are to be made; empty: all stay
  std::string verdict;                            ///< why it is as it is, one sentence
  std::vector<std::string> stays{};               ///< for each radio: why it stays; empty for one that changes
  std::vector<std::vector<Rejected>> rejected{};  ///< for each radio: its best other channels, best first
};

/// What is known of the mesh, as far as it matters to a plan. Lost agents and stale facts are left out.
PlanInput plan_input(const MeshModel& model, const PlanPolicy& policy, TimePoint now);

/// Finds channels that keep radios apart which hear each other. The same input gives the same plan.
Plan make_plan(const PlanInput& input, const PlanPolicy& policy);

/// For people: what changes and why, what stays and why, and what was rejected.
std::string plan_text(const PlanInput& input, const Plan& plan);
std::string plan_json(const PlanInput& input, const Plan& plan);

}  // namespace meshd::controller
