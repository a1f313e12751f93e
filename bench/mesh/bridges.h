#pragma once

#include <cstddef>
#include <vector>

#include "bench/mesh/shape.h"

namespace meshd::simulation {

/// The way of a frame to one device, along the spanning tree of the cables. The bridges have learned all addresses.
class Bridges {
 public:
  struct Way {
    bool arrives = false;
    std::size_t last_cable = 0;        ///< over which it arrives
    std::vector<std::size_t> bridges;  ///< that forward it
  };

  /// Builds the tree of the cables that are plugged in, with device 0 as its root.
  void plan(std::size_t devices, const std::vector<Cable>& cables, const std::vector<bool>& plugged_in);

  /// The way of a frame that `sender` puts on a cable, even if its own bridge would have chosen another. Valid until
  /// the next call.
  const Way& find_way(std::size_t sender, std::size_t cable, std::size_t destination);

 private:
  struct Place {
    std::size_t root;
    std::size_t parent;
    std::size_t cable;  // to the parent
    std::size_t depth;
  };

  bool is_in_tree(std::size_t cable) const;

  std::vector<Cable> cables_;
  std::vector<Place> places_;  // of the devices
  Way way_;
};

}  // namespace meshd::simulation
