#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <set>
#include <utility>
#include <vector>

#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/lenient.h"
#include "qel/ieee1905_1/message.h"
#include "qel/ieee1905_1/message_builder.h"
#include "tools/meshd/entity/device_map.h"
#include "tools/meshd/entity/frame.h"
#include "tools/meshd/entity/neighbor_table.h"
#include "tools/meshd/entity/ports.h"
#include "tools/meshd/entity/sender.h"
#include "tools/meshd/multi_ap/mesh.h"

namespace meshd {

/// The services that an entity runs beside its own work, and the mesh as they see it. What they send to this device
/// itself is delivered later, so no service is called from within another.
class Services final : public multi_ap::Mesh {
 public:
  using TimePoint = multi_ap::TimePoint;

  /// Messages to ourselves that wait for delivery. More are not sent.
  static constexpr std::size_t MOST_WAITING = 1024;

  /// Everything is borrowed. `blocked` has the numbers of the interfaces.
  Services(const qel::MACAddress& al_mac, const std::vector<LocalInterface>& interfaces,
           const std::vector<bool>& blocked, const NeighborTable& neighbors, const DeviceMap& devices, Sender& sender,
           Ports& ports);

  /// The service is borrowed.
  void add(multi_ap::Service& service) { services_.push_back(&service); }

  /// Makes our topology response, for a controller on this device that asks the agent on it.
  using MakeTopologyResponse = std::function<qel::ieee1905_1::Message(std::uint16_t message_id, TimePoint now)>;
  void answer_own_queries(MakeTopologyResponse make_response) { make_response_ = std::move(make_response); }

  bool empty() const { return services_.empty(); }

  const qel::MACAddress& al_mac() const override { return al_mac_; }
  /// Returns false too if the message cannot be encoded.
  bool send(const qel::MACAddress& al_mac, const qel::ieee1905_1::Message& message) override;
  void send_to_all(const qel::ieee1905_1::Message& message) override;

  /// Returns whether the message was of use to one of them.
  bool deliver(const multi_ap::Received& received);

  /// Delivers what waited for it when this was called.
  void deliver_own(TimePoint now);

  /// Tells the services which devices came and went, and lets them work.
  void tend(TimePoint now);

  /// Adds what the services report; their kinds are put together in one TLV.
  void add_to_topology_response(qel::ieee1905_1::MessageBuilder& builder) const;

  /// The AL MAC of the device that sends from this address on the interface. The address itself, unless a device has
  /// reported it as that of an interface: claiming it does not suffice.
  qel::MACAddress resolve(const qel::MACAddress& source, std::size_t interface) const;

 private:
  struct Own {
    std::vector<std::uint8_t> octets;
    qel::ieee1905_1::LenientMessage content;  // refers to the octets
  };

  bool keep(const qel::ieee1905_1::Message& message);
  bool is_usable(std::size_t interface) const;
  void follow_devices(TimePoint now);

  const qel::MACAddress al_mac_;
  const std::vector<LocalInterface>& interfaces_;
  const std::vector<bool>& blocked_;
  const NeighborTable& neighbors_;
  const DeviceMap& devices_;
  Sender& sender_;
  Ports& ports_;
  mutable Codec codec_;
  std::vector<multi_ap::Service*> services_;
  std::deque<Own> own_;  // messages to ourselves
  MakeTopologyResponse make_response_;
  std::set<qel::MACAddress> there_;
};

}  // namespace meshd
