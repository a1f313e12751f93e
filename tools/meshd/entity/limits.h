#pragma once

#include <cstddef>

namespace meshd {

/// How much an entity takes in, whoever may send.
struct Limits {
  std::size_t links = 256;     ///< of our interfaces to neighbours
  std::size_t devices = 1024;  ///< in the mesh beside us; one takes 4 KiB of memory at most, on average
};

}  // namespace meshd
