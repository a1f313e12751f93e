#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "qel/core/mac_address.h"
#include "tools/meshd/ports/bridge_guard.h"
#include "tools/meshd/ports/link_table.h"

namespace meshd {

/// What our ports being ports of bridges asks for: that the bridges forward nothing between them that is for the next
/// device only, and that they know where the AL MAC lives. What was changed is undone at the end. Nothing of it is
/// needed to go on: what the system refuses is logged, once for each cause.
class Bridges {
 public:
  /// `daemon` is our name, which no other daemon on this machine has.
  Bridges(const std::string& daemon, const qel::MACAddress& al_mac) : guard_(daemon), al_mac_(al_mac) {}
  Bridges(const Bridges&) = delete;
  Bridges& operator=(const Bridges&) = delete;
  ~Bridges();

  /// To be called at the start and whenever something has changed: these are our ports, by their numbers.
  void follow(const LinkTable& links, const std::vector<unsigned int>& ports);

  /// How often the system refused something.
  std::uint64_t refused() const { return refused_; }

 private:
  void guard(const std::set<unsigned int>& ports);
  void tell(const LinkTable& links, const std::set<unsigned int>& bridges);
  /// Does what may be refused; false when it was. `what` tells the refusals of different things apart.
  template <class Action>
  bool attempt(const std::string& what, Action action);

  BridgeGuard guard_;
  qel::MACAddress al_mac_;
  std::optional<std::set<unsigned int>> guarded_;  // ports that were to be kept apart, since there was a bridge
  std::set<unsigned int> told_;                    // bridges that know the AL MAC through us
  bool has_begun_ = false;
  std::map<std::string, std::string> causes_;  // of what is refused now
  std::uint64_t refused_ = 0;
};

}  // namespace meshd
