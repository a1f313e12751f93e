// Connects two parts of a daemon that know nothing of each other, through the event bus.

#include "qel/daemon/event_bus.h"

#include <iostream>
#include <string>

#include "qel/daemon/signal.h"

namespace {

/// Known to both parts: the events of links.
struct LinkEvents final : qel::IEventModule {
  static constexpr qel::ID MODULE_ID{1};
  using IEventModule::IEventModule;
  /// The interface, and whether its link is up.
  qel::signals::Signal<const std::string&, bool> link_changed;
};

/// The part that watches interfaces.
void report_link(const std::string& interface, bool up) {
  if (auto* links = qel::EventBus::get().find_module<LinkEvents>()) {
    links->link_changed(interface, up);
  }
}

/// The part that reacts.
qel::signals::Connection discover_on_new_links() {
  return qel::EventBus::get().find_module<LinkEvents>()->link_changed.connect(
      [](const std::string& interface, bool up) {
        if (up) {
          std::cout << "topology discovery on " << interface << '\n';
        }
      });
}

}  // namespace

int main() {
  report_link("eth0", true);  // nobody is listening yet
  qel::EventBus::get().create_module<LinkEvents>();
  const qel::signals::ScopedConnection connection = discover_on_new_links();
  report_link("eth1", true);
  report_link("eth1", false);
}
