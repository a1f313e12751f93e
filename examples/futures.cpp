// Does work in another thread, the one use that this runtime has for threads: the loop continues, and receives the
// result when it is ready.

#include <chrono>
#include <exception>
#include <future>
#include <iostream>

#include "qel/daemon/mainloop.h"

namespace {

unsigned count_primes(unsigned limit) {
  unsigned count = 0;
  for (unsigned number = 2; number < limit; ++number) {
    unsigned divisor = 2;
    while (divisor * divisor <= number && number % divisor != 0) {
      ++divisor;
    }
    count += divisor * divisor > number ? 1 : 0;
  }
  return count;
}

}  // namespace

int main() {
  try {
    qel::daemon::Mainloop loop("example_futures", false);
    loop.add_future(std::async(std::launch::async, count_primes, 100000U), [&](std::future<unsigned> primes) {
      std::cout << primes.get() << " primes below 100000\n";  // get() rethrows an exception from the work
      loop.finish();
    });
    std::cout << loop.count_futures() << " future is pending" << std::endl;
    loop.run_until_finished();
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
