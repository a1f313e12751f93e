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

/// Data rates as a driver gives them.
using BitsPerSecond = TypeWithRatio<unsigned int, std::ratio<1, 1>>;

/// How much of the maximum data rate is not in use.
struct Availability {
  std::uint16_t percentage = 0;                ///< 0 to 100; 0 when unknown as well
  std::chrono::steady_clock::time_point time;  ///< of the measurement; the clock's epoch when unknown
};

/// Measures how busy an Ethernet interface is, for the link metrics of the mesh. Pairs are of receiving, then sending.
class QEL_EXPORT EthInterfaceMonitor {
 public:
  using MaxDataRate = LastUpdated<BitsPerSecond>;

  /// Throws what EthTool throws.
  EthInterfaceMonitor(const EthTool::InterfaceName& ifname, const MaxDataRate& max_data_rate);
  EthInterfaceMonitor(EthTool eth_tool, const MaxDataRate& max_data_rate);

  /// Unset or 0 for unknown. Compared with the measured rates as a plain number, whatever their unit.
  const MaxDataRate& get_max_data_rate() const { return max_data_rate_; }
  /// Whatever its time, also one that is unset.
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
