#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <vector>

#include "qel/core/basic_version.h"
#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/device_information_tlv.h"
#include "qel/ieee1905_1/link_metric_tlvs.h"
#include "qel/ieee1905_1/neighbor_tlvs.h"
#include "qel/ieee1905_1/vendor/qel_blocked_interface_list_tlv.h"

namespace meshd {

/// A way to a neighbour: from one of our interfaces to one of its own.
struct NeighborLink {
  std::size_t interface;  ///< the index of ours
  qel::MACAddress mac;    ///< of the neighbour's
  std::chrono::steady_clock::time_point last_heard;
};

/// Another device that was discovered, and what it told about itself.
struct Neighbor {
  qel::MACAddress al_mac;
  std::vector<NeighborLink> links;  ///< never empty
  bool is_stale = false;            ///< it said that something changed, and was not asked since

  std::optional<qel::BasicVersion> meshd_version;
  std::vector<qel::ieee1905_1::QELBlockedInterface> blocked_interfaces;  ///< of its own, as it told last
  std::optional<qel::ieee1905_1::DeviceInformationTLV> device;           ///< empty until it answered a topology query
  std::vector<qel::ieee1905_1::IEEE1905NeighborDeviceTLV> neighbors;
  std::vector<qel::ieee1905_1::TransmitterLinkMetricTLV> transmitter_metrics;
  std::vector<qel::ieee1905_1::ReceiverLinkMetricTLV> receiver_metrics;
};

class NeighborTable {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  /// More are not taken in, whoever may send: an answer about this many links fits a frame.
  static constexpr std::size_t MAX_LINKS = 16;

  enum class Discovery { REFRESHED, NEW_LINK, NEW_NEIGHBOR, TABLE_FULL };

  Discovery discover(const qel::MACAddress& al_mac, std::size_t interface, const qel::MACAddress& mac, TimePoint now);

  /// Room for one more link in a full table, so that who floods one interface keeps nobody out on the others. A link is
  /// a claim until the device at its end has told of the interface there. The interface with the most claims gives up
  /// the one not heard of for longest, but only if it has still no fewer than `interface` with one more. What is
  /// returned is as of `expire`, empty when there is no room.
  std::vector<qel::MACAddress> make_room(std::size_t interface);

  /// Something came from `source`, an AL MAC or an interface's, on `interface`: the links that lead there are alive.
  void hear(const qel::MACAddress& source, std::size_t interface, TimePoint now);

  /// Drops the links not heard of since `limit` and returns the AL MACs of the neighbours that lost one; one that lost
  /// its last is gone.
  std::vector<qel::MACAddress> expire(TimePoint limit);

  /// Drops the links of one of our interfaces; the same is returned.
  std::vector<qel::MACAddress> disconnect(std::size_t interface);

  /// By the AL MAC; null when there is none.
  Neighbor* find(const qel::MACAddress& al_mac);
  const Neighbor* find(const qel::MACAddress& al_mac) const;

  /// By the AL MAC or the address of an interface, whichever a device sends from.
  Neighbor* find_sender(const qel::MACAddress& source);

  /// In the order of their discovery.
  const std::vector<Neighbor>& all() const { return neighbors_; }
  std::vector<Neighbor>& all() { return neighbors_; }

 private:
  std::size_t count_links() const;
  template <class Predicate>
  std::vector<qel::MACAddress> drop(Predicate is_gone);

  std::vector<Neighbor> neighbors_;
};

}  // namespace meshd
