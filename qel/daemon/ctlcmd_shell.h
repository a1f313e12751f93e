#pragma once

#include <map>
#include <memory>
#include <string>

#include "qel/core/export.h"
#include "qel/daemon/ctlcmd_module.h"

struct qelipc;

namespace qel::daemon {

/// The debug shell of the process on its IPC endpoint: the commands HELP, SLABDUMP, SLABSHOW and QUIT, and those of the
/// modules.
class QEL_EXPORT Ctlcmd {
 public:
  /// Throws std::invalid_argument if the endpoint is null, std::runtime_error if the platform cannot listen.
  Ctlcmd(std::shared_ptr<qelipc> ipc_endpoint, std::string name);
  Ctlcmd(const Ctlcmd&) = delete;
  Ctlcmd& operator=(const Ctlcmd&) = delete;
  /// Stops the modules that others still hold, and marks them invalid.
  ~Ctlcmd();

  /// Creates a module that is valid but not started; `context` is passed to its commands. An existing module of the
  /// same name is stopped, marked invalid and replaced.
  std::shared_ptr<CtlcmdModule> create_module(const std::string& name, void* context);
  /// Returns null if there is no such module.
  std::shared_ptr<CtlcmdModule> get_module(const std::string& name) const;
  /// Stops the module and marks it invalid. Returns false if there is no such module.
  bool remove_module(const std::string& name);

  /// Runs a command line as if it had been typed; the platform decides where the output goes. Returns false if the
  /// shell does not know the command or the command fails.
  bool send_command(const std::string& module, const std::string& command);

 private:
  struct Listen;

  std::shared_ptr<qelipc> ipc_endpoint_;
  std::unique_ptr<Listen> listen_;
  std::map<std::string, std::shared_ptr<CtlcmdModule>> modules_;
};

}  // namespace qel::daemon
