#include <linux/capability.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <memory>
#include <new>
#include <ostream>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "qel/daemon/log.h"
#include "qel/daemon/mainloop.h"
#include "qel/ieee1905_1/message.h"
#include "qel/process/signal_watch.h"
#include "tools/capabilities.h"
#include "tools/command_line.h"
#include "tools/console.h"
#include "tools/meshd/memory_limit.h"
#include "tools/meshd/node.h"
#include "tools/meshd/options.h"

namespace meshd {

namespace {

using qel::daemon::Mainloop;

/// Message identifiers start at a random value, because others still remember those from before a restart.
void scatter_message_ids() {
  for (unsigned int count = std::random_device()() & 0xFFFFU; count > 0; --count) {
    qel::ieee1905_1::make_IEEE1905_1_msg_id();
  }
}

/// A turn of the loop may need more memory than the limit allows. The turn is then lost, but not the daemon.
void run_until_finished(Mainloop& loop, Node& node) {
  constexpr std::chrono::milliseconds PAUSE{10};  // unfinished work may start the next turn at once
  for (bool is_finished = false; !is_finished;) {
    try {
      loop.run_until_finished();
      is_finished = true;
    } catch (const std::bad_alloc&) {
      node.on_turn_lost();
      std::this_thread::sleep_for(PAUSE);
    }
  }
}

void run(const Options& options) {
  const std::error_code unlimited = limit_memory(options.devices, options.is_controller);
  const std::vector<int> ending{SIGTERM, SIGINT};
  const qel::daemon::BlockedSignals blocked(ending);  // to the end of the loop
  for (const std::string& component : options.debug_components) {
    qel::debug::enable(component, true);
  }
  scatter_message_ids();
  Mainloop loop(options.name, options.daemonize);
  if (options.daemonize && !loop.daemonized()) {
    throw std::runtime_error("cannot start as a daemon");
  }
  if (unlimited) {
    qel::debug::stream("meshd") << qel::debug::LogLevels::ERROR << "cannot limit the memory: " << unlimited.message()
                                << std::endl;
  }
  if (const std::error_code error = tools::keep_capabilities({CAP_NET_RAW, CAP_NET_ADMIN})) {
    qel::debug::stream("meshd") << qel::debug::LogLevels::ERROR << "cannot drop capabilities: " << error.message()
                                << std::endl;
  }
  loop.add_watch(std::make_shared<qel::daemon::SignalWatch>(ending, [&loop](int) {
    qel::debug::stream("meshd") << qel::debug::LogLevels::LOG << "exiting" << std::endl;
    loop.finish();
  }));
  Node node(options, loop);
  run_until_finished(loop, node);
}

}  // namespace

}  // namespace meshd

int main(int argc, char** argv) {
  try {
    const meshd::Options options = meshd::parse_options(argc, argv);
    if (!options.notice.empty()) {
      tools::write_output(options.notice);
      tools::flush_output();
      return EXIT_SUCCESS;
    }
    meshd::run(options);
    return EXIT_SUCCESS;
  } catch (const tools::UsageError& error) {
    tools::complain("meshd", std::string(error.what()) + " (see 'meshd --help')");
    return 2;
  } catch (const std::exception& error) {
    tools::complain("meshd", error.what());
    return EXIT_FAILURE;
  }
}
