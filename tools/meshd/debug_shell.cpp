#include "tools/meshd/debug_shell.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "ctlcmd.h"
#include "qel/core/text.h"
#include "tools/meshd/view/topology_view.h"

namespace meshd {

namespace {

/// Runs one command of the shell given as context, and answers why it fails.
template <class Answer>
int answer(ctlcmd_session* session, int argc, int most_arguments, void* context, Answer&& make_answer) {
  try {
    if (argc - 1 > most_arguments) {
      throw std::invalid_argument("too many arguments");
    }
    const std::string text = make_answer(*static_cast<DebugShell*>(context));
    ctlcmd_printf(session, "%s", text.c_str());
    return 0;
  } catch (const std::exception& exception) {
    ctlcmd_printf(session, "%s\n", exception.what());
    return CTLCMD_FAILED;
  }
}

int on_topology(ctlcmd_session* session, int argc, const char* const* argv, void* context) {
  return answer(session, argc, 1, context,
                [&](const DebugShell& shell) { return shell.topology(argc > 1 ? argv[1] : "TEXT"); });
}

int on_neighbors(ctlcmd_session* session, int argc, const char* const*, void* context) {
  return answer(session, argc, 0, context, [](const DebugShell& shell) { return shell.neighbors(); });
}

int on_interfaces(ctlcmd_session* session, int argc, const char* const*, void* context) {
  return answer(session, argc, 0, context, [](const DebugShell& shell) { return shell.interfaces(); });
}

int on_counters(ctlcmd_session* session, int argc, const char* const*, void* context) {
  return answer(session, argc, 0, context, [](const DebugShell& shell) { return shell.counters(); });
}

int on_set_blocked(ctlcmd_session* session, int argc, const char* const* argv, void* context, bool blocked) {
  return answer(session, argc, 1, context, [&](DebugShell& shell) {
    if (argc < 2) {
      throw std::invalid_argument("which interface?");
    }
    return shell.set_blocked(argv[1], blocked);
  });
}

int on_block(ctlcmd_session* session, int argc, const char* const* argv, void* context) {
  return on_set_blocked(session, argc, argv, context, true);
}

int on_unblock(ctlcmd_session* session, int argc, const char* const* argv, void* context) {
  return on_set_blocked(session, argc, argv, context, false);
}

}  // namespace

DebugShell::DebugShell(Entity& entity, const LocalPorts& ports, qel::daemon::Mainloop& loop)
    : entity_(entity), ports_(ports), loop_(loop) {
  const auto module = loop_.create_ctlcmd_module(MODULE, this);
  module->add_command("TOPOLOGY", on_topology, "show what is known of the mesh: TEXT (default), BRIEF, JSON or DOT");
  module->add_command("NEIGHBORS", on_neighbors, "show the links to neighbors and when they were heard of");
  module->add_command("INTERFACES", on_interfaces, "show our interfaces");
  module->add_command("COUNTERS", on_counters, "show what became of the frames received");
  module->add_command("BLOCK", on_block, "neither send nor receive on this interface until it is unblocked");
  module->add_command("UNBLOCK", on_unblock, "use this interface again");
  if (!module->start()) {
    loop_.remove_ctlcmd_module(MODULE);
    throw std::runtime_error(std::string("the debug shell refuses the module ") + MODULE);
  }
}

DebugShell::~DebugShell() { loop_.remove_ctlcmd_module(MODULE); }

std::string DebugShell::topology(std::string format) const {
  std::ifstream names("/etc/ethers");
  const TopologyView view =
      view_topology(loop_.get_name(), entity_, std::chrono::steady_clock::now(), read_names(names));
  format = qel::to_upper(std::move(format));
  if (format == "TEXT") {
    return to_text(view);
  }
  if (format == "BRIEF") {
    return to_brief_text(view);
  }
  if (format == "JSON") {
    return to_json(view);
  }
  if (format == "DOT") {
    return to_dot(view);
  }
  throw std::invalid_argument("the formats are TEXT, BRIEF, JSON and DOT");
}

std::string DebugShell::neighbors() const {
  std::ostringstream os;
  const auto now = std::chrono::steady_clock::now();
  for (const Neighbor& neighbor : entity_.neighbors().all()) {
    for (const NeighborLink& link : neighbor.links) {
      os << neighbor.al_mac << ' ' << link.mac << " on " << entity_.config().interfaces[link.interface].name
         << ", heard of " << std::chrono::duration_cast<std::chrono::milliseconds>(now - link.last_heard).count()
         << " ms ago\n";
    }
  }
  return os.str();
}

std::string DebugShell::interfaces() const {
  std::ostringstream os;
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
  return os.str();
}

std::string DebugShell::counters() const {
  const FrameCounts counts = entity_.counts();
  std::ostringstream os;
  for (const auto& [name, count] : FRAME_COUNTS) {
    os << name << ' ' << counts.*count << '\n';
  }
  os << "bridge_refusals " << ports_.refused() << '\n';
  return os.str();
}

std::string DebugShell::set_blocked(const std::string& name, bool blocked) {
  const std::vector<LocalInterface>& interfaces = entity_.config().interfaces;
  const auto place = std::find_if(interfaces.begin(), interfaces.end(), [&](const LocalInterface& interface) {
    return interface.is_there() && interface.name == name;
  });
  if (place == interfaces.end()) {
    throw std::invalid_argument("'" + name + "' is none of our interfaces");
  }
  entity_.set_blocked(static_cast<std::size_t>(place - interfaces.begin()), blocked);
  return name + (blocked ? " is blocked\n" : " is not blocked\n");
}

}  // namespace meshd
