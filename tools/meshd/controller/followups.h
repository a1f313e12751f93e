#pragma once

#include <cstdint>
#include <functional>
#include <map>

#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/message.h"
#include "tools/meshd/multi_ap/mesh.h"

namespace meshd::controller {

/// Messages that an agent sends some time after it has acknowledged a request, with an identifier of their own.
class Followups {
 public:
  using Number = std::uint64_t;
  using TimePoint = multi_ap::TimePoint;
  using Matches = std::function<bool(const qel::ieee1905_1::Message&)>;
  /// Gets the message, or null if none came in time.
  using OnMessage = std::function<void(const qel::ieee1905_1::Message* message, TimePoint now)>;

  /// Waits for a message of this type from the agent that matches, until `due`. `on_message` is called once, unless
  /// the wait is cancelled.
  Number expect(const qel::MACAddress& agent, qel::ieee1905_1::MessageType type, TimePoint due, Matches matches,
                OnMessage on_message);
  /// Returns false if it is over.
  bool cancel(Number number) { return expected_.erase(number) != 0; }

  /// Returns whether it was waited for.
  bool take(const multi_ap::Received& received);
  void tend(TimePoint now);

 private:
  struct Expected {
    qel::MACAddress agent;
    qel::ieee1905_1::MessageType type;
    TimePoint due;
    Matches matches;
    OnMessage on_message;
  };

  Number made_ = 0;
  std::map<Number, Expected> expected_;
};

}  // namespace meshd::controller
