#pragma once

#include <iosfwd>
#include <string>

#include "qel/daemon/mainloop.h"
#include "tools/meshd/wifi/association.h"
#include "tools/meshd/wifi/model.h"

namespace meshd::wifi {

/// The commands of the module "WIFI" in the debug shell, which show the radios and their clients.
class WifiShell {
 public:
  static constexpr const char* MODULE = "WIFI";

  /// Everything is borrowed. Throws std::runtime_error if the shell does not accept the module.
  WifiShell(const Model& model, const Associations& associations, qel::daemon::Mainloop& loop);
  WifiShell(const WifiShell&) = delete;
  WifiShell& operator=(const WifiShell&) = delete;
  ~WifiShell();

 private:
  /// Arguments that were not given are "". Throws std::invalid_argument for one that it does not take.
  using Answer = void (WifiShell::*)(std::ostream& os, const std::string& first, const std::string& second);

  void radios(std::ostream& os, const std::string& format, const std::string& none);
  void clients(std::ostream& os, const std::string& format, const std::string& none);
  void classes(std::ostream& os, const std::string& radio, const std::string& format);
  void model(std::ostream& os, const std::string& none, const std::string& nothing);

  /// Runs the command of the shell given as context.
  template <Answer ANSWER, int MOST_ARGUMENTS>
  static int run(ctlcmd_session* session, int argc, const char* const* argv, void* context);

  const Model& model_;
  const Associations& associations_;
  qel::daemon::Mainloop& loop_;
};

}  // namespace meshd::wifi
