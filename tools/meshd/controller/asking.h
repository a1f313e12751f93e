#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <utility>

#include "qel/core/mac_address.h"
#include "tools/meshd/controller/mesh_model.h"
#include "tools/meshd/controller/policy.h"
#include "tools/meshd/multi_ap/courier.h"

namespace meshd::controller {

/// Asks each agent for what it has not reported, and again after a while; and sends it the policy. An agent has one
/// request at a time, so that a slow one is not flooded.
class Asking {
 public:
  /// What an agent is asked for, in this order.
  enum class Topic : std::uint8_t { CAPABILITIES, TOPOLOGY, POLICY, PREFERENCES, METRICS, CHANNELS };

  /// An agent that left so many requests in a row without answer is lost.
  static constexpr unsigned int MOST_UNANSWERED = 3;

  /// Everything is borrowed. `on_silent` is called for an agent that does not answer; it may drop it.
  Asking(MeshModel& model, multi_ap::Courier& courier, const Policy& policy,
         std::function<void(const qel::MACAddress& agent)> on_silent)
      : model_(model), courier_(courier), policy_(policy), on_silent_(std::move(on_silent)) {}

  /// The agent is there, perhaps again: asks it for everything, whatever it was asked before.
  void begin(const qel::MACAddress& agent, TimePoint now);
  /// Asks for this soon.
  void ask(const qel::MACAddress& agent, Topic topic, TimePoint now);
  void ask_all(Topic topic, TimePoint now);
  /// Asks for this after a while, so that an agent that contradicts itself is not asked all the time.
  void ask_soon(const qel::MACAddress& agent, Topic topic, TimePoint now);
  /// Asks for the association request of a client.
  void ask_for_client(const qel::MACAddress& agent, const qel::MACAddress& bssid, const qel::MACAddress& client,
                      TimePoint now);
  void drop(const qel::MACAddress& agent) { agents_.erase(agent); }

  void tend(TimePoint now);

 private:
  static constexpr std::size_t TOPICS = static_cast<std::size_t>(Topic::CHANNELS) + 1;
  static constexpr std::size_t MOST_CLIENTS = 512;  ///< of an agent, that wait to be asked about

  struct Row;
  struct Agenda {
    std::array<TimePoint, TOPICS> due{};
    std::deque<std::pair<qel::MACAddress, qel::MACAddress>> clients;  ///< BSSID and client
    std::uint64_t waits_for = 0;                                      ///< number of the request; 0 for none
  };

  static const std::array<Row, TOPICS>& rows();
  void go_on(const qel::MACAddress& agent, Agenda& agenda, TimePoint now);
  void send(const qel::MACAddress& agent, Agenda& agenda, qel::ieee1905_1::Message message,
            qel::ieee1905_1::MessageType answer, std::optional<std::size_t> topic, TimePoint now);
  void on_outcome(const qel::MACAddress& agent, std::uint64_t number, multi_ap::Outcome outcome,
                  std::optional<std::size_t> topic, TimePoint now);

  MeshModel& model_;
  multi_ap::Courier& courier_;
  const Policy& policy_;
  const std::function<void(const qel::MACAddress& agent)> on_silent_;
  std::map<qel::MACAddress, Agenda> agents_;
  std::uint64_t made_ = 0;  // requests
};

}  // namespace meshd::controller
