#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/message.h"

namespace meshd {

/// Remembers the messages relayed in the last seconds, so that each is relayed only once. No message is forgotten
/// early, because it could then circulate in a ring with a slow link. A message that there is no room to remember must
/// not be relayed.
class DuplicateFilter {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  /// This time must be short because a restarted device may reuse message identifiers.
  static constexpr std::chrono::seconds MEMORY{3};

  /// Limits on the messages remembered for one interface, and for one originator on it, so that a flood leaves room for
  /// others. A message takes about 32 octets, which are freed when it is forgotten.
  static constexpr std::size_t ROOM = 1024;
  static constexpr std::size_t ROOM_OF_ORIGINATOR = ROOM / 4;

  enum class Verdict { NEW, DUPLICATE, NO_ROOM };

  /// Messages are the same if originator, message type, message identifier and fragment identifier are equal, whatever
  /// the interface. A new message is remembered if there is room. `now` never decreases.
  Verdict take(std::size_t interface, const qel::MACAddress& originator, const qel::ieee1905_1::MessageHead& head,
               TimePoint now);

  /// The number of remembered messages.
  std::size_t size() const { return entries_.size(); }

 private:
  /// Entries are numbered consecutively from 1.
  struct Entry {
    qel::MACAddress originator;
    std::uint16_t message_id;
    qel::ieee1905_1::MessageType message_type;
    std::uint8_t fragment_id;
    std::uint8_t interface;
    std::uint64_t next;  ///< an older entry with the same hash, which may be forgotten
    TimePoint time;

    bool operator==(const Entry& other) const;
    std::uint64_t hash() const;
  };

  /// The space that the messages of one interface use. Originators whose addresses have the same hash share theirs.
  struct Share {
    std::size_t count = 0;
    std::array<std::uint16_t, 256> by_originator{};

    std::uint16_t& of(const qel::MACAddress& originator);
  };

  void forget(TimePoint now);
  const Entry& at(std::uint64_t number) const { return entries_[static_cast<std::size_t>(number - first_)]; }

  std::deque<Entry> entries_;                 // the oldest first
  std::uint64_t first_ = 1;                   // the number of the first entry
  std::array<std::uint64_t, 1024> newest_{};  // by hash: numbers of entries that may be forgotten
  std::vector<Share> shares_;                 // by the numbers of the interfaces, as far as one of them was used
};

}  // namespace meshd
