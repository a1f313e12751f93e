#include "tools/meshd/controller/followups.h"

#include <utility>
#include <vector>

namespace meshd::controller {

using qel::ieee1905_1::Message;
using qel::ieee1905_1::MessageType;

Followups::Number Followups::expect(const qel::MACAddress& agent, MessageType type, TimePoint due, Matches matches,
                                    OnMessage on_message) {
  expected_.emplace(++made_, Expected{agent, type, due, std::move(matches), std::move(on_message)});
  return made_;
}

bool Followups::take(const multi_ap::Received& received) {
  const MessageType type = received.message().get_head().get_message_type();
  std::vector<Number> matching;
  for (const auto& [number, one] : expected_) {
    if (one.type == type && one.agent == received.from && one.matches(received.message())) {
      matching.push_back(number);
    }
  }
  for (const Number number : matching) {
    if (const auto taken = expected_.extract(number)) {
      taken.mapped().on_message(&received.message(), received.time);
    }
  }
  return !matching.empty();
}

void Followups::tend(TimePoint now) {
  for (auto place = expected_.begin(); place != expected_.end();) {
    const Number number = place->first;
    if (place->second.due <= now) {
      const auto taken = expected_.extract(place);
      taken.mapped().on_message(nullptr, now);
    }
    place = expected_.upper_bound(number);  // the function may have added or cancelled others
  }
}

}  // namespace meshd::controller
