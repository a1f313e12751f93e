#pragma once

#include <iosfwd>
#include <string>

#include "qel/daemon/mainloop.h"
#include "tools/meshd/entity/entity.h"
#include "tools/meshd/ports/local_ports.h"
#include "tools/meshd/roles.h"

namespace meshd {

/// The commands of the module "mesh" in the debug shell, which show what the entity knows and block its interfaces.
class DebugShell {
 public:
  static constexpr const char* MODULE = "mesh";

  /// Everything is borrowed. Throws std::runtime_error if the shell does not accept the module.
  DebugShell(Entity& entity, const LocalPorts& ports, const Roles& roles, qel::daemon::Mainloop& loop);
  DebugShell(const DebugShell&) = delete;
  DebugShell& operator=(const DebugShell&) = delete;
  ~DebugShell();

 private:
  /// A command with the argument it was given, or "". Throws std::invalid_argument for one that it does not take.
  using Answer = void (DebugShell::*)(std::ostream& os, const std::string& argument);

  void topology(std::ostream& os, const std::string& format);
  void neighbors(std::ostream& os, const std::string& none);
  void interfaces(std::ostream& os, const std::string& none);
  void counters(std::ostream& os, const std::string& none);
  void roles(std::ostream& os, const std::string& none);
  void block(std::ostream& os, const std::string& name);
  void unblock(std::ostream& os, const std::string& name);

  /// Runs the command of the shell given as context, and answers why it fails.
  template <Answer ANSWER, bool HAS_ARGUMENT>
  static int run(ctlcmd_session* session, int argc, const char* const* argv, void* context);

  /// Throws std::invalid_argument if we have no interface of this name.
  void set_blocked(const std::string& name, bool blocked);

  Entity& entity_;
  const LocalPorts& ports_;
  const Roles& roles_;
  qel::daemon::Mainloop& loop_;
};

}  // namespace meshd
