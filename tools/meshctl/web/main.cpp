#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "qel/process/signal_watch.h"
#include "qelevsock.h"
#include "tools/capabilities.h"
#include "tools/command_line.h"
#include "tools/console.h"
#include "tools/meshctl/client.h"
#include "tools/meshctl/web/feed.h"
#include "tools/meshctl/web/listen_address.h"
#include "tools/meshctl/web/page.h"
#include "tools/meshctl/web/server.h"
#include "tools/safe_text.h"

namespace meshctl::web {

namespace {

/// The loop of the platform, without an endpoint and a log: this is a tool.
class Loop {
 public:
  Loop() {
    if (evsock_init() < 0) {
      throw std::runtime_error("cannot start the event loop");
    }
  }
  Loop(const Loop&) = delete;
  Loop& operator=(const Loop&) = delete;
  ~Loop() { evsock_exit(); }
};

qel::FileDescriptor open_socket(const std::string& address) {
  try {
    return listen_on(address);
  } catch (const std::invalid_argument& error) {
    throw tools::UsageError(error.what());
  }
}

/// Serves the page of the daemon, which need not run yet, until SIGINT or SIGTERM. Prints the page's address once it
/// can be opened, with the token that allows to act.
void serve(const std::string& address, const std::string& daemon, bool allows_actions) {
  const qel::FileDescriptor socket = open_socket(address);
  // Best effort: a user other than root has no capabilities to give up.
  static_cast<void>(tools::keep_capabilities({}));
  const std::vector<int> ending{SIGTERM, SIGINT};
  const qel::daemon::BlockedSignals blocked(ending);
  const Loop loop;
  bool is_over = false;
  qel::daemon::SignalWatch signals(ending, [&is_over](int) { is_over = true; });
  signals.add_to_evsock();
  Feed feed(daemon, allows_actions);
  std::optional<Actions> actions;
  if (allows_actions) {
    actions.emplace(daemon);
  }
  const Server server(socket, feed, actions ? &*actions : nullptr);
  // Browsers keep what follows the hash sign to themselves and the page.
  tools::write_output(url_of(socket) + (actions ? "#token=" + actions->token.text() : "") + '\n');
  tools::flush_output();
  while (!is_over) {
    evsock_select_with_msecs(-1);
  }
  signals.remove_from_evsock();
}

/// Writes the page with the present state of the mesh to the file.
void save(const std::string& name, const std::string& daemon) {
  Client client;
  const Answer topology = client.command(daemon, {"mesh", "TOPOLOGY", "JSON"});
  if (topology.result != 0) {
    throw std::runtime_error(topology.text);
  }
  page::Answers answers{{"topology", tools::to_utf8(topology.text)}};
  for (const auto& [kind, module, command] :
       {std::tuple("radios", "WIFI", "RADIOS"), std::tuple("clients", "WIFI", "CLIENTS"),
        std::tuple("controller", "CONTROLLER", "MESH")}) {
    // A daemon without Wi-Fi has no such command, nor has one that is no controller.
    if (const Answer answer = client.command(daemon, {module, command, "JSON"}); answer.result == 0) {
      answers.emplace_back(kind, tools::to_utf8(answer.text));
    }
  }
  std::ofstream file(name, std::ios::binary);
  file << page::for_file(answers) << std::flush;
  if (!file) {
    throw std::runtime_error("cannot write " + name + ": " + std::strerror(errno));
  }
}

void run(const std::vector<std::string>& arguments) {
  const bool allows_actions = arguments.size() == 4 && arguments[0] == "serve" && arguments[3] == "--allow-actions";
  if ((arguments.size() != 3 && !allows_actions) || (arguments[0] != "serve" && arguments[0] != "save")) {
    throw tools::UsageError("meshctl-web is a part of meshctl, which starts it");
  }
  const std::string daemon = arguments[2].empty() ? Client().the_only_one() : arguments[2];
  arguments[0] == "serve" ? serve(arguments[1], daemon, allows_actions) : save(arguments[1], daemon);
}

int fail(const std::string& text, int status) {
  tools::complain("meshctl", text);
  return status;
}

}  // namespace

}  // namespace meshctl::web

/// meshctl starts this program: "meshctl-web serve ADDRESS:PORT NAME [--allow-actions]" or "meshctl-web save FILE
/// NAME". An empty name selects the only running daemon.
int main(int argc, char** argv) {
  try {
    meshctl::web::run({argv + std::min(argc, 1), argv + argc});
    return 0;
  } catch (const tools::UsageError& error) {
    return meshctl::web::fail(std::string(error.what()) + " (see 'meshctl --help')", 2);
  } catch (const meshctl::AmbiguousName& error) {
    return meshctl::web::fail(error.what(), 2);
  } catch (const std::exception& error) {
    return meshctl::web::fail(error.what(), 1);
  }
}
