#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/message_head.h"

namespace qel::ieee1905_1 {

/// Reassembles messages from fragments, which may arrive in any order, repeatedly, and from several senders at a time.
/// Limits bound the number of messages, octets and time that it keeps.
///
/// Fragments belong together if sender, message type and identifier agree. Fragments that contradict each other (two
/// contents for one fragment identifier, two last fragments, or one after the last) spoil their message, and none of
/// them is used. A message is remembered after it was completed or spoiled, as long as age and room allow: fragments
/// of it that arrive later are duplicates. Fragments that end within a TLV, and fragments that each have an
/// End-of-message TLV, are also accepted.
class QEL_EXPORT Reassembly {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  /// Limits on what is kept.
  struct Limits {
    std::size_t messages = 32;             ///< incomplete and remembered ones; the latter go first
    std::size_t messages_of_a_sender = 4;  ///< incomplete messages of each sender; a new one replaces the oldest
    std::size_t octets = 262'144;          ///< in all fragments; 256 KiB; 256 Ethernet frames would take more
    std::chrono::milliseconds age{2000};   ///< of a message since its first fragment arrived
  };

  /// Totals of fragments and messages; no fragment is counted twice.
  struct Counts {
    std::uint64_t messages = 0;    ///< reassembled
    std::uint64_t duplicates = 0;  ///< fragments received before, or of a message that is over
    std::uint64_t spoiled = 0;     ///< messages whose fragments contradict each other or do not form TLVs
    std::uint64_t expired = 0;     ///< messages that timed out
    std::uint64_t displaced = 0;   ///< messages displaced by others
  };

  Reassembly() : Reassembly(Limits{}) {}
  /// Throws std::invalid_argument if a limit is 0 messages.
  explicit Reassembly(const Limits& limits);

  /// Adds a CMDU from `sender`; padding may follow its TLVs. Copies the octets of a fragment, and returns those of the
  /// whole message once it is complete: the header of its first fragment, changed to that of an unfragmented message,
  /// and all TLVs. They are valid until the next call. A CMDU that is not a fragment is itself returned. Throws
  /// SerializationException if the header is incomplete.
  std::optional<std::span<const std::uint8_t>> add(const MACAddress& sender, std::span<const std::uint8_t> cmdu,
                                                   TimePoint now);

  /// Drops the messages that have timed out, and those that began after `now`; `add` also does so. Times lie within a
  /// century of the clock's epoch.
  void expire(TimePoint now);

  /// Messages that wait for fragments.
  std::size_t count_messages() const;
  /// Number of messages that were not completed, because fragments are missing or contradict each other. Includes those
  /// still waiting.
  std::uint64_t count_incomplete() const {
    return count_messages() + counts_.spoiled + counts_.expired + counts_.displaced;
  }
  std::size_t count_octets() const { return octets_; }
  const Counts& counts() const { return counts_; }

 private:
  struct Fragment {
    std::uint8_t id;
    std::vector<std::uint8_t> octets;  // of the TLVs
  };
  struct Partial {
    MACAddress sender;
    MessageHead head;  // of the fragment that arrived first
    TimePoint begun;
    std::vector<Fragment> fragments;  // in order of their ids
    std::optional<std::uint8_t> last;
    bool is_closed = false;  // completed or spoiled
  };
  using Partials = std::vector<Partial>;

  enum class Taken { NEW, DUPLICATE, CONTRADICTION };

  Partials::iterator find(const MACAddress& sender, const MessageHead& head);
  Partials::iterator begin_message(const MACAddress& sender, const MessageHead& head, TimePoint now);
  Partials::iterator drop(Partials::iterator partial);
  void displace(Partials::iterator partial);
  void close(Partial& partial);
  void keep_within_octets();
  static bool is_waiting(const Partial& partial) { return !partial.is_closed; }
  static Taken take(Partial& partial, const MessageHead& head, std::span<const std::uint8_t> tlvs);
  static bool is_complete(const Partial& partial);
  bool join(const Partial& partial);

  Limits limits_;
  Partials messages_;  // oldest first
  std::size_t octets_ = 0;
  std::vector<std::uint8_t> whole_;  // the message completed last
  Counts counts_;
};

}  // namespace qel::ieee1905_1
