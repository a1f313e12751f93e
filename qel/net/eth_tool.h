#pragma once

#include <functional>
#include <string>
#include <vector>

#include "qel/channel/data_rate_calculator.h"
#include "qel/core/export.h"
#include "qel/core/fixed_byte_buffer.h"

struct ifreq;

namespace qel {

/// An Ethernet interface as the kernel's ethtool ioctl shows it. All functions that ask the kernel throw what
/// issue_eth_ioctl throws.
class QEL_EXPORT EthTool {
 public:
  /// Without a final NUL.
  using InterfaceName = FixedByteBuffer<15>;

  /// Both from one moment; a counter is unset when the driver has none of its name.
  struct ByteCounters {
    ByteCounter receive;
    ByteCounter transmit;
  };

  /// ioctl(socket, SIOCETHTOOL, &request), or what stands for it: -1 and errno for a failure.
  using Ioctl = std::function<int(int socket, ifreq& request)>;

  /// Reads the string set.
  explicit EthTool(const InterfaceName& ifname);
  EthTool(const InterfaceName& ifname, Ioctl ioctl);

  const InterfaceName& get_ifname() const { return ifname_; }

  /// `request` begins with its ETHTOOL_... command and has the shape that linux/ethtool.h gives it; the answer is
  /// written over it. Throws std::runtime_error.
  void issue_eth_ioctl(void* request) const;

  /// The carrier is there, which it is not on an interface that is administratively down.
  bool is_link_up() const;

  /// Asks the driver for the names of its statistics; one that has none gives an empty set.
  std::vector<std::string> get_stringset() const;

  /// Good octets received and sent. Unset too if the driver has come to have another number of statistics, since the
  /// names that were read at construction no longer tell which is which: a new EthTool will find them.
  ByteCounters get_byte_counters() const;

 private:
  InterfaceName ifname_;
  Ioctl ioctl_;
  std::vector<std::string> stringset_;
};

}  // namespace qel
