#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "qel/core/mac_address.h"
#include "tools/meshd/controller/asking.h"
#include "tools/meshd/controller/channel_orders.h"
#include "tools/meshd/controller/client_orders.h"
#include "tools/meshd/controller/followups.h"
#include "tools/meshd/controller/learning.h"
#include "tools/meshd/controller/limits.h"
#include "tools/meshd/controller/mesh_model.h"
#include "tools/meshd/controller/plan.h"
#include "tools/meshd/controller/policy.h"
#include "tools/meshd/controller/questions.h"
#include "tools/meshd/controller/result.h"
#include "tools/meshd/multi_ap/courier.h"
#include "tools/meshd/multi_ap/mesh.h"

namespace meshd::controller {

struct Config {
  Policy policy{};
  std::string policy_file{};  ///< read again on demand; empty for none
  Limits limits{};
};

/// A Multi-AP controller: finds the agents of the mesh, keeps what they report, sends them the policy, and carries out
/// orders: those of the operator, and its own where the policy says so.
class Controller final : public multi_ap::Service {
 public:
  /// The mesh is borrowed.
  Controller(multi_ap::Mesh& mesh, Config config);

  bool take(const multi_ap::Received& received) override;
  void tend(TimePoint now) override;
  void add_to_topology_response(qel::ieee1905_1::MessageBuilder& builder) const override;
  void on_device(const qel::MACAddress& al_mac, bool is_there, TimePoint now) override;

  const MeshModel& model() const { return model_; }
  const Policy& policy() const { return config_.policy; }
  const qel::MACAddress& al_mac() const { return mesh_.al_mac(); }

  /// Reads the file again and tells the agents. Throws as read_policy() does, and std::invalid_argument if there is no
  /// file; the policy then stays.
  void reload_policy(TimePoint now);

  struct Planned {
    PlanInput input;
    Plan plan;
  };
  Planned plan(TimePoint now) const;

  // Orders of the operator. They throw std::invalid_argument, and send nothing, if they make no sense.

  /// See ClientOrders.
  void steer(const qel::MACAddress& client, const qel::MACAddress& bssid, bool is_held, TimePoint now,
             OnResult on_result);
  void block(const qel::MACAddress& client, std::vector<qel::MACAddress> bssids, std::uint16_t seconds, TimePoint now,
             const OnResult& on_result);
  /// The number is that of the primary channel.
  void set_channel(const qel::MACAddress& radio, unsigned int number, qel::ChannelWidth width, TimePoint now,
                   OnResult on_result);
  void apply_plan(TimePoint now, OnResult on_result);
  void ask(const Question& question, const qel::MACAddress& agent, TimePoint now, OnResult on_result);

 private:
  void act_on(const Change& change, TimePoint now);
  void answer_search(const multi_ap::Received& received);
  void lose(const qel::MACAddress& agent, const std::string& why);
  void carry_out(const Planned& planned, TimePoint now, OnResult on_result);
  void plan_by_policy(TimePoint now);
  void steer_by_policy(TimePoint now);
  /// Of a client, which may come and go as often as it likes: only some in a second.
  void notice_client(const std::string& event, const Change& change, const std::string& line);
  void notice(const std::string& event, const std::string& data, const std::string& line) const;
  /// Passes the result on, and tells the operator's log what came of the order.
  OnResult logged(std::string what, OnResult on_result) const;

  multi_ap::Mesh& mesh_;
  Config config_;
  MeshModel model_;
  multi_ap::Courier courier_;
  Followups followups_;
  Learning learning_;
  Asking asking_;
  ClientOrders client_orders_;
  ChannelOrders channel_orders_;
  std::vector<qel::MACAddress> silent_;  // agents that do not answer, lost with the next tend()
  unsigned int client_notices_ = 0;      // since the last tend()
  TimePoint plan_due_;
  TimePoint round_due_;
  TimePoint forget_due_;
};

}  // namespace meshd::controller
