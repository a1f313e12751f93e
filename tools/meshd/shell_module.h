#pragma once

#include <stdexcept>
#include <string>

#include "qel/daemon/ctlcmd_module.h"
#include "qel/daemon/mainloop.h"

namespace meshd {

/// Starts a module of the debug shell. Each command has a name, a handler, which gets `context`, and a help text. The
/// module is to be removed before the context is gone. Throws std::runtime_error if the shell rejects the module.
template <class Commands>
void start_module(qel::daemon::Mainloop& loop, const char* module_name, void* context, const Commands& commands) {
  const auto module = loop.create_ctlcmd_module(module_name, context);
  for (const auto& [name, handler, help] : commands) {
    module->add_command(name, handler, help);
  }
  if (!module->start()) {
    loop.remove_ctlcmd_module(module_name);
    throw std::runtime_error(std::string("the debug shell rejects the module ") + module_name);
  }
}

}  // namespace meshd
