#include "qel/ieee1905_1/reassembly.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

#include "qel/core/serialization/memory_stream.h"
#include "qel/core/serialization/serialization_context.h"
#include "qel/ieee1905_1/cmdu.h"
#include "qel/ieee1905_1/tlv_type.h"

namespace qel::ieee1905_1 {

namespace {

using serialization::MemoryIStream;
using serialization::MemoryOStream;
using serialization::SerializationContext;

/// Frames with a smaller payload are padded with zeros (IEEE 802.3-2018, 3.2.8).
constexpr std::size_t SMALLEST_ETHERNET_PAYLOAD = 46;

/// Appends the TLVs of a fragment; unless it is the last, without an End-of-message TLV and anything after it.
class Joiner {
 public:
  explicit Joiner(std::vector<std::uint8_t>& message) : message_(message) {}

  /// Returns false if the octets end within the header of a TLV.
  bool append(std::span<const std::uint8_t> octets, bool is_last) {
    std::size_t position = std::min(missing_, octets.size());
    missing_ -= position;
    while (missing_ == 0 && position < octets.size()) {
      const std::span<const std::uint8_t> rest = octets.subspan(position);
      if (rest.size() < TLV_HEADER_SIZE) {
        if (is_last || !is_padding(rest, octets.size())) {
          return false;
        }
        break;
      }
      const std::size_t size = TLV_HEADER_SIZE + (static_cast<std::size_t>(rest[1]) << 8U | rest[2]);
      const bool is_end = static_cast<TLVType>(rest[0]) == TLVType::END_OF_MESSAGE;
      if (is_end && !is_last) {
        break;
      }
      missing_ = size - std::min(size, rest.size());
      position += size - missing_;
      if (is_end) {
        has_ended_ = true;
        break;
      }
    }
    message_.insert(message_.end(), octets.begin(), octets.begin() + static_cast<std::ptrdiff_t>(position));
    return true;
  }

  bool is_whole() const { return has_ended_ && missing_ == 0; }

 private:
  static bool is_padding(std::span<const std::uint8_t> rest, std::size_t tlvs) {
    return MESSAGE_HEAD_SIZE + tlvs <= SMALLEST_ETHERNET_PAYLOAD &&
           std::all_of(rest.begin(), rest.end(), [](std::uint8_t octet) { return octet == 0; });
  }

