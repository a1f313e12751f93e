#pragma once

#include <optional>
#include <string>
#include <vector>

#include "qel/core/mac_address.h"
#include "tools/meshd/controller/followups.h"
#include "tools/meshd/controller/mesh_model.h"
#include "tools/meshd/controller/result.h"
#include "tools/meshd/multi_ap/courier.h"

namespace meshd::controller {

/// A question of the operator to one agent.
struct Question {
  std::string what;  ///< a name in question_names()
  std::optional<qel::MACAddress> client{};
  std::optional<qel::MACAddress> bssid{};
};

/// In alphabetical order.
std::vector<std::string> question_names();

/// Sends the question; its result has the answer. Everything is borrowed, until the result is there. Throws
/// std::invalid_argument if it cannot be asked so.
void ask(const Question& question, const qel::MACAddress& agent, const MeshModel& model, multi_ap::Courier& courier,
         Followups& followups, TimePoint now, OnResult on_result);

}  // namespace meshd::controller
