#include "qel/daemon/event_bus.h"

#include <string>

namespace qel {

IEventModule::IEventModule(CreateToken) {}

IEventModule::~IEventModule() = default;

EventBus& EventBus::get() {
  static EventBus bus;
  return bus;
}

EventBus::EventBus() = default;

EventBus::~EventBus() {
  while (!modules_.empty()) {
    modules_.extract(modules_.begin());  // taken out of the map before it is destroyed, as in remove_module
  }
}

void EventBus::add(ID id, std::unique_ptr<IEventModule> module) {
  if (!modules_.try_emplace(id, std::move(module)).second) {
    throw std::logic_error("there is an event module " + std::to_string(id.get_value()) + " already");
  }
}

IEventModule* EventBus::find_module(ID id) const {
  const auto found = modules_.find(id);
  return found == modules_.end() ? nullptr : found->second.get();
}

bool EventBus::remove_module(ID id) {
  // Taken out of the map before it is destroyed, because its destructor may use the bus.
  return !modules_.extract(id).empty();
}

}  // namespace qel
