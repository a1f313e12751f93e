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

/// The type of a maximum data rate. Do not rely on its unit: EthInterfaceMonitor compares plain numbers.
using BitsPerSecond = TypeWithRatio<unsigned int, std::ratio<1, 1>>;

/// The unused share of the maximum data rate.
struct Availability {
  std::uint16_t percentage = 0;                ///< 0 to 100; also 0 if unknown
  std::chrono::steady_clock::time_point time;  ///< time of the measurement; the clock's epoch if unknown
};

/// Measures how busy an Ethernet interface is, for the mesh's link metrics. Pairs are in the order receive, send.
///
/// The maximum data rate is compared by number with the measured rates, which are octets per second. So for a 1 Gb/s
/// link, use 125 million; 25 million octets per second then leave 80 % available:
///
///     const EthInterfaceMonitor::MaxDataRate maximum(BitsPerSecond(125000000));
///     EthInterfaceMonitor monitor(EthTool::InterfaceName("lan1"), maximum);
class QEL_EXPORT EthInterfaceMonitor {
 public:
  using MaxDataRate = LastUpdated<BitsPerSecond>;

  /// Throws like EthTool.
  EthInterfaceMonitor(const EthTool::InterfaceName& ifname, const MaxDataRate& max_data_rate);
  EthInterfaceMonitor(EthTool eth_tool, const MaxDataRate& max_data_rate);

  /// Unset or 0 if unknown.
  const MaxDataRate& get_max_data_rate() const { return max_data_rate_; }
  /// Replaces the value regardless of timestamps.
  void set_max_data_rate(const MaxDataRate& max_data_rate) { max_data_rate_ = max_data_rate; }

  /// Measures since the last update. Throws like EthTool, and then changes nothing.
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
