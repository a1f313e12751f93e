#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "qel/core/mac_address.h"
#include "qel/daemon/connection.h"
#include "tools/meshd/agent/channels.h"
#include "tools/meshd/agent/desk.h"
#include "tools/meshd/agent/metrics.h"
#include "tools/meshd/agent/steering.h"
#include "tools/meshd/agent/topology.h"
#include "tools/meshd/multi_ap/mesh.h"
#include "tools/meshd/multi_ap/order_guard.h"
#include "tools/meshd/wifi/air.h"

/// A Multi-AP agent: reports what the radios of this device are and what they do, and has them do what the controller
/// demands. Uses neither sockets nor a clock.
namespace meshd::agent {

struct Config {
  /// The AL MAC of the controller to obey, if there is one.
  std::function<std::optional<qel::MACAddress>()> find_controller;
};

class Agent final : public multi_ap::Service {
 public:
  /// Mesh and air are borrowed.
  Agent(multi_ap::Mesh& mesh, wifi::Air& air, Config config);
  /// Ends all blocks of clients.
  ~Agent() override;

  bool take(const Received& received) override;
  void tend(TimePoint now) override;
  void add_to_topology_response(qel::ieee1905_1::MessageBuilder& builder) const override;
  void on_device(const qel::MACAddress& al_mac, bool is_there, TimePoint now) override;

 private:
  struct Handler;
  static const Handler* find_handler(qel::ieee1905_1::MessageType type);

  void on_ap_capability_query(const Received& received);
  void on_backhaul_capability_query(const Received& received);
  void on_channel_preference_query(const Received& received) { channels_.on_preference_query(received); }
  void on_client_capability_query(const Received& received) { answer_client_capability_query(desk_, received); }
  void on_ap_metrics_query(const Received& received) { metrics_.on_ap_query(received); }
  void on_link_metrics_query(const Received& received) { metrics_.on_link_query(received); }
  void on_unassociated_query(const Received& received) { metrics_.on_unassociated_query(received); }
  void on_channel_selection_request(const Received& received) { channels_.on_selection_request(received); }
  void on_policy(const Received& received);
  void on_steering_request(const Received& received) { steering_.on_request(received); }
  void on_association_control(const Received& received) { steering_.on_association_control(received); }
  void on_beacon_query(const Received& received);
  void on_backhaul_steering_request(const Received& received);
  void on_higher_layer_data(const Received& received);
  void on_infrastructure_metrics(const Received& received) { desk_.acknowledge(received); }

  Desk desk_;
  multi_ap::OrderGuard guard_;
  Channels channels_;
  Metrics metrics_;
  Steering steering_;
  ClientEvents client_events_;
  std::optional<qel::MACAddress> controller_;  // that was last told of the channels
  bool has_changes_ = true;                    // of the radios, since then
  std::uint64_t higher_layer_messages_ = 0;
  std::optional<TimePoint> higher_layer_logged_;
  qel::signals::ScopedConnection on_client_;
  qel::signals::ScopedConnection on_changed_;
};

}  // namespace meshd::agent
