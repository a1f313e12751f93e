#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <vector>

#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/steering_policy_tlvs.h"
#include "qel/ieee1905_1/steering_tlvs.h"
#include "tools/meshd/agent/blocks.h"
#include "tools/meshd/agent/desk.h"
#include "tools/meshd/wifi/air.h"

namespace meshd::agent {

/// Moves clients to other access points, and keeps them away from ours, as the controller demands.
class Steering {
 public:
  /// The desk is borrowed.
  explicit Steering(Desk& desk) : desk_(desk), blocks_(desk) {}

  void on_request(const Received& received);
  void on_association_control(const Received& received);
  void set_policy(const qel::ieee1905_1::SteeringPolicyTLV& policy);
  void tend(TimePoint now);

 private:
  using Request = qel::ieee1905_1::SteeringRequestTLV;

  /// Clients that are moved because of one message. More are left where they are.
  static constexpr std::size_t MOST_MOVES = 255;
  static constexpr std::size_t MOST_OPPORTUNITIES = 16;
  /// How long a client that cannot be asked is kept from coming back.
  static constexpr std::chrono::seconds AWAY{10};

  /// A time in which the agent may move some clients.
  struct Opportunity {
    TimePoint end;
    std::set<qel::MACAddress> awaited;  ///< clients that have not responded yet
  };

  using Radios = std::vector<wifi::AirRadio>;

  void carry_out(const Request& request, const Radios& radios, const std::vector<ClientPlace>& places);
  void use_opportunity(const Request& request, const Radios& radios, const std::vector<ClientPlace>& places);
  bool should_move(const ClientPlace& place, bool is_named) const;
  bool may_be_asked(const wifi::AirClient& client) const;
  void move(const Request& request, const ClientPlace& place, std::vector<wifi::MoveRequest::Target> targets,
            std::optional<std::uint32_t> opportunity = {});
  void report_answer(const qel::MACAddress& bssid, const qel::MACAddress& client,
                     const std::optional<wifi::MoveAnswer>& answer);
  void conclude(std::uint32_t opportunity, const qel::MACAddress& client);
  void report_completed();

  Desk& desk_;
  Blocks blocks_;
  std::set<qel::MACAddress> not_by_us_;   // clients that the agent must not steer on its own
  std::set<qel::MACAddress> not_by_btm_;  // clients that must not be asked
  std::map<qel::MACAddress, qel::ieee1905_1::SteeringRadioPolicy> policies_;  // by radio
  std::map<std::uint32_t, Opportunity> opportunities_;
  std::uint32_t count_ = 0;  // of opportunities so far
};

}  // namespace meshd::agent