  std::vector<std::uint8_t>& message_;
  std::size_t missing_ = 0;  // octets of the TLV that continues in the next fragment
  bool has_ended_ = false;
};

}  // namespace

Reassembly::Reassembly(const Limits& limits) : limits_(limits) {
  if (limits.messages == 0 || limits.messages_of_a_sender == 0) {
    throw std::invalid_argument("reassembly needs room for a message");
  }
}

std::optional<std::span<const std::uint8_t>> Reassembly::add(const MACAddress& sender,
                                                             std::span<const std::uint8_t> cmdu, TimePoint now) {
  expire(now);
  MessageHead head;
  SerializationContext context;
  MemoryIStream in(cmdu);
  head.deserialize_impl(in, context);
  if (!head.is_fragmented()) {
    return cmdu;
  }
  Partials::iterator partial = find(sender, head);
  if (partial == messages_.end()) {
    partial = begin_message(sender, head, now);
  }
  if (partial->is_closed) {
    ++counts_.duplicates;
    return std::nullopt;
  }
  const std::span<const std::uint8_t> tlvs = cmdu.subspan(MESSAGE_HEAD_SIZE);
  switch (take(*partial, head, tlvs)) {
    case Taken::NEW:
      break;
    case Taken::DUPLICATE:
      ++counts_.duplicates;
      return std::nullopt;
    case Taken::CONTRADICTION:
      ++counts_.spoiled;
      close(*partial);
      return std::nullopt;
  }
  octets_ += tlvs.size();
  if (is_complete(*partial)) {
    const bool is_whole = join(*partial);
    ++(is_whole ? counts_.messages : counts_.spoiled);
    close(*partial);
    return is_whole ? std::optional(std::span<const std::uint8_t>(whole_)) : std::nullopt;
  }
  keep_within_octets();
  return std::nullopt;
}

void Reassembly::expire(TimePoint now) {
  for (auto partial = messages_.begin(); partial != messages_.end();) {
    if (partial->begun <= now && now - partial->begun <= limits_.age) {
      ++partial;
      continue;
    }
    counts_.expired += partial->is_closed ? 0U : 1U;
    partial = drop(partial);
  }
}

std::size_t Reassembly::count_messages() const {
  return static_cast<std::size_t>(std::count_if(messages_.begin(), messages_.end(), is_waiting));
}

Reassembly::Partials::iterator Reassembly::find(const MACAddress& sender, const MessageHead& head) {
  return std::find_if(messages_.begin(), messages_.end(), [&](const Partial& partial) {
    return partial.head.get_message_id() == head.get_message_id() &&
           partial.head.get_message_type() == head.get_message_type() && partial.sender == sender;
  });
}

Reassembly::Partials::iterator Reassembly::begin_message(const MACAddress& sender, const MessageHead& head,
                                                         TimePoint now) {
  const auto is_of_sender = [&](const Partial& partial) { return is_waiting(partial) && partial.sender == sender; };
  const auto of_sender = static_cast<std::size_t>(std::count_if(messages_.begin(), messages_.end(), is_of_sender));
  if (of_sender >= limits_.messages_of_a_sender) {
    displace(std::find_if(messages_.begin(), messages_.end(), is_of_sender));
  } else if (messages_.size() >= limits_.messages) {
    displace(std::find_if_not(messages_.begin(), messages_.end(), is_waiting));
  }
  messages_.push_back({sender, head, now, {}, std::nullopt});
  return std::prev(messages_.end());
}

Reassembly::Partials::iterator Reassembly::drop(Partials::iterator partial) {
  close(*partial);
  return messages_.erase(partial);
}

/// Drops this message, or the oldest if there is no such message.
void Reassembly::displace(Partials::iterator partial) {
  partial = partial == messages_.end() ? messages_.begin() : partial;
  counts_.displaced += partial->is_closed ? 0U : 1U;
  drop(partial);
}

/// Accepts no more fragments, and forgets those received.
void Reassembly::close(Partial& partial) {
  for (const Fragment& fragment : partial.fragments) {
    octets_ -= fragment.octets.size();
  }
  partial.fragments = {};
  partial.is_closed = true;
}

void Reassembly::keep_within_octets() {
  while (octets_ > limits_.octets) {
    displace(std::find_if(messages_.begin(), messages_.end(), is_waiting));
  }
}

Reassembly::Taken Reassembly::take(Partial& partial, const MessageHead& head, std::span<const std::uint8_t> tlvs) {
  const std::uint8_t id = head.get_fragment_id();
  const bool is_last = head.get_last_fragment_indicator();
  const auto place = std::lower_bound(partial.fragments.begin(), partial.fragments.end(), id,
                                      [](const Fragment& fragment, std::uint8_t other) { return fragment.id < other; });
  if (place != partial.fragments.end() && place->id == id) {
    const bool is_same = is_last == (partial.last == id) &&
                         std::equal(place->octets.begin(), place->octets.end(), tlvs.begin(), tlvs.end());
    return is_same ? Taken::DUPLICATE : Taken::CONTRADICTION;
  }
  if ((is_last && (partial.last || place != partial.fragments.end())) || (partial.last && id > *partial.last)) {
    return Taken::CONTRADICTION;
  }
  if (is_last) {
    partial.last = id;
  }
  if (id == 0) {
    partial.head = head;
  }
  partial.fragments.insert(place, {id, {tlvs.begin(), tlvs.end()}});
  return Taken::NEW;
}

bool Reassembly::is_complete(const Partial& partial) {
  return partial.last && partial.fragments.size() == std::size_t{*partial.last} + 1;
}

/// Puts the message into `whole_`. Returns false if the fragments do not form TLVs.
bool Reassembly::join(const Partial& partial) {
  MessageHead head = partial.head;
  head.set_last_fragment_indicator(true);
  SerializationContext context;
  MemoryOStream head_octets;
  head.serialize_impl(head_octets, context);
  whole_.assign(head_octets.octets().begin(), head_octets.octets().end());
  Joiner joiner(whole_);
  for (const Fragment& fragment : partial.fragments) {
    if (!joiner.append(fragment.octets, fragment.id == *partial.last)) {
      return false;
    }
  }
  return joiner.is_whole();
}

}  // namespace qel::ieee1905_1
