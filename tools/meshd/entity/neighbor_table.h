#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "qel/core/basic_version.h"
#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/device_information_tlv.h"
#include "qel/ieee1905_1/link_metric_tlvs.h"
#include "qel/ieee1905_1/neighbor_tlvs.h"
#include "qel/ieee1905_1/vendor/qel_blocked_interface_list_tlv.h"
#include "tools/meshd/entity/limits.h"
#include "tools/meshd/entity/token_bucket.h"

namespace meshd {

/// The questions of one kind that a neighbour was asked, by their message identifiers, as long as it may answer them.
class Questions {
 public:
  /// Of more the oldest are given up: a neighbour that is asked twice a second has four seconds for its answer.
  static constexpr std::size_t MOST = 8;

  void ask(std::uint16_t message_id);

  /// Whether one of them has this identifier. It is then answered, and so are those before it: what comes later to them
  /// would be older news.
  bool answer(std::uint16_t message_id);

 private:
  std::vector<std::uint16_t> message_ids_;  // the newest last
};

/// A way to a neighbour: from one of our interfaces to one of its own.
struct NeighborLink {
  std::size_t interface;  ///< the index of ours
  qel::MACAddress mac;    ///< of the neighbour's
  std::chrono::steady_clock::time_point last_heard;
  TokenBucket answers{ANSWERS_A_SECOND, ANSWERS_AT_ONCE};  ///< to what is asked over it

  /// A device has two questions each time that it announces itself or is told of a change, both once a second at most.
  static constexpr int ANSWERS_A_SECOND = 4;
  static constexpr int ANSWERS_AT_ONCE = 8;
};

/// Another device that was discovered, and what it told about itself.
struct Neighbor {
  qel::MACAddress al_mac;
  std::vector<NeighborLink> links;  ///< never empty
  bool is_stale = false;            ///< it said that something changed, and was not asked since
  Questions topology_questions;
  Questions link_metric_questions;

  std::optional<qel::BasicVersion> meshd_version;
  std::vector<qel::ieee1905_1::QELBlockedInterface> blocked_interfaces;  ///< of its own, as it told last
  std::optional<qel::ieee1905_1::DeviceInformationTLV> device;           ///< empty until it answered a topology query
  std::vector<qel::ieee1905_1::IEEE1905NeighborDeviceTLV> neighbors;
  std::vector<qel::ieee1905_1::TransmitterLinkMetricTLV> transmitter_metrics;
  std::vector<qel::ieee1905_1::ReceiverLinkMetricTLV> receiver_metrics;
};

/// Devices are told apart by their AL MACs. What one says about where it lives is a claim until it has told of an
/// interface there in answer to a question. No link leads to the AL MAC of another device in the table.
class NeighborTable {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  /// More links are not taken in, whoever may send.
  explicit NeighborTable(std::size_t most_links = Limits().links) : most_links_(most_links) {}

  enum class Discovery { REFRESHED, NEW_LINK, NEW_NEIGHBOR, TABLE_FULL };

  /// Whether what is known speaks against a device `al_mac` that has an interface `mac`: that is another device's AL
  /// MAC, or another device lives at `al_mac` and told so.
  bool contradicts(const qel::MACAddress& al_mac, const qel::MACAddress& mac) const;

  /// Drops the links of other devices that lead to the AL MAC of this one. What is returned is as of `expire`.
  std::vector<qel::MACAddress> drop_claims_to(const qel::MACAddress& al_mac);

  /// What `contradicts` is not to be taken in, and claims to a new device's AL MAC are to be dropped before.
  Discovery discover(const qel::MACAddress& al_mac, std::size_t interface, const qel::MACAddress& mac, TimePoint now);

  /// Room for one more link in a full table, so that who floods one interface keeps nobody out on the others. The
  /// interface with the most claims gives up the one not heard of for longest, but only if it has still no fewer than
  /// `interface` with one more. What is returned is as of `expire`, empty when there is no room.
  std::vector<qel::MACAddress> make_room(std::size_t interface);

  /// Something came from this device, if it is known, on `interface`: its links there are alive.
  void hear(const qel::MACAddress& al_mac, std::size_t interface, TimePoint now);

  /// Drops the links not heard of since `limit` and returns the AL MACs of the neighbours that lost one; one that lost
  /// its last is gone.
  std::vector<qel::MACAddress> expire(TimePoint limit);

  /// Drops the links of one of our interfaces; the same is returned.
  std::vector<qel::MACAddress> disconnect(std::size_t interface);

  /// By the AL MAC; null when there is none.
  Neighbor* find(const qel::MACAddress& al_mac);
  const Neighbor* find(const qel::MACAddress& al_mac) const;

  /// Whoever sends from there: the device with this AL MAC, else the one with such an interface; null when there is
  /// none or several are said to have it.
  Neighbor* find_sender(const qel::MACAddress& source);

  /// The link over which whoever sends from there reaches us on `interface`; null when there is none.
  NeighborLink* find_link(const qel::MACAddress& source, std::size_t interface);

  /// The neighbour that was asked this and sends from there, if any. The question is then answered.
  Neighbor* take_answer(const qel::MACAddress& source, Questions Neighbor::*questions, std::uint16_t message_id);

  /// In the order of their discovery.
  const std::vector<Neighbor>& all() const { return neighbors_; }
  std::vector<Neighbor>& all() { return neighbors_; }

 private:
  std::size_t count_links() const;
  template <class Predicate>
  std::vector<qel::MACAddress> drop(Predicate is_gone);

  std::size_t most_links_;
  std::vector<Neighbor> neighbors_;
};

}  // namespace meshd
