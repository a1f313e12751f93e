#include "tools/meshd/ports/bridges.h"

#include <algorithm>
#include <exception>
#include <ostream>
#include <system_error>
#include <utility>

#include "qel/daemon/log.h"
#include "tools/meshd/ports/forwarding_table.h"

namespace meshd {

namespace {

/// The maximum time between two attempts to make a change that the system refuses.
constexpr std::chrono::seconds LONGEST_GAP{64};

/// Whether the bridge knows the address already, as its own or that of a port.
bool has_address(const LinkTable& links, unsigned int bridge, const qel::MACAddress& address) {
  return std::any_of(links.all().begin(), links.all().end(), [&](const auto& entry) {
    const Link& link = entry.second;
    return (link.index == bridge || link.bridge == bridge) && link.mac == address;
  });
}

}  // namespace

Bridges::~Bridges() {
  for (const unsigned int bridge : told_) {
    attempt("", [&] { remove_bridge_address(bridge, al_mac_); });
  }
}

template <class Action>
bool Bridges::attempt(const std::string& what, Action action) {
  try {
    action();
    return true;
  } catch (const std::exception& error) {
    const auto* const system_error = dynamic_cast<const std::system_error*>(&error);
    const bool is_gone = system_error != nullptr && system_error->code() == std::errc::no_such_device;
    if (!what.empty() && !is_gone) {
      ++refused_;
      std::string& cause = causes_[what] = error.what();
      if (cause != former_causes_[what]) {
        qel::debug::stream("meshd") << qel::debug::LogLevels::ERROR << "cannot " << what << ": " << cause << std::endl;
      }
    }
    return false;
  }
}

void Bridges::follow(const LinkTable& links, const Guarding& ports) {
  Guarding guarding{{}, ports.controller, ports.ports_to_controller};
  std::set<unsigned int> bridges;
  for (const unsigned int port : ports.ports) {
    if (const Link* link = links.find(port); link != nullptr && link->bridge != 0) {
      guarding.ports.insert(port);
      bridges.insert(link->bridge);
    }
  }
  const bool has_bridge = std::ranges::any_of(links.all(), [](const auto& entry) { return entry.second.is_bridge; });
  const auto now = std::chrono::steady_clock::now();
  const bool was_due = !retry_at_ || *retry_at_ <= now;
  retry_at_.reset();
  if (has_bridge || guarded_) {  // otherwise nftables is not even loaded
    former_causes_ = std::exchange(causes_, {});
    guard(guarding);
    tell(links, bridges);
    if (causes_.empty()) {
      gap_ = std::chrono::seconds(1);
    } else {
      retry_at_ = now + gap_;
      gap_ = was_due ? std::min(2 * gap_, LONGEST_GAP) : gap_;
    }
  }
}

void Bridges::guard(const Guarding& guarding) {
  if (guarding == guarded_) {
    return;
  }
  attempt("keep bridges from forwarding discovery between our ports", [&] {
    guard_.guard(guarding);
    guarded_ = guarding;
  });
}

void Bridges::tell(const LinkTable& links, const std::set<unsigned int>& bridges) {
  for (const auto& entry : links.all()) {
    const unsigned int index = entry.first;
    const Link& link = entry.second;
    if (!link.is_bridge || has_address(links, index, al_mac_)) {
      told_.erase(index);
    } else if (bridges.contains(index)) {
      // Each time, because a bridge does not know the address in a VLAN that was added to it.
      if (attempt("add our address to bridge " + link.name, [&] { add_bridge_address(index, al_mac_); })) {
        told_.insert(index);
      }
    } else if (told_.erase(index) != 0 || !has_begun_) {  // a killed daemon may have left it
      attempt("", [&] { remove_bridge_address(index, al_mac_); });
    }
  }
  has_begun_ = true;
}

}  // namespace meshd
