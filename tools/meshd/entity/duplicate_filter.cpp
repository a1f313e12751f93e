#include "tools/meshd/entity/duplicate_filter.h"

#include <algorithm>

namespace meshd {

using qel::MACAddress;
using qel::ieee1905_1::MessageHead;

bool DuplicateFilter::Entry::operator==(const Entry& other) const {
  return message_id == other.message_id && originator == other.originator && message_type == other.message_type &&
         fragment_id == other.fragment_id;
}

/// Fibonacci hashing: the upper bits depend on all.
std::uint64_t DuplicateFilter::Entry::hash() const {
  std::uint64_t key = 0;
  for (const std::uint8_t octet : originator.octets()) {
    key = key << 8U | octet;
  }
  key = key << 16U ^ message_id ^ static_cast<std::uint64_t>(message_type) << 24U ^
        static_cast<std::uint64_t>(fragment_id) << 40U;
  return key * 0x9E37'79B9'7F4A'7C15U;
}

std::uint16_t& DuplicateFilter::Share::of(const MACAddress& originator) {
  std::uint8_t sum = 0;
  for (const std::uint8_t octet : originator.octets()) {
    sum = static_cast<std::uint8_t>(sum * 31U + octet);
  }
  return by_originator[sum];
}

DuplicateFilter::Verdict DuplicateFilter::take(std::size_t interface, const MACAddress& originator,
                                               const MessageHead& head, TimePoint now) {
  forget(now);
  Entry entry{originator,
              head.get_message_id(),
              head.get_message_type(),
              head.get_fragment_id(),
              static_cast<std::uint8_t>(interface),
              0,
              now};
  std::uint64_t& newest = newest_[static_cast<std::size_t>(entry.hash() >> 54U)];
  for (entry.next = newest; entry.next >= first_; entry.next = at(entry.next).next) {
    if (at(entry.next) == entry) {
      return Verdict::DUPLICATE;
    }
  }
  shares_.resize(std::max(shares_.size(), interface + 1));
  Share& share = shares_[interface];
  if (share.count == ROOM || share.of(originator) == ROOM_OF_ORIGINATOR) {
    return Verdict::NO_ROOM;
  }
  entry.next = newest;
  entries_.push_back(entry);
  newest = first_ + entries_.size() - 1;
  ++share.count;
  ++share.of(originator);
  return Verdict::NEW;
}

void DuplicateFilter::forget(TimePoint now) {
  while (!entries_.empty() && now - entries_.front().time >= MEMORY) {
    Share& share = shares_[entries_.front().interface];
    --share.count;
    --share.of(entries_.front().originator);
    entries_.pop_front();
    ++first_;
  }
}

}  // namespace meshd
