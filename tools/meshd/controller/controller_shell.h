#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "qel/daemon/mainloop.h"
#include "tools/meshd/controller/controller.h"
#include "tools/meshd/controller/order_book.h"

namespace meshd::controller {

/// The commands of the module "CONTROLLER" in the debug shell. A command that gives an order answers "order NUMBER" at
/// once; RESULT NUMBER then answers "pending" until it tells what came of the order, and fails if the order did. Every
/// order ends by itself.
class ControllerShell {
 public:
  static constexpr const char* MODULE = "CONTROLLER";

  /// Everything is borrowed. Throws std::runtime_error if the shell does not accept the module.
  ControllerShell(Controller& controller, qel::daemon::Mainloop& loop);
  ControllerShell(const ControllerShell&) = delete;
  ControllerShell& operator=(const ControllerShell&) = delete;
  ~ControllerShell();

 private:
  using Words = std::vector<std::string>;
  /// Returns whether what it tells is a success. Throws std::invalid_argument for arguments that it does not take.
  using Answer = bool (ControllerShell::*)(std::ostream& os, const Words& words);

  bool mesh(std::ostream& os, const Words& words);
  bool steer(std::ostream& os, const Words& words);
  bool block(std::ostream& os, const Words& words);
  bool channel(std::ostream& os, const Words& words);
  bool plan(std::ostream& os, const Words& words);
  bool policy(std::ostream& os, const Words& words);
  bool ask(std::ostream& os, const Words& words);
  bool result(std::ostream& os, const Words& words);

  /// Runs the command of the shell given as context.
  template <Answer ANSWER, std::size_t FEWEST, std::size_t MOST>
  static int run(ctlcmd_session* session, int argc, const char* const* argv, void* context);

  /// Starts an order with `start`, which gets what takes the result, and answers with its number.
  template <class Start>
  bool order(std::ostream& os, const std::string& what, Start start);

  Controller& controller_;
  qel::daemon::Mainloop& loop_;
  OrderBook orders_;
};

}  // namespace meshd::controller
