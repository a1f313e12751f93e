#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/client_tlvs.h"
#include "qel/ieee1905_1/message.h"
#include "qel/ieee1905_1/message_builder.h"
#include "tools/meshd/multi_ap/courier.h"
#include "tools/meshd/multi_ap/mesh.h"
#include "tools/meshd/wifi/air.h"

namespace meshd::agent {

using multi_ap::Received;
using multi_ap::TimePoint;

/// What the parts of an agent share: the mesh, the radios, and how messages are answered and reports are sent.
class Desk {
 public:
  using FindController = std::function<std::optional<qel::MACAddress>()>;
  using Log = std::function<void(std::string line)>;

  /// Mesh and air are borrowed.
  Desk(multi_ap::Mesh& mesh, wifi::Air& air, FindController find_controller, Log log)
      : mesh_(mesh), air_(air), courier_(mesh), find_controller_(std::move(find_controller)), log_(std::move(log)) {}

  wifi::Air& air() { return air_; }
  const wifi::Air& air() const { return air_; }
  multi_ap::Mesh& mesh() { return mesh_; }
  multi_ap::Courier& courier() { return courier_; }
  std::optional<qel::MACAddress> controller() const { return find_controller_(); }
  void log(std::string line) const { log_(std::move(line)); }

  /// The time of the last message or of the last tend(), whichever is later. Radios report the outcome of an act
  /// without its time, which is at most about a second later than this.
  TimePoint now() const { return now_; }
  void set_now(TimePoint now) { now_ = now; }

  /// A message of this type with the identifier of the one that it answers.
  static qel::ieee1905_1::MessageBuilder answer_to(const Received& received, qel::ieee1905_1::MessageType type);

  /// Sends the answer to a query.
  void reply(const Received& received, qel::ieee1905_1::MessageBuilder& builder) {
    mesh_.send(received.from, builder.build());
  }
  /// Sends the answer to an order. It is kept for a while, in case that it is lost.
  void answer(const Received& received, qel::ieee1905_1::MessageBuilder& builder);
  /// Acknowledges the message, with an error code for each client that is named.
  void acknowledge(const Received& received, const std::vector<qel::ieee1905_1::ErrorCodeTLV>& errors = {});
  /// The answer was lost: sends it again. Without one, only acknowledges.
  void answer_again(const Received& received);

  /// Sends to the controller, until it acknowledges. Without a controller, does nothing.
  void report(qel::ieee1905_1::MessageBuilder& builder);
  /// Sends to the controller once.
  void tell(qel::ieee1905_1::MessageBuilder& builder);

  /// For functions that the radios call: does nothing once this is destroyed.
  template <class Function>
  auto while_alive(Function function) const {
    return [alive = std::weak_ptr<const bool>(alive_), function = std::move(function)](const auto&... what) {
      if (!alive.expired()) {
        function(what...);
      }
    };
  }

 private:
  static constexpr std::size_t KEPT_ANSWERS = 64;

  struct Answer {
    qel::MACAddress to;
    qel::ieee1905_1::MessageType question;
    std::uint16_t id;
    qel::ieee1905_1::Message message;
  };

  multi_ap::Mesh& mesh_;
  wifi::Air& air_;
  multi_ap::Courier courier_;
  FindController find_controller_;
  Log log_;
  TimePoint now_;
  std::deque<Answer> answers_;  // the oldest first
  std::shared_ptr<const bool> alive_ = std::make_shared<bool>(true);
};

/// Where a client of ours is. The pointers are into the radios.
struct ClientPlace {
  const wifi::AirRadio* radio;
  const wifi::AirBss* bss;
  const wifi::AirClient* client;
};

// Null, or nothing, if it is not there.
const wifi::AirRadio* find_radio(const std::vector<wifi::AirRadio>& radios, const qel::MACAddress& identifier);
std::optional<ClientPlace> find_client(const std::vector<wifi::AirRadio>& radios, const qel::MACAddress& client);
/// In this BSS only.
std::optional<ClientPlace> find_client(const std::vector<wifi::AirRadio>& radios, const qel::MACAddress& bssid,
                                       const qel::MACAddress& client);

}  // namespace meshd::agent
