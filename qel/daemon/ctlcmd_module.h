#pragma once

#include <memory>
#include <string>
#include <vector>

#include "qel/core/export.h"

struct ctlcmd_command;
struct ctlcmd_session;

namespace qel::daemon {

/// A named set of commands of the debug shell. Ctlcmd keeps modules by their names.
class QEL_EXPORT CtlcmdModule {
 public:
  /// Gets the words of the command line, the command's own name first, and the module's context; answers with the
  /// platform's ctlcmd_printf. Returns 0 for success.
  using Handler = int (*)(ctlcmd_session* session, int argc, const char* const* argv, void* context);

  CtlcmdModule(std::string name, void* context);
  CtlcmdModule(const CtlcmdModule&) = delete;
  CtlcmdModule& operator=(const CtlcmdModule&) = delete;
  /// Stops.
  ~CtlcmdModule();

  const std::string& get_name() const { return name_; }
  bool started() const { return started_; }
  /// Whether a Ctlcmd keeps the module: it marks its modules valid, and invalid when they are removed.
  bool is_valid() const { return valid_; }
  void set_valid(bool valid) { valid_ = valid; }

  /// Throws std::logic_error while the module is started.
  void add_command(const std::string& name, Handler handler, const std::string& help);

  /// Offers the commands, whether the module is valid or not. False when the platform refuses it, for one that has the
  /// name, say; it is not started then.
  bool start();
  /// Does nothing when the module is not started.
  void stop();

 private:
  struct Command {
    std::string name;
    Handler handler;
    std::string help;
  };

  std::string name_;
  void* context_;
  bool started_ = false;
  bool valid_ = false;
  std::vector<Command> commands_;
  /// What the platform is given; points into commands_, which stay as they are while the module is started.
  std::vector<ctlcmd_command> table_;
};

}  // namespace qel::daemon
