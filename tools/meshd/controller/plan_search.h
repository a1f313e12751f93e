#pragma once

#include <vector>

#include "tools/meshd/controller/plan_cost.h"

namespace meshd::controller::cost {

/// What a search found.
struct Found {
  Assignment start;          ///< today's channels, and for groups that must change the best that they can have
  Assignment wanted;         ///< the cheapest that was found
  Assignment planned;        ///< the same, but where too little is gained as at the start
  std::vector<double> gain;  ///< of the part of the mesh around each group, in percent
};

/// Finds cheaper channels. The work is bounded.
Found search(const Costs& costs, const PlanPolicy& policy);

/// In which order to change: each step is the one after which the mesh costs least.
std::vector<std::size_t> order_of_changes(const Costs& costs, const Assignment& planned);

}  // namespace meshd::controller::cost
