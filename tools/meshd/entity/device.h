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

/// Whether a device reports itself.
enum class DeviceState : std::uint8_t {
  HEARD_OF,     ///< others reported it, or it was discovered; it has not been queried yet, or may still answer
  ANSWERED,     ///< it answered the last query
  UNREACHABLE,  ///< it did not answer, even when queried again; what it reported before is kept
};

/// What a device reported about itself in response to our queries. The addresses of its interfaces are its local MACs.
struct ToldByDevice {
  /// Limit on the entries of all neighbour lists together; the rest of a response is ignored.
  static constexpr std::size_t MOST_NEIGHBORS = 1024;

  std::string name;  ///< as it calls itself: any octets; empty if not reported
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

  /// The octets of memory that the lists take.
  std::size_t cost() const;

  /// Leaves out entries of the neighbour lists beyond the first `most`.
  void limit_neighbors(std::size_t most);

  /// Leaves out what exceeds this number of octets: the hosts first, then the metrics, then neighbours one by one, and
  /// interfaces only if they alone exceed it. Returns whether anything was left out.
  bool fit_into(std::size_t octets);
};

/// Another device of the mesh.
struct Device {
  using TimePoint = std::chrono::steady_clock::time_point;

  DeviceState state = DeviceState::HEARD_OF;
  unsigned int hops = 0;       ///< 1 for a neighbour; 0 if known only from its notification
  std::size_t interface = 0;   ///< our interface over which it is queried first
  bool is_way_proven = false;  ///< it has sent us something over that interface
  qel::MACAddress told_by;  ///< the AL MAC of a device that reports it, among those nearest to us; ours for a neighbour
  std::optional<TimePoint> noticed_at;  ///< when its last notification came
  std::optional<TimePoint> answered_at;
  ToldByDevice told;
  bool is_truncated = false;  ///< it reported more than there was memory for

  Inquiry inquiry;
  std::size_t rows_left = 0;         ///< sequences that may follow soon, so that each neighbour is asked about once
  bool has_more_metrics = false;     ///< unknown ones that the last sequence did not ask for
  unsigned int rows_unanswered = 0;  ///< sequences since it last answered a whole one
  std::optional<TimePoint> metrics_asked_at;  ///< when all were asked for, not only missing ones
  unsigned int metrics_turn = 0;  ///< how many times, for a device with more neighbours than a sequence asks for
  AskerLimit answers;             ///< the limit on responses to it
  bool is_found = false;          ///< it is beyond the neighbours and was announced as found
  std::optional<TimePoint> scheduled_for;  ///< its place in the agenda of the map
  std::uint32_t walk = 0;                  ///< the last walk that met it; see DeviceMap
};

}  // namespace meshd
