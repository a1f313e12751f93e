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

/// Remembers the messages that were relayed in the last seconds, so that each is relayed once. None is forgotten before
/// its time, else it would circle in a ring of slow links; what there is no room to remember must not be relayed.
class DuplicateFilter {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  /// A device that starts again may use the same numbers again, so that the time must be short.
  static constexpr std::chrono::seconds MEMORY{3};

  /// The messages remembered of those that came on one interface, and among them from one originator: who floods leaves
  /// room for the others. A message takes some 32 octets, and the memory is given back when it is forgotten.
  static constexpr std::size_t ROOM = 1024;
  static constexpr std::size_t ROOM_OF_ORIGINATOR = ROOM / 4;

  enum class Verdict { NEW, DUPLICATE, NO_ROOM };

  /// Messages are equal in originator, message type and identifier, and fragment, on whichever interface they came. A
  /// new one is remembered if there is room. `now` never goes back.
  Verdict take(std::size_t interface, const qel::MACAddress& originator, const qel::ieee1905_1::MessageHead& head,
               TimePoint now);

  /// The messages remembered.
  std::size_t size() const { return entries_.size(); }

 private:
  /// Entries have running numbers from 1 on.
  struct Entry {
    qel::MACAddress originator;
    std::uint16_t message_id;
    qel::ieee1905_1::MessageType message_type;
    std::uint8_t fragment_id;
    std::uint8_t interface;
    std::uint64_t next;  ///< with the same hash: an older one, which may be forgotten
    TimePoint time;

    bool operator==(const Entry& other) const;
    std::uint64_t hash() const;
  };

  /// What the messages of one interface take. Originators whose addresses are alike in the sum share their room.
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
