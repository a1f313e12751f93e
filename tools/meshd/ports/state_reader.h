#pragma once

#include <chrono>
#include <map>

#include "tools/meshd/entity/local_interface.h"
#include "tools/meshd/ports/link_socket.h"

namespace meshd {

/// Asks the kernel how interfaces are. One that works is asked about once a second at most: whoever asks often gets the
/// same again. That one does not is never told from memory.
class StateReader {
 public:
  /// Throws std::system_error.
  StateReader() : socket_(false) {}

  /// By the kernel's number of the interface, 0 for none; down and without counts for one that is gone.
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
