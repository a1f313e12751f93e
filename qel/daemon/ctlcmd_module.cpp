#include "qel/daemon/ctlcmd_module.h"

#include <stdexcept>
#include <utility>

#include "ctlcmd.h"

namespace qel::daemon {

CtlcmdModule::CtlcmdModule(std::string name, void* context) : name_(std::move(name)), context_(context) {}

CtlcmdModule::~CtlcmdModule() { stop(); }

void CtlcmdModule::add_command(const std::string& name, Handler handler, const std::string& help) {
  if (started_) {
    throw std::logic_error("commands cannot be added to a started module");
  }
  commands_.push_back({name, handler, help});
}

bool CtlcmdModule::start() {
  if (started_) {
    return true;
  }
  table_.clear();
  for (const Command& command : commands_) {
    table_.push_back({command.name.c_str(), command.handler, command.help.c_str()});
  }
  if (ctlcmd_register_library(name_.c_str(), table_.data(), table_.size()) != 0) {
    return false;
  }
  if (ctlcmd_module_set_ctx(name_.c_str(), context_) != 0) {
    ctlcmd_unregister_library(name_.c_str());
    return false;
  }
  started_ = true;
  return true;
}

void CtlcmdModule::stop() {
  if (started_) {
    ctlcmd_unregister_library(name_.c_str());
    started_ = false;
  }
}

}  // namespace qel::daemon
