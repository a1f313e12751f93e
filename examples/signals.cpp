// Uses a signal to report neighbours that appear and disappear.

#include <iostream>
#include <string>

#include "qel/core/mac_address.h"
#include "qel/daemon/signal.h"

namespace {

class NeighborTable {
 public:
  /// The neighbour, and whether it is present.
  qel::signals::Signal<const qel::MACAddress&, bool> changed;

  void found(const qel::MACAddress& neighbor) { changed(neighbor, true); }
  void lost(const qel::MACAddress& neighbor) { changed(neighbor, false); }
};

class Display {
 public:
  explicit Display(NeighborTable& table) {
    connection_ = table.changed.connect([](const qel::MACAddress& neighbor, bool present) {
      std::cout << neighbor << (present ? " is here\n" : " is gone\n");
    });
  }
  void pause(bool paused) { connection_.block(paused); }

 private:
  /// Disconnects when the display is destroyed.
  qel::signals::ScopedConnection connection_;
};

}  // namespace

int main() {
  NeighborTable table;
  const qel::MACAddress neighbor(std::string("02:00:00:00:00:01"));
  {
    Display display(table);
    table.found(neighbor);
    display.pause(true);
    table.lost(neighbor);
    display.pause(false);
    table.found(neighbor);
  }
  std::cout << table.changed.count_slots() << " listeners are left\n";
}
