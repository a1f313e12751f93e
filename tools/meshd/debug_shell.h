#pragma once

#include <memory>
#include <string>

#include "qel/daemon/ctlcmd_module.h"
#include "qel/daemon/mainloop.h"
#include "tools/meshd/entity/entity.h"
#include "tools/meshd/ports/local_ports.h"

namespace meshd {

/// The commands of the module "mesh" in the debug shell, which show what the entity knows and block its interfaces.
class DebugShell {
 public:
  static constexpr const char* MODULE = "mesh";

  /// All are borrowed. Throws std::runtime_error when the shell does not take the module.
  DebugShell(Entity& entity, const LocalPorts& ports, qel::daemon::Mainloop& loop);
  DebugShell(const DebugShell&) = delete;
  DebugShell& operator=(const DebugShell&) = delete;
  ~DebugShell();

  /// The answers to the commands. `format` is TEXT, JSON or DOT in either case; throws std::invalid_argument for
  /// others.
  std::string topology(std::string format) const;
  std::string neighbors() const;
  std::string interfaces() const;
  std::string counters() const;

  /// Throws std::invalid_argument if no interface of ours has the name.
  std::string set_blocked(const std::string& name, bool blocked);

 private:
  Entity& entity_;
  const LocalPorts& ports_;
  qel::daemon::Mainloop& loop_;
};

}  // namespace meshd
