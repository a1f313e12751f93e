#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "qel/core/basic_version.h"
#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/device_information_tlv.h"
#include "qel/ieee1905_1/link_metric_tlvs.h"
#include "qel/ieee1905_1/neighbor_tlvs.h"
#include "qel/ieee1905_1/vendor/qel_blocked_interface_list_tlv.h"
#include "tools/meshd/entity/inquiry.h"
#include "tools/meshd/entity/token_bucket.h"

namespace meshd {

/// Whether a device tells about itself.
enum class DeviceState : std::uint8_t {
  HEARD_OF,     ///< others told of it, or it was discovered; it was not asked yet, or there is still time to answer
  ANSWERED,     ///< it answered when it was last asked
  UNREACHABLE,  ///< it did not, however often; what it told before is kept
};

/// What a device told about itself in answer to our questions. The addresses of its interfaces are its local MACs.
struct ToldByDevice {
  /// Entries in all neighbour lists together; who reads an answer leaves out the rest.
  static constexpr std::size_t MOST_NEIGHBORS = 1024;

  std::string name;  ///< as it calls itself: any octets; empty when it does not say
  std::optional<qel::BasicVersion> meshd_version;
  std::vector<qel::ieee1905_1::InterfaceInformation> interfaces;
  std::vector<qel::ieee1905_1::DeviceBridgingTuple> bridges;
  std::vector<qel::ieee1905_1::IEEE1905NeighborDeviceTLV> neighbors;
  std::vector<qel::ieee1905_1::NonIEEE1905NeighborDeviceListTLV> hosts;
  std::vector<qel::ieee1905_1::QELBlockedInterface> blocked_interfaces;
  std::vector<qel::ieee1905_1::TransmitterLinkMetricTLV> transmitter_metrics;  ///< one for each neighbour
  std::vector<qel::ieee1905_1::ReceiverLinkMetricTLV> receiver_metrics;        ///< the same

  bool has_interface(const qel::MACAddress& mac) const;
  /// Sorted, each once.
  std::vector<qel::MACAddress> neighbor_al_macs() const;

  /// Octets of memory that the lists take.
  std::size_t cost() const;
};

/// Another device of the mesh.
struct Device {
  using TimePoint = std::chrono::steady_clock::time_point;

  DeviceState state = DeviceState::HEARD_OF;
  unsigned int hops = 0;                ///< 1 for a neighbour; 0 when only a notification told of it
  std::size_t interface = 0;            ///< the one of ours over which it is asked first
  bool is_way_proven = false;           ///< it sent us something over that interface
  qel::MACAddress told_by;              ///< one of those nearest to us that tell of it; ours for a neighbour
  std::optional<TimePoint> noticed_at;  ///< when its last notification came
  std::optional<TimePoint> answered_at;
  ToldByDevice told;

  Inquiry inquiry;
  bool has_more_metrics = false;              ///< than the last row asked for, and that are not known
  unsigned int rows_unanswered = 0;           ///< since it answered a whole one
  std::optional<TimePoint> metrics_asked_at;  ///< when all were asked for, not only those that were missing
  unsigned int metrics_turn = 0;              ///< how often, for those that have more neighbours than a row asks for
  AskerLimit answers;                         ///< to what it asks us
  bool is_found = false;                      ///< beyond the neighbours, and the world was told
  std::uint32_t walk = 0;                     ///< the last walk that came by, see DeviceMap
};

}  // namespace meshd
