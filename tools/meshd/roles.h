#pragma once

#include <iosfwd>
#include <memory>
#include <optional>
#include <string>

#include "qel/daemon/mainloop.h"
#include "tools/meshd/controller/controller.h"
#include "tools/meshd/controller/controller_shell.h"
#include "tools/meshd/entity/entity.h"
#include "tools/meshd/multi_ap/discovery.h"
#include "tools/meshd/multi_ap/mesh.h"
#include "tools/meshd/options.h"
#include "tools/meshd/wireless.h"

namespace meshd {

/// What this node is in a Multi-AP network: an agent, a controller, both or neither. What they notice is logged and
/// sent as events.
class Roles {
 public:
  /// Everything is borrowed; without radios, they are null. Throws std::runtime_error for an agent without radios, or
  /// for a policy that cannot be read.
  Roles(const Options& options, Wireless* radios, Entity& entity, qel::daemon::Mainloop& loop);
  Roles(const Roles&) = delete;
  Roles& operator=(const Roles&) = delete;
  ~Roles() = default;

  /// The controller whose frames our bridges protect: the one that our agent obeys, or ourselves.
  std::optional<qel::MACAddress> to_protect() const;

  /// For people.
  void print(std::ostream& os, multi_ap::TimePoint now) const;

 private:
  void run(multi_ap::Service& service);
  void tell(const multi_ap::Notice& notice) const;

  Entity& entity_;
  qel::daemon::Mainloop& loop_;
  std::unique_ptr<multi_ap::ControllerFinder> finder_;  // null unless this is an agent
  std::unique_ptr<multi_ap::Service> agent_;
  std::unique_ptr<controller::Controller> controller_;  // null unless this is a controller
  std::unique_ptr<multi_ap::ControllerPresence> presence_;
  std::unique_ptr<controller::ControllerShell> shell_;
};

}  // namespace meshd
