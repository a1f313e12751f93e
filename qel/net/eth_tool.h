#pragma once

#include <functional>
#include <string>
#include <vector>

#include "qel/channel/data_rate_calculator.h"
#include "qel/core/export.h"
#include "qel/core/fixed_byte_buffer.h"

struct ifreq;

namespace qel {

/// An Ethernet interface seen through the kernel's ethtool ioctl. All functions that query the kernel throw like
/// issue_eth_ioctl.
class QEL_EXPORT EthTool {
 public:
  /// Without a terminating NUL.
  using InterfaceName = FixedByteBuffer<15>;

  /// Both counters are read at the same time; a counter is unset if the driver has none of that name.
  struct ByteCounters {
    ByteCounter receive;
    ByteCounter transmit;
  };

  /// Performs ioctl(socket, SIOCETHTOOL, &request) or simulates it; returns -1 and sets errno on failure.
  using Ioctl = std::function<int(int socket, ifreq& request)>;

  /// Reads the names of the statistics.
  explicit EthTool(const InterfaceName& ifname);
  EthTool(const InterfaceName& ifname, Ioctl ioctl);

  const InterfaceName& get_ifname() const { return ifname_; }

  /// `request` begins with its ETHTOOL_... command and has the layout defined in linux/ethtool.h; the answer overwrites
  /// it. Throws std::runtime_error.
  void issue_eth_ioctl(void* request) const;

  /// True if there is a carrier; there is none while the interface is administratively down.
  bool is_link_up() const;

  /// Asks the driver for the names of its statistics; empty if the driver has none.
  std::vector<std::string> get_stringset() const;

  /// Good octets received and sent. Also unset if the driver's number of statistics has changed since construction,
  /// because the names read then no longer match; create a new EthTool to read them again.
  ByteCounters get_byte_counters() const;

 private:
  InterfaceName ifname_;
  Ioctl ioctl_;
  std::vector<std::string> stringset_;
};

}  // namespace qel
