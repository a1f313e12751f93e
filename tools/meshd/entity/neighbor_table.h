#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "qel/core/mac_address.h"
#include "tools/meshd/entity/device.h"
#include "tools/meshd/entity/limits.h"
#include "tools/meshd/entity/token_bucket.h"

namespace meshd {

/// A way to a neighbour: from one of our interfaces to one of its own.
struct NeighborLink {
  using TimePoint = std::chrono::steady_clock::time_point;

  /// Whether the neighbour confirms the interface that a discovery claimed for it.
  enum class Standing : std::uint8_t {
    CLAIMED,    ///< not yet: it was not asked, or did not answer
    PROVEN,     ///< it reported the interface when it was asked
    WITHDRAWN,  ///< it reported only other interfaces
  };

  std::size_t interface;  ///< the index of ours
  qel::MACAddress mac;    ///< of the neighbour's
  TimePoint last_heard;
  TimePoint last_discovered;
  Standing standing = Standing::CLAIMED;
  bool is_bridged = true;          ///< as far as we know, there are bridges on the link
  TimePoint unbridged_until = {};  ///< if not bridged, when this expires unless confirmed
  AskerLimit answers = {};         ///< the limit on responses over this link
};

/// Another device that was discovered.
struct Neighbor {
  qel::MACAddress al_mac;
  std::vector<NeighborLink> links;  ///< never empty

  /// The most recently heard one.
  const NeighborLink& best_link() const;
};

/// Devices are identified by their AL MACs. A discovery only claims a link; the link is proven once the device has
/// reported the interface in a response to a query. No link leads to the AL MAC of another device in the table.
class NeighborTable {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  enum class Discovery { REFRESHED, NEW_LINK, NEW_NEIGHBOR, TABLE_FULL };

  /// The table never holds more than `most_links` links.
  explicit NeighborTable(std::size_t most_links = Limits().links) : most_links_(most_links) {}

  /// Whether the table contradicts a device `al_mac` with an interface `mac`: `mac` is the AL MAC of another device, or
  /// another device has proven an interface `al_mac`.
  bool contradicts(const qel::MACAddress& al_mac, const qel::MACAddress& mac) const;

  /// Drops the links of other devices that lead to the AL MAC of this one. Returns the same as expire().
  std::vector<qel::MACAddress> drop_claims_to(const qel::MACAddress& al_mac);

  /// Call this only if contradicts() is false, and for a new device after drop_claims_to().
  Discovery discover(const qel::MACAddress& al_mac, std::size_t interface, const qel::MACAddress& mac, TimePoint now);

  /// The neighbour has reported its interfaces: marks its links as proven or withdrawn.
  void prove(const qel::MACAddress& al_mac, const ToldByDevice& told);

  /// Makes room for one more link in a full table, so that a flood on one interface does not keep neighbours on others
  /// out. The interface with the most claims gives up the claim not heard from for longest, provided that it still has
  /// no fewer claims than `interface` with one more. If that fails, the interface with the most links gives up a link,
  /// claims first, provided that it has more than an equal share of the table. This happens only for the first claim on
  /// `interface`, so that claims alone displace few proven links. Returns the same as expire(); empty if there is no
  /// room.
  std::vector<qel::MACAddress> make_room(std::size_t interface);

  /// A frame from this device came on `interface`: if it is known, its links there are alive. A bridge may have
  /// forwarded the frame from elsewhere, so without discoveries this keeps a link only for a while.
  void hear(const qel::MACAddress& al_mac, std::size_t interface, TimePoint now);

  /// A frame that no bridge forwards came over a link. It shows that the link has no bridges `until` then; without a
  /// time, it withdraws that. Returns whether this changes what was known.
  bool hear_unbridged(const qel::MACAddress& al_mac, std::size_t interface, const qel::MACAddress& mac,
                      std::optional<TimePoint> until);

  /// Drops the links not heard from for `hold_time`, and those not discovered for three hold times, or for 180 s if
  /// that is longer. Returns the AL MACs of the neighbours that lost a link; a neighbour without links is gone.
  std::vector<qel::MACAddress> expire(TimePoint now, std::chrono::milliseconds hold_time);

  /// Marks links as bridged once the proof that they are not has expired. Returns whether there were any.
  bool expire_unbridged(TimePoint now);

  /// Drops the links of one of our interfaces. Returns the same as expire().
  std::vector<qel::MACAddress> disconnect(std::size_t interface);

  /// Finds a device by its AL MAC; null if there is none.
  const Neighbor* find(const qel::MACAddress& al_mac) const;

  /// The device that sends from this address: the one with this AL MAC, else the one with a link to such an interface.
  /// Null if there is none, or if several claim the interface.
  const Neighbor* find_sender(const qel::MACAddress& source) const;

  /// The link over which the device that sends from this address reaches `interface`; null if there is none.
  NeighborLink* find_link(const qel::MACAddress& source, std::size_t interface);

  /// Our interfaces that have links, sorted.
  std::vector<std::size_t> interfaces() const;

  /// Sorted by AL MAC.
  const std::vector<Neighbor>& all() const { return neighbors_; }

 private:
  Neighbor* entry(const qel::MACAddress& al_mac);
  std::size_t count_links() const;
  template <class Predicate>
  std::vector<qel::MACAddress> drop(Predicate is_gone);
  /// Of the links that may go, drops the claim not heard from for longest, or if there is no claim, such a proven link.
  template <class Predicate>
  std::vector<qel::MACAddress> drop_oldest(Predicate may_go);

  std::size_t most_links_;
  std::vector<Neighbor> neighbors_;
};

}  // namespace meshd
