#pragma once

#include <memory>
#include <string>
#include <vector>

#include "qel/core/export.h"

struct ctlcmd_command;
struct ctlcmd_session;

namespace qel::daemon {

/// A named set of commands of the debug shell. Ctlcmd stores modules by name.
class QEL_EXPORT CtlcmdModule {
 public:
  /// Receives the words of the command line, starting with the command's own name, and the module's context; it answers
  /// with the platform's ctlcmd_printf. Returns 0 on success.
  using Handler = int (*)(ctlcmd_session* session, int argc, const char* const* argv, void* context);

  CtlcmdModule(std::string name, void* context);
  CtlcmdModule(const CtlcmdModule&) = delete;
  CtlcmdModule& operator=(const CtlcmdModule&) = delete;
  /// Stops the module.
  ~CtlcmdModule();

  const std::string& get_name() const { return name_; }
  bool started() const { return started_; }
  /// True while a Ctlcmd holds the module. Ctlcmd sets it, and clears it when it removes the module.
  bool is_valid() const { return valid_; }
  void set_valid(bool valid) { valid_ = valid; }

  /// Throws std::logic_error while the module is started.
  void add_command(const std::string& name, Handler handler, const std::string& help);

  /// Offers the commands, whether the module is valid or not. Returns false if the platform refuses, for example
  /// because another module has the name; the module is then not started.
  bool start();
  /// Does nothing if the module is not started.
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
  /// The table given to the platform. It points into commands_, which does not change while the module is started.
  std::vector<ctlcmd_command> table_;
};

}  // namespace qel::daemon
