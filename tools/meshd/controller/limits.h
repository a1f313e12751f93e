#pragma once

#include <chrono>
#include <cstddef>

namespace meshd::controller {

/// What the controller keeps of what others report, at most. Reports of more are ignored.
struct Limits {
  std::size_t agents = 256;
  std::size_t radios = 8;        ///< of an agent
  std::size_t bss = 32;          ///< of a radio
  std::size_t clients = 16384;   ///< in the mesh
  std::size_t heard = 32;        ///< BSSs that one client hears
  std::size_t departed = 2048;   ///< clients that are nowhere now
  std::size_t octets = 2048;     ///< of one fact: an association request, the preferences or capabilities of a radio
  std::size_t controllers = 16;  ///< others

  std::chrono::seconds memory{900};       ///< of lost agents, departed clients and other controllers
  std::chrono::seconds longest_age{600};  ///< of what clients hear
};

}  // namespace meshd::controller
