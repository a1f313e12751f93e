// A heartbeat at fixed intervals, and a timer that fires once. Like all examples with a loop, it needs a running
// message bus.

#include <chrono>
#include <exception>
#include <iostream>

#include "qel/daemon/mainloop.h"
#include "qel/daemon/periodic_timer.h"
#include "qel/daemon/timer.h"

int main() {
  using namespace std::chrono_literals;
  try {
    qel::daemon::Mainloop loop("example_timers", false);
    qel::time::PeriodicTimer heartbeat;
    qel::time::Timer end;
    int beats = 0;

    heartbeat.start(50ms, [&] {
      std::cout << "beat " << ++beats << '\n';
      if (beats == 3) {
        heartbeat.stop();
        end.start(100ms, [&] { loop.finish(); });
      }
    });
    loop.run_until_finished();
    std::cout << "ended after " << beats << " beats\n";
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
