#include "tools/meshd/duplicate_filter.h"

#include <algorithm>

namespace meshd {

bool DuplicateFilter::is_new(const qel::MACAddress& originator, const qel::ieee1905_1::MessageHead& head,
                             TimePoint now) {
  const auto is_equal = [&](const Entry& entry) {
    return entry.head.get_message_id() == head.get_message_id() && entry.originator == originator &&
           entry.head.get_message_type() == head.get_message_type() &&
           entry.head.get_fragment_id() == head.get_fragment_id() && now - entry.time < MEMORY;
  };
  const auto end = entries_.begin() + static_cast<std::ptrdiff_t>(count_);
  if (std::find_if(entries_.begin(), end, is_equal) != end) {
    return false;
  }
  entries_[next_] = {originator, head, now};
  next_ = (next_ + 1) % CAPACITY;
  count_ = std::min(count_ + 1, CAPACITY);
  return true;
}

}  // namespace meshd
