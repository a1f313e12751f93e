#include "tools/meshd/debug_shell.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <ostream>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "qel/core/text.h"
#include "tools/meshd/shell_answer.h"
#include "tools/meshd/shell_module.h"
#include "tools/meshd/view/topology_view.h"

namespace meshd {

namespace {

/// The formats of TOPOLOGY; the first is the default.
constexpr std::pair<std::string_view, decltype(&print_text)> FORMATS[] = {
    {"TEXT", print_text}, {"BRIEF", print_brief_text}, {"JSON", print_json}, {"DOT", print_dot}};

std::string list_formats() {
  std::string text;
  for (const auto& [name, print] : FORMATS) {
    text.append(text.empty() ? "" : ", ").append(name);
  }
  return text;
}

}  // namespace

template <DebugShell::Answer ANSWER, bool HAS_ARGUMENT>
int DebugShell::run(ctlcmd_session* session, int argc, const char* const* argv, void* context) {
  return answer(session, [&](std::ostream& os) {
    if (argc > (HAS_ARGUMENT ? 2 : 1)) {
      throw std::invalid_argument("too many arguments");
    }
    (static_cast<DebugShell*>(context)->*ANSWER)(os, argc > 1 ? argv[1] : "");
  });
}

DebugShell::DebugShell(Entity& entity, const LocalPorts& ports, const Roles& roles, qel::daemon::Mainloop& loop)
    : entity_(entity), ports_(ports), roles_(roles), loop_(loop) {
  const struct {
    const char* name;
    qel::daemon::CtlcmdModule::Handler handler;
    std::string help;
  } commands[] = {
      {"TOPOLOGY", run<&DebugShell::topology, true>,
       "show the known mesh; formats: " + list_formats() + "; default: " + std::string(FORMATS[0].first)},
      {"NEIGHBORS", run<&DebugShell::neighbors, false>, "show the links to neighbors and when they were last heard"},
      {"INTERFACES", run<&DebugShell::interfaces, false>, "show the interfaces and their counters"},
      {"COUNTERS", run<&DebugShell::counters, false>, "show how received frames were handled"},
      {"ROLES", run<&DebugShell::roles, false>, "show whether this is an agent or a controller, and which is obeyed"},
      {"BLOCK", run<&DebugShell::block, true>, "neither send nor receive on this interface until it is unblocked"},
      {"UNBLOCK", run<&DebugShell::unblock, true>, "use this interface again"},
  };
  start_module(loop_, MODULE, this, commands);
}

DebugShell::~DebugShell() { loop_.remove_ctlcmd_module(MODULE); }

void DebugShell::topology(std::ostream& os, const std::string& format) {
  const std::string name = format.empty() ? std::string(FORMATS[0].first) : qel::to_upper(format);
  const auto* const place = std::ranges::find(FORMATS, name, [](const auto& row) { return row.first; });
  if (place == std::end(FORMATS)) {
    throw std::invalid_argument("the formats are " + list_formats());
  }
  std::ifstream names("/etc/ethers");
  place->second(os, view_topology(loop_.get_name(), entity_, std::chrono::steady_clock::now(), read_names(names)));
}

void DebugShell::neighbors(std::ostream& os, const std::string&) {
  const auto now = std::chrono::steady_clock::now();
  for (const Neighbor& neighbor : entity_.neighbors().all()) {
    for (const NeighborLink& link : neighbor.links) {
      os << neighbor.al_mac << ' ' << link.mac << " on " << entity_.config().interfaces[link.interface].name
         << ", last heard " << std::chrono::duration_cast<std::chrono::milliseconds>(now - link.last_heard).count()
         << " ms ago\n";
    }
  }
}

void DebugShell::interfaces(std::ostream& os, const std::string&) {
  const std::vector<InterfaceState> states = entity_.read_states();
  for (std::size_t index = 0; index < states.size(); ++index) {
    const LocalInterface& interface = entity_.config().interfaces[index];
    const InterfaceState& state = states[index];
    if (!interface.is_there()) {
      continue;
    }
    os << interface.name << ' ' << interface.mac << (state.up ? " up, " : " down, ") << state.speed
       << " Mb/s, received " << state.received_packets << " packets with " << state.receive_errors << " errors, sent "
       << state.sent_packets << " packets with " << state.send_errors << " errors, dropped " << state.dropped
       << " frames";
    if (!interface.bridge.empty()) {
      os << ", in bridge " << interface.bridge;
    }
    os << (entity_.is_blocked(index) ? ", blocked\n" : "\n");
  }
}

void DebugShell::counters(std::ostream& os, const std::string&) {
  const FrameCounts counts = entity_.counts();
  for (const auto& [name, count] : FRAME_COUNTS) {
    os << name << ' ' << counts.*count << '\n';
  }
  os << "bridge_refusals " << ports_.refused() << '\n';
}

void DebugShell::roles(std::ostream& os, const std::string&) { roles_.print(os, std::chrono::steady_clock::now()); }

void DebugShell::block(std::ostream& os, const std::string& name) {
  set_blocked(name, true);
  os << name << " is blocked\n";
}

void DebugShell::unblock(std::ostream& os, const std::string& name) {
  set_blocked(name, false);
  os << name << " is not blocked\n";
}

void DebugShell::set_blocked(const std::string& name, bool blocked) {
  const std::vector<LocalInterface>& interfaces = entity_.config().interfaces;
  const auto place = std::find_if(interfaces.begin(), interfaces.end(), [&](const LocalInterface& interface) {
    return interface.is_there() && interface.name == name;
  });
  if (place == interfaces.end()) {
    throw std::invalid_argument(name.empty() ? "the name of an interface is required"
                                             : "'" + name + "' is not one of our interfaces");
  }
  entity_.set_blocked(static_cast<std::size_t>(place - interfaces.begin()), blocked);
}

}  // namespace meshd
