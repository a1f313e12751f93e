// Queries that end with an answer, by timeout, or because their owner is gone. The continuation is the same in all
// cases.

#include <chrono>
#include <exception>
#include <iostream>
#include <memory>
#include <string>

#include "qel/daemon/mainloop.h"
#include "qel/daemon/value_task.h"

namespace {

using Query = qel::async::ValueTask<std::string>;

void report(qel::async::Task& task) {
  std::cout << task.get_state() << ": ";
  try {
    std::cout << static_cast<Query&>(task).get() << '\n';
  } catch (const std::exception& error) {
    std::cout << error.what() << '\n';
  }
}

}  // namespace

int main() {
  using namespace std::chrono_literals;
  try {
    qel::daemon::Mainloop loop("example_tasks", false);
    Query answered;
    answered.set_timeout(1min);
    answered.then(report);
    answered.start();
    qel::time::Timer peer;  // answers late, like a slow peer
    peer.start(20ms, [&] { answered.complete("the gateway"); });

    Query silent;
    silent.set_timeout(50ms);
    silent.then([&](qel::async::Task& task) {
      report(task);
      loop.finish();
    });
    silent.start();

    auto forgotten = std::make_unique<Query>();
    forgotten->then(report);
    forgotten->start();
    forgotten.reset();

    loop.run_until_finished();
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
