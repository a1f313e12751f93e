#pragma once

#include <string>
#include <vector>

#include "tools/meshctl/opclass.h"

namespace meshctl {

enum class Verb {
  LIST,
  EXEC,
  SHELL,
  LOG,
  EVENTS,
  TOPOLOGY,
  RADIOS,
  CLIENTS,
  OPCLASS,
  CLASSES,
  WEB,
  // Of a controller.
  MESH,
  STEER,
  BLOCK,
  CHANNEL,
  PLAN,
  POLICY,
  ASK
};

/// What a controller is to do; texts as the user wrote them.
struct ControllerRequest {
  std::string client;             ///< STEER, BLOCK, ASK
  std::string bssid;              ///< STEER, ASK
  std::vector<std::string> from;  ///< BLOCK: BSSIDs; empty for the default
  long seconds = 60;              ///< BLOCK
  std::string radio;              ///< CHANNEL
  long channel = 0;
  std::string width = "20";
  std::string agent;  ///< ASK
  std::string what;
  bool is_open = false;      ///< STEER: other access points still accept the client
  bool is_applied = false;   ///< PLAN
  bool is_reloaded = false;  ///< POLICY
};

struct Options {
  Verb verb = Verb::LIST;
  std::string name;                ///< of the daemon; empty for LIST and OPCLASS, and to select the only one running
  std::vector<std::string> words;  ///< EXEC: of the command, unchanged
  bool follow = false;             ///< LOG: wait for further lines
  bool json = false;               ///< EVENTS, RADIOS, CLIENTS, CLASSES, and those of a controller
  bool watch = false;              ///< RADIOS, CLIENTS, MESH: again and again
  std::string radio;               ///< CLASSES: its name
  std::string format = "TEXT";     ///< TOPOLOGY: the name of the format in the daemon
  std::string html_file;           ///< TOPOLOGY: where to write the page; empty for none
  std::string listen = "127.0.0.1:1905";  ///< WEB: address and port
  bool allows_actions = false;            ///< WEB
  OpclassQuery opclass;                   ///< OPCLASS
  ControllerRequest request;              ///< of a controller
  std::string notice;                     ///< the help or the version if it was requested; nothing else is to be done
};

/// Throws tools::UsageError.
Options parse_options(int argc, const char* const* argv);

}  // namespace meshctl
