#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "tools/meshctl/opclass.h"

namespace meshctl {

class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

enum class Verb { LIST, EXEC, SHELL, LOG, EVENTS, TOPOLOGY, OPCLASS };

struct Options {
  Verb verb = Verb::LIST;
  std::string name;                ///< of the daemon; empty for LIST and OPCLASS, and for the only one that runs
  std::vector<std::string> words;  ///< EXEC: of the command, as they were given
  bool follow = false;             ///< LOG: go on as lines come
  bool json = false;               ///< EVENTS
  std::string format = "TEXT";     ///< TOPOLOGY: as the daemon knows it
  OpclassQuery opclass;            ///< OPCLASS
  std::string notice;              ///< the help or the version when it was asked for: nothing else is to be done
};

/// Throws UsageError.
Options parse_options(int argc, const char* const* argv);

}  // namespace meshctl
