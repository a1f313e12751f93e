#pragma once

#include <string>
#include <vector>

#include "tools/meshctl/opclass.h"

namespace meshctl {

enum class Verb { LIST, EXEC, SHELL, LOG, EVENTS, TOPOLOGY, RADIOS, CLIENTS, OPCLASS, CLASSES, WEB };

struct Options {
  Verb verb = Verb::LIST;
  std::string name;                ///< of the daemon; empty for LIST and OPCLASS, and to select the only one running
  std::vector<std::string> words;  ///< EXEC: of the command, unchanged
  bool follow = false;             ///< LOG: wait for further lines
  bool json = false;               ///< EVENTS, RADIOS, CLIENTS, CLASSES
  bool watch = false;              ///< RADIOS, CLIENTS: again and again
  std::string radio;               ///< CLASSES: its name
  std::string format = "TEXT";     ///< TOPOLOGY: the name of the format in the daemon
  std::string html_file;           ///< TOPOLOGY: where to write the page; empty for none
  std::string listen = "127.0.0.1:1905";  ///< WEB: address and port
  OpclassQuery opclass;                   ///< OPCLASS
  std::string notice;                     ///< the help or the version if it was requested; nothing else is to be done
};

/// Throws tools::UsageError.
Options parse_options(int argc, const char* const* argv);

}  // namespace meshctl
