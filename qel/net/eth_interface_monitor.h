#pragma once

#include <chrono>
#include <cstdint>
#include <ratio>
#include <utility>

#include "qel/channel/data_rate_calculator.h"
#include "qel/channel/dynamic_value.h"
#include "qel/channel/type_with_ratio.h"
#include "qel/core/export.h"
#include "qel/net/eth_tool.h"

namespace qel {

/// The type of a maximum data rate. Its unit is not to be relied on: EthInterfaceMonitor compares plain numbers.
using BitsPerSecond = TypeWithRatio<unsigned int, std::ratio<1, 1>>;

/// How much of the maximum data rate is not in use.
struct Availability {
  std::uint16_t percentage = 0;                ///< 0 to 100; 0 when unknown as well
  std::chrono::steady_clock::time_point time;  ///< of the measurement; the clock's epoch when unknown
};

/// Measures how busy an Ethernet interface is, for the link metrics of the mesh. Pairs are of receiving, then sending.
///
/// The number of the maximum data rate stands beside those of the measured rates, which are octets in a second. So for
/// a link of 1 Gb/s, where 25 million octets in a second leave 80 % available, it is 125 million:
///
///     const EthInterfaceMonitor::MaxDataRate maximum(BitsPerSecond(125000000));
///     EthInterfaceMonitor monitor(EthTool::InterfaceName("lan1"), maximum);
class QEL_EXPORT EthInterfaceMonitor {
 public:
  using MaxDataRate = LastUpdated<BitsPerSecond>;

  /// Throws what EthTool throws.
  EthInterfaceMonitor(const EthTool::InterfaceName& ifname, const MaxDataRate& max_data_rate);
  EthInterfaceMonitor(EthTool eth_tool, const MaxDataRate& max_data_rate);

  /// Unset or 0 for unknown.
  const MaxDataRate& get_max_data_rate() const { return max_data_rate_; }
  /// Whatever the time of either.
  void set_max_data_rate(const MaxDataRate& max_data_rate) { max_data_rate_ = max_data_rate; }

  /// Measures since the last update. Throws what EthTool throws, and changes nothing then.
  void update();

  /// The two steps of `update`.
  void update_data_rates();
  void update_availabilities();

  std::pair<DataRate, DataRate> get_data_rates() const { return {receive_.get_data_rate(), transmit_.get_data_rate()}; }
  std::pair<Availability, Availability> get_availabilities() const { return availabilities_; }

 private:
  EthTool eth_tool_;
  MaxDataRate max_data_rate_;
  DataRateCalculator receive_;
  DataRateCalculator transmit_;
  std::pair<Availability, Availability> availabilities_;
};

}  // namespace qel
