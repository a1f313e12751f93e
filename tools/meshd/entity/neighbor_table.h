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

  /// What the neighbour says of the interface that a discovery claimed for it.
  enum class Standing : std::uint8_t {
    CLAIMED,    ///< nothing yet: it was not asked, or did not answer
    PROVEN,     ///< it told of the interface when it was asked
    WITHDRAWN,  ///< it told of others only
  };

  std::size_t interface;  ///< the index of ours
  qel::MACAddress mac;    ///< of the neighbour's
  TimePoint last_heard;
  TimePoint last_discovered;
  Standing standing = Standing::CLAIMED;
  bool is_bridged = true;          ///< there are bridges in between, as far as we know
  TimePoint unbridged_until = {};  ///< while it is not bridged: so long we believe it
  AskerLimit answers = {};         ///< to what is asked over it
};

/// Another device that was discovered.
struct Neighbor {
  qel::MACAddress al_mac;
  std::vector<NeighborLink> links;  ///< never empty

  /// The one that was heard of last.
  const NeighborLink& best_link() const;
};

/// Devices are told apart by their AL MACs. What one says about where it lives is a claim until it has told of an
/// interface there in answer to a question. No link leads to the AL MAC of another device in the table.
class NeighborTable {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  enum class Discovery { REFRESHED, NEW_LINK, NEW_NEIGHBOR, TABLE_FULL };

  /// More links are not taken in, whoever may send.
  explicit NeighborTable(std::size_t most_links = Limits().links) : most_links_(most_links) {}

  /// Whether what is known speaks against a device `al_mac` that has an interface `mac`: that is another device's AL
  /// MAC, or another device lives at `al_mac` and told so.
  bool contradicts(const qel::MACAddress& al_mac, const qel::MACAddress& mac) const;

  /// Drops the links of other devices that lead to the AL MAC of this one. What is returned is as of `expire`.
  std::vector<qel::MACAddress> drop_claims_to(const qel::MACAddress& al_mac);

  /// What `contradicts` is not to be taken in, and claims to a new device's AL MAC are to be dropped before.
  Discovery discover(const qel::MACAddress& al_mac, std::size_t interface, const qel::MACAddress& mac, TimePoint now);

  /// The neighbour told about its interfaces: its links are proven or withdrawn.
  void prove(const qel::MACAddress& al_mac, const ToldByDevice& told);

  /// Room for one more link in a full table, so that who floods one interface keeps nobody out on the others. The
  /// interface with the most claims gives up the one not heard of for longest, but only if it has still no fewer than
  /// `interface` with one more. When there is none, the interface with the most links gives up such a one, a claim
  /// first, if it has more than its equal share of the table; but only for the first claim on `interface`, so that
  /// claims alone displace few that are proven. What is returned is as of `expire`, empty when there is no room.
  std::vector<qel::MACAddress> make_room(std::size_t interface);

  /// Something came from this device, if it is known, on `interface`: its links there are alive. A bridge may have
  /// forwarded it from elsewhere, so that this holds for a while only when no discovery comes.
  void hear(const qel::MACAddress& al_mac, std::size_t interface, TimePoint now);

  /// What no bridge forwards came over a link and holds until then; nothing when it withdraws what came before.
  /// Returns whether we thought otherwise.
  bool hear_unbridged(const qel::MACAddress& al_mac, std::size_t interface, const qel::MACAddress& mac,
                      std::optional<TimePoint> until);

  /// Drops the links not heard of for `hold_time`, or not discovered for three of them or three announcements of a
  /// device with the usual interval, whichever is longer. Returns the AL MACs of the neighbours that lost one; one that
  /// lost its last is gone.
  std::vector<qel::MACAddress> expire(TimePoint now, std::chrono::milliseconds hold_time);

  /// Takes the links for bridged for which nothing holds any more that a bridge would not forward. Returns whether
  /// there are new ones.
  bool expire_unbridged(TimePoint now);

  /// Drops the links of one of our interfaces; the same is returned.
  std::vector<qel::MACAddress> disconnect(std::size_t interface);

  /// By the AL MAC; null when there is none.
  const Neighbor* find(const qel::MACAddress& al_mac) const;

  /// Whoever sends from there: the device with this AL MAC, else the one with a link to such an interface; null when
  /// there is none or several are said to have it.
  const Neighbor* find_sender(const qel::MACAddress& source) const;

  /// The link over which whoever sends from there reaches us on `interface`; null when there is none.
  NeighborLink* find_link(const qel::MACAddress& source, std::size_t interface);

  /// Those of ours over which there are links, sorted.
  std::vector<std::size_t> interfaces() const;

  /// In the order of their AL MACs.
  const std::vector<Neighbor>& all() const { return neighbors_; }

 private:
  Neighbor* entry(const qel::MACAddress& al_mac);
  std::size_t count_links() const;
  template <class Predicate>
  std::vector<qel::MACAddress> drop(Predicate is_gone);
  /// Of the links that may go: the claim not heard of for longest, else such a proven one.
  template <class Predicate>
  std::vector<qel::MACAddress> drop_oldest(Predicate may_go);

  std::size_t most_links_;
  std::vector<Neighbor> neighbors_;
};

}  // namespace meshd
