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

/// Puts messages together from their fragments, which may come in any order, more than once, and from several senders
/// at a time. What is kept is bounded in messages, octets and time.
///
/// Fragments belong together when sender, message type and identifier agree. Fragments that contradict each other (one
/// identifier with two contents, two last ones, one behind the last) spoil their message: none of them is used.
/// Fragments that end within a TLV, and those that each have an End-of-message TLV, are understood as well.
class QEL_EXPORT Reassembly {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  /// What may be kept.
  struct Limits {
    std::size_t messages = 32;             ///< begun at a time; a new one takes the place of the oldest
    std::size_t messages_of_a_sender = 4;  ///< the same for each sender
    std::size_t octets = 256 * 1024;       ///< of the fragments of all messages begun
    std::chrono::milliseconds age{2000};   ///< of a message since its first fragment came
  };

  /// What became of the fragments and messages; a fragment more is never counted as two.
  struct Counts {
    std::uint64_t messages = 0;    ///< put together
    std::uint64_t duplicates = 0;  ///< fragments that were there already
    std::uint64_t spoiled = 0;     ///< messages whose fragments contradict each other or make no TLVs
    std::uint64_t expired = 0;     ///< messages that grew too old
    std::uint64_t displaced = 0;   ///< messages that gave way to others
  };

  Reassembly() : Reassembly(Limits{}) {}
  /// Throws std::invalid_argument for a limit of 0 messages.
  explicit Reassembly(const Limits& limits);

  /// Takes a CMDU from `sender`; padding may follow its TLVs. The octets are copied. Returns the octets of the whole
  /// message once they are complete: the head of its first fragment, as that of an unfragmented message, and all TLVs.
  /// A CMDU that is no fragment is returned as it is. Throws SerializationException for octets without a whole head.
  std::optional<std::vector<std::uint8_t>> add(const MACAddress& sender, std::span<const std::uint8_t> cmdu,
                                               TimePoint now);

  /// Forgets the messages that have grown too old; `add` does it too.
  void expire(TimePoint now);

  std::size_t count_messages() const { return messages_.size(); }
  /// Messages of which not all fragments came, or not such as agree; those begun and still waiting among them.
  std::uint64_t count_incomplete() const {
    return messages_.size() + counts_.spoiled + counts_.expired + counts_.displaced;
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
    MessageHead head;  // of the fragment that came first
    TimePoint begun;
    std::vector<Fragment> fragments;  // in the order of their ids
    std::optional<std::uint8_t> last;
  };
  using Partials = std::vector<Partial>;

  enum class Taken { NEW, DUPLICATE, CONTRADICTION };

  Partials::iterator find(const MACAddress& sender, const MessageHead& head);
  Partials::iterator begin_message(const MACAddress& sender, const MessageHead& head, TimePoint now);
  void drop(Partials::iterator partial);
  void keep_within_octets();
  static Taken take(Partial& partial, const MessageHead& head, std::span<const std::uint8_t> tlvs);
  static bool is_complete(const Partial& partial);
  static std::optional<std::vector<std::uint8_t>> join(const Partial& partial);

  Limits limits_;
  Partials messages_;  // the oldest first
  std::size_t octets_ = 0;
  Counts counts_;
};

}  // namespace qel::ieee1905_1
