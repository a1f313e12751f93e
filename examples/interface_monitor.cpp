// Prints how busy an Ethernet interface is, once a second for a given number of seconds:
//
//     example_interface_monitor lan1 1000 10
//
// for an interface of 1000 Mb/s. First prints the base address of the device, if its boot environment has one. The
// rates are unknown with drivers that have no counters of the names that EthTool looks for. The loop uses the IPC, so a
// message bus must be running.

#include <chrono>
#include <exception>
#include <functional>
#include <iostream>
#include <string>

#include "qel/daemon/mainloop.h"
#include "qel/daemon/timer.h"
#include "qel/net/eth_interface_monitor.h"
#include "qel/net/mac_provisioning.h"

namespace {

void print(const char* direction, const qel::DataRate& rate, const qel::Availability& availability) {
  std::cout << direction << ": ";
  if (rate.is_set()) {
    std::cout << rate.get().value() << " octets/s, " << availability.percentage << " % available";
  } else {
    std::cout << "unknown";
  }
  std::cout << std::endl;
}

}  // namespace

int main(int argc, char** argv) {
  constexpr unsigned int OCTETS_OF_A_MEGABIT = 125000;
  if (argc != 4) {
    std::cerr << "usage: example_interface_monitor INTERFACE MEGABITS COUNT\n";
    return 2;
  }
  try {
    std::cout << "base address: " << qel::MACAProvider::get().get_mac_a() << std::endl;
  } catch (const std::exception& error) {  // no boot environment, or no address in it
    std::cout << error.what() << "; a random address: " << qel::generate_random_qel_mac_address() << std::endl;
  }
  try {
    // In the unit of the measured rates.
    const qel::BitsPerSecond maximum(static_cast<unsigned int>(std::stoul(argv[2])) * OCTETS_OF_A_MEGABIT);
    const qel::EthTool::InterfaceName name(argv[1]);
    qel::EthInterfaceMonitor monitor(name, qel::EthInterfaceMonitor::MaxDataRate(maximum));
    unsigned long expected = std::stoul(argv[3]);

    qel::daemon::Mainloop loop("interface_monitor", false);
    qel::time::Timer timer;
    const std::function<void()> measure = [&] {
      timer.start(std::chrono::seconds(1), measure);
      monitor.update();
      const auto rates = monitor.get_data_rates();
      const auto availabilities = monitor.get_availabilities();
      print("receives", rates.first, availabilities.first);
      print("sends", rates.second, availabilities.second);
      if (--expected == 0) {
        loop.finish();
      }
    };
    measure();

    auto timeout = qel::daemon::Mainloop::DEFAULT_RUN_TIMEOUT;
    while (!loop.finished()) {
      timeout = loop.run(timeout);
    }
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
