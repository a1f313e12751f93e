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

/// A radio as a plan sees it.
struct PlanRadio {
  qel::MACAddress agent;
  qel::MACAddress radio;
  std::optional<qel::ieee1905_1::PrimaryChannel> current{};  ///< nothing while it is on no channel
  std::map<qel::ieee1905_1::PrimaryChannel, qel::ieee1905_1::ChannelScore>
      scores{};                  ///< what it can use, and how gladly
  unsigned int utilization = 0;  ///< of its current channel, in percent
  double demand = 0;             ///< air time that its traffic would need at 20 MHz, in percent; can exceed 100
  unsigned int clients = 0;
  unsigned int backhaul_clients = 0;  ///< of these, those that lead to other agents
  bool is_fixed = false;              ///< must stay: excluded, changed too recently, or not known well enough
  std::string fixed_why{};
  std::optional<std::size_t>
      follows{};             ///< index of the radio to which it is linked as a backhaul station: it moves along
  std::string agent_name{};  ///< as the agent calls itself; empty if unknown
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
  double cost = 0;  ///< of the mesh if it were taken instead of the planned one; not a number if it may not be used
  std::string why;
};

struct PlanChange {
  std::size_t radio = 0;  ///< index in the input
  qel::ieee1905_1::PrimaryChannel to;
  std::string why;
};

/// Costs are in percent of the air time of one radio.
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
