#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#include "qel/core/mac_address.h"
#include "qel/daemon/signal.h"
#include "qel/ieee1905_1/lenient.h"
#include "qel/ieee1905_1/message.h"
#include "qel/ieee1905_1/message_builder.h"

/// What Multi-AP agent and controller share.
namespace meshd::multi_ap {

using TimePoint = std::chrono::steady_clock::time_point;

/// The mesh as an agent or a controller uses it.
class Mesh {
 public:
  Mesh() = default;
  Mesh(const Mesh&) = delete;
  Mesh& operator=(const Mesh&) = delete;
  virtual ~Mesh() = default;

  virtual const qel::MACAddress& al_mac() const = 0;
  /// Sends to another device on the way that is known to it. Returns false if none is known. The message can still be
  /// lost. A message to ourselves arrives too: agent and controller of one device talk to each other in the same way.
  virtual bool send(const qel::MACAddress& al_mac, const qel::ieee1905_1::Message& message) = 0;
  /// To be relayed through the mesh: the message has the relay indicator and an AL MAC address TLV. Arrives at the
  /// services of this device too.
  virtual void send_to_all(const qel::ieee1905_1::Message& message) = 0;
};

/// A message for us. It is lent for the duration of the call.
struct Received {
  qel::MACAddress from;    ///< the AL MAC of its originator
  std::string interface;   ///< the name of ours on which it came; empty if it came from ourselves
  bool is_to_all = false;  ///< it was not sent to us alone
  TimePoint time;
  const qel::ieee1905_1::LenientMessage& content;
  bool is_backhaul = false;  ///< the interface is one on which orders may come (--backhaul)

  const qel::ieee1905_1::Message& message() const { return content.message; }
};

/// For the operator: a line for the log and, unless it has no name, an event.
struct Notice {
  std::string event{};  ///< as "CONTROLLER_FOUND"
  std::string data{};   ///< of the event
  std::string line{};   ///< empty for none
};

/// What an entity runs beside its own work: an agent, a controller.
class Service {
 public:
  Service() = default;
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;
  virtual ~Service() = default;

  /// A message that arrived, also one that the entity itself handles, such as a topology response or notification.
  /// Returns whether it was of use here.
  virtual bool take(const Received& received) = 0;
  /// About once a second.
  virtual void tend(TimePoint now) = 0;
  /// Adds to our topology response. Nothing is added if one of the TLVs does not fit into a frame.
  virtual void add_to_topology_response(qel::ieee1905_1::MessageBuilder& /*builder*/) const {}
  /// A device is in the mesh, or no longer.
  virtual void on_device(const qel::MACAddress& /*al_mac*/, bool /*is_there*/, TimePoint /*now*/) {}

  /// A function connected to this must not destroy the service.
  qel::signals::Signal<const Notice&> noticed;
};

}  // namespace meshd::multi_ap
