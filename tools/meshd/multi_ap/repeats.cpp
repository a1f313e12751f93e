#include "tools/meshd/multi_ap/repeats.h"

#include <algorithm>

#include "qel/ieee1905_1/message.h"

namespace meshd::multi_ap {

bool Repeats::knows(const Received& received) const {
  const qel::ieee1905_1::MessageHead& head = received.message().get_head();
  return std::ranges::any_of(entries_, [&](const Entry& entry) {
    return received.time - entry.time < MEMORY && entry.id == head.get_message_id() &&
           entry.type == head.get_message_type() && entry.from == received.from;
  });
}

void Repeats::remember(const Received& received) {
  while (!entries_.empty() && (entries_.size() >= ROOM || received.time - entries_.front().time >= MEMORY)) {
    entries_.pop_front();
  }
  const qel::ieee1905_1::MessageHead& head = received.message().get_head();
  entries_.push_back({received.from, head.get_message_type(), head.get_message_id(), received.time});
}

}  // namespace meshd::multi_ap
