#include "qel/net/eth_interface_monitor.h"

#include <utility>

namespace qel {

namespace {

/// The number if it is known, otherwise 0.
template <class Rate>
std::uint64_t number_of(const Rate& rate) {
  return rate.is_set() ? rate.get().value() : 0;
}

Availability availability_of(const DataRate& data_rate, const EthInterfaceMonitor::MaxDataRate& max_data_rate) {
  const std::uint64_t rate = number_of(data_rate);
  const std::uint64_t max_rate = number_of(max_data_rate);
  // An interface without traffic is treated like one whose driver does not report it.
  if (rate == 0 || max_rate == 0) {
    return {};
  }
  const std::uint64_t unused = rate < max_rate ? max_rate - rate : 0;
  return {static_cast<std::uint16_t>(unused * 100 / max_rate), std::chrono::steady_clock::now()};
}

}  // namespace

EthInterfaceMonitor::EthInterfaceMonitor(const EthTool::InterfaceName& ifname, const MaxDataRate& max_data_rate)
    : EthInterfaceMonitor(EthTool(ifname), max_data_rate) {}

EthInterfaceMonitor::EthInterfaceMonitor(EthTool eth_tool, const MaxDataRate& max_data_rate)
    : eth_tool_(std::move(eth_tool)), max_data_rate_(max_data_rate) {}

void EthInterfaceMonitor::update() {
  update_data_rates();
  update_availabilities();
}

void EthInterfaceMonitor::update_data_rates() {
  // For a link that is down, the counters are zero at time zero, that is, unset. A reading of 0 would look like a wrap
  // to the calculators, and the return of the link like a jump forwards.
  EthTool::ByteCounters counters;
  if (eth_tool_.is_link_up()) {
    counters = eth_tool_.get_byte_counters();
  }
  receive_.update(counters.receive);
  transmit_.update(counters.transmit);
}

void EthInterfaceMonitor::update_availabilities() {
  availabilities_ = {availability_of(receive_.get_data_rate(), max_data_rate_),
                     availability_of(transmit_.get_data_rate(), max_data_rate_)};
}

}  // namespace qel
