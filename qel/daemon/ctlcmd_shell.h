#pragma once

#include <map>
#include <memory>
#include <string>

#include "qel/core/export.h"
#include "qel/daemon/ctlcmd_module.h"

struct qelipc;

namespace qel::daemon {

/// The process's debug shell on its IPC endpoint: the commands HELP, SLABDUMP, SLABSHOW and QUIT, and those of the
/// modules.
class QEL_EXPORT Ctlcmd {
 public:
  /// Throws std::invalid_argument for a null endpoint, std::runtime_error when the platform does not listen.
  Ctlcmd(std::shared_ptr<qelipc> ipc_endpoint, std::string name);
  Ctlcmd(const Ctlcmd&) = delete;
  Ctlcmd& operator=(const Ctlcmd&) = delete;
  /// Modules that others still hold are stopped and marked invalid.
  ~Ctlcmd();

  /// A new module, valid but not started; `context` is handed to its commands. A module that has the name already is
  /// stopped, marked invalid and replaced.
  std::shared_ptr<CtlcmdModule> create_module(const std::string& name, void* context);
  /// Null when there is none.
  std::shared_ptr<CtlcmdModule> get_module(const std::string& name) const;
  /// Stops the module and marks it invalid; false when there is none.
  bool remove_module(const std::string& name);

  /// Runs a command line as if it had been typed; its output goes where the platform sends the output of such commands.
  /// False when the shell does not know the command or the command fails.
  bool send_command(const std::string& module, const std::string& command);

 private:
  struct Listen;

  std::shared_ptr<qelipc> ipc_endpoint_;
  std::unique_ptr<Listen> listen_;
  std::map<std::string, std::shared_ptr<CtlcmdModule>> modules_;
};

}  // namespace qel::daemon
