#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "qel/core/mac_address.h"
#include "tools/meshd/entity/limits.h"

namespace meshd {

struct Options {
  std::vector<std::string> interfaces;    ///< at least one, none twice
  std::optional<qel::MACAddress> al_mac;  ///< if absent, that of the last run, or one derived from an interface
  std::string state_directory;            ///< where the AL MAC is kept; empty to keep none
  std::string name = "meshd";             ///< on the IPC
  std::chrono::seconds discovery_interval{60};
  std::size_t devices = Limits().devices;  ///< beside us, at most
  bool is_agent = false;
  bool is_controller = false;
  std::string policy;                 ///< the file, with its whole path; empty for the default policy
  std::vector<std::string> backhaul;  ///< interfaces, bridges and patterns on which the agent accepts orders
  bool daemonize = false;
  std::vector<std::string> debug_components;
  std::string notice;  ///< the help or the version, if requested: print it and exit
};

/// Throws tools::UsageError.
Options parse_options(int argc, char* const* argv);

}  // namespace meshd
