#pragma once

#include <deque>
#include <vector>

#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/message_builder.h"
#include "tools/meshd/agent/desk.h"
#include "tools/meshd/entity/token_bucket.h"
#include "tools/meshd/wifi/air.h"

namespace meshd::agent {

/// What the topology response has of an agent: that it is one, its BSSs, and their clients.
void add_topology(qel::ieee1905_1::MessageBuilder& builder, const std::vector<wifi::AirRadio>& radios);

/// The body of the client's association request, or why there is none.
void answer_client_capability_query(Desk& desk, const Received& received);

/// Tells the whole mesh which clients join and leave.
class ClientEvents {
 public:
  /// The desk is borrowed.
  explicit ClientEvents(Desk& desk) : desk_(desk) {}

  void on_client(const qel::MACAddress& bssid, const qel::MACAddress& client, bool has_joined);
  /// Sends what had to wait, since the whole mesh relays each notification.
  void tend();

 private:
  /// Events that wait; of older ones, the topology response tells what came of them.
  static constexpr std::size_t MOST_WAITING = 512;

  struct Event {
    qel::MACAddress bssid;
    qel::MACAddress client;
    bool has_joined;
  };

  Desk& desk_;
  TokenBucket<20, 60> limit_;
  std::deque<Event> waiting_;
};

}  // namespace meshd::agent
