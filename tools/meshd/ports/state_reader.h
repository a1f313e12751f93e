#pragma once

#include <chrono>
#include <map>

#include "tools/meshd/entity/local_interface.h"
#include "tools/meshd/ports/link_socket.h"

namespace meshd {

/// Asks the kernel for the state of interfaces, at most once a second for an interface that is up: more frequent
/// callers get the same state again. Whether an interface is down is always checked, never taken from memory.
class StateReader {
 public:
  /// Throws std::system_error.
  StateReader() : socket_(false) {}

  /// Takes the kernel's index of the interface, 0 for none. An interface that is gone is down and has no counts.
  InterfaceState read(unsigned int index);

  /// The interfaces have changed.
  void forget() { known_.clear(); }

 private:
  struct Known {
    std::chrono::steady_clock::time_point read_at;
    std::uint64_t sent_octets;
    InterfaceState state;
  };

  LinkSocket socket_;
  std::map<unsigned int, Known> known_;
};

}  // namespace meshd
