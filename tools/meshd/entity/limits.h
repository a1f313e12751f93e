#pragma once

#include <cstddef>

namespace meshd {

/// Limits on what an entity stores, whoever sends it.
struct Limits {
  std::size_t links = 256;     ///< of our interfaces to neighbours
  std::size_t devices = 1024;  ///< in the mesh, not counting us; each takes at most 4 KiB of memory on average
};

}  // namespace meshd
