#include "qel/daemon/ctlcmd_shell.h"

#include <array>
#include <stdexcept>
#include <utility>

#include "ctlcmd.h"

namespace qel::daemon {

struct Ctlcmd::Listen {
  std::array<ctlcmd_command, 4> commands{{
      {"HELP", ctlcmd_help, "show help"},
      {"SLABDUMP", ctlcmd_slabdump, "show slab allocation"},
      {"SLABSHOW", ctlcmd_slabshow, "show slab information"},
      {"QUIT", ctlcmd_quit, "disconnect"},
  }};
  ctlcmd_table table{commands.data(), commands.size()};
};

namespace {

void retire(CtlcmdModule& module) {
  module.stop();
  module.set_valid(false);
}

}  // namespace

// NOLINTNEXTLINE(performance-unnecessary-value-param): the signature is given
Ctlcmd::Ctlcmd(std::shared_ptr<qelipc> ipc_endpoint, std::string name)
    : ipc_endpoint_(std::move(ipc_endpoint)), listen_(std::make_unique<Listen>()) {
  if (!ipc_endpoint_) {
    throw std::invalid_argument("_ipc_endpoint contains a nullptr");
  }
  if (const int error = ctlcmd_listen_start(ipc_endpoint_.get(), name.c_str(), &listen_->table); error != 0) {
    throw std::runtime_error("ctlcmd_listen_start() failed with error code " + std::to_string(error));
  }
}

Ctlcmd::~Ctlcmd() {
  for (const auto& [name, module] : modules_) {
    retire(*module);
  }
}

std::shared_ptr<CtlcmdModule> Ctlcmd::create_module(const std::string& name, void* context) {
  remove_module(name);
  auto module = std::make_shared<CtlcmdModule>(name, context);
  module->set_valid(true);
  modules_[name] = module;
  return module;
}

std::shared_ptr<CtlcmdModule> Ctlcmd::get_module(const std::string& name) const {
  const auto found = modules_.find(name);
  return found == modules_.end() ? nullptr : found->second;
}

bool Ctlcmd::remove_module(const std::string& name) {
  const auto found = modules_.find(name);
  if (found == modules_.end()) {
    return false;
  }
  retire(*found->second);
  modules_.erase(found);
  return true;
}

bool Ctlcmd::send_command(const std::string& module, const std::string& command) {
  const int result = ctlcmd_docommand(module.c_str(), command.c_str());
  return result == 0 || result == CTLCMD_CLOSED;
}

}  // namespace qel::daemon
