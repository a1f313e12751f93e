#include "tools/meshd/wifi/standards.h"

#include <optional>
#include <string>

namespace meshd::wifi {

using qel::WLANPhymode;

void Standards::refresh(const Model& model) {
  const auto is_gone = [&](const auto& entry) { return sockets_.find(entry.first) == nullptr; };
  std::erase_if(connections_, is_gone);
  std::erase_if(known_, is_gone);
  for (const auto& [number, interface] : model.get_interfaces()) {
    Control* const control = sockets_.find(number);
    if (control == nullptr) {
      continue;
    }
    qel::signals::ScopedConnection& connection = connections_[number];
    if (!connection.is_connected()) {
      connection = control->connected.connect([this, number = number](bool) { ask(number); });
    }
    ask(number);
  }
}

void Standards::ask(std::uint32_t interface) {
  if (Control* const control = sockets_.find(interface)) {
    control->request("STATUS", [this, interface](const std::optional<std::string>& reply) {
      const Control* const asked = sockets_.find(interface);
      if (reply || asked == nullptr || !asked->is_connected()) {  // else too many commands wait there
        set(interface, reply ? standard_of(*reply) : WLANPhymode::INVALID_MAX);
      }
    });
  }
}

void Standards::set(std::uint32_t interface, WLANPhymode standard) {
  if (std::exchange(known_.try_emplace(interface, WLANPhymode::INVALID_MAX).first->second, standard) != standard) {
    on_change_();
  }
}

}  // namespace meshd::wifi
