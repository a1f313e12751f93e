#pragma once

#include <chrono>
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

/// Changes the bridges of our ports: they no longer forward discovery between our ports, and they know where the AL MAC
/// address is. The destructor reverts the changes. If the system refuses a change, that is logged once for each cause,
/// and the change is tried again later.
class Bridges {
 public:
  /// `daemon` is the name of this daemon, unique on this machine.
  Bridges(const std::string& daemon, const qel::MACAddress& al_mac) : guard_(daemon), al_mac_(al_mac) {}
  Bridges(const Bridges&) = delete;
  Bridges& operator=(const Bridges&) = delete;
  ~Bridges();

  /// Call this at the start and whenever a link or the controller has changed. All of our ports are given; those in no
  /// bridge do not matter.
  void follow(const LinkTable& links, const Guarding& ports);

  /// Whether to call follow() although no link has changed: the system refused a change, and it is time to try again.
  /// The intervals grow up to about a minute.
  bool is_to_retry(std::chrono::steady_clock::time_point now) const { return retry_at_ && now >= *retry_at_; }

  /// How many times the system refused a change.
  std::uint64_t refused() const { return refused_; }

 private:
  void guard(const Guarding& guarding);
  void tell(const LinkTable& links, const std::set<unsigned int>& bridges);
  /// Runs an action that the system may refuse, and returns false if it did. `what` names the action in the log; if it
  /// is empty, nothing is logged.
  template <class Action>
  bool attempt(const std::string& what, Action action);

  BridgeGuard guard_;
  qel::MACAddress al_mac_;
  std::optional<Guarding> guarded_;  // nothing before the first bridge
  std::set<unsigned int> told_;      // bridges that have an entry of ours
  bool has_begun_ = false;
  std::map<std::string, std::string> causes_;         // by the actions refused in the last follow()
  std::map<std::string, std::string> former_causes_;  // in the one before
  std::uint64_t refused_ = 0;
  std::chrono::seconds gap_{1};  // until the next attempt
  std::optional<std::chrono::steady_clock::time_point> retry_at_;
};

}  // namespace meshd
