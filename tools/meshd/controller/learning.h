#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/tlv_type.h"
#include "tools/meshd/controller/limits.h"
#include "tools/meshd/controller/mesh_model.h"
#include "tools/meshd/multi_ap/mesh.h"

namespace meshd::controller {

/// What a message has changed in the model.
struct Change {
  enum class Kind : std::uint8_t {
    AGENT_FOUND,       ///< for the first time, or again after it was lost
    AGENT_RESTARTED,   ///< it searches for a controller, although it had found us
    AGENT_CHANGED,     ///< it says that something is different, but not what
    RADIOS_CHANGED,    ///< the agent has other radios
    RADIO_UNKNOWN,     ///< it reports a radio whose capabilities it has not reported
    CHANNEL_REPORTED,  ///< `place` is the radio
    CHANNEL_CHANGED,   ///< and differs from what was reported before
    CLIENT_JOINED,     ///< `place` is the BSSID, `from` where it was before; zero if nowhere
    CLIENT_LEFT,       ///< the mesh; `place` is the BSSID
    CLIENT_GONE,       ///< its former BSS, `place`, has noticed that it went elsewhere
    CONTROLLER_FOUND,  ///< another one
  };
  Kind kind;
  qel::MACAddress agent;
  qel::MACAddress place{};
  qel::MACAddress client{};
  qel::MACAddress from{};
  bool is_event = false;  ///< of a client: it has just happened; otherwise it is in a list
};

using Changes = std::vector<Change>;

/// Keeps the model up to date with what agents report. An agent is believed only about itself: its own radios and
/// BSSs, and their clients.
class Learning {
 public:
  /// Everything is borrowed; `self` is our own AL MAC address.
  Learning(MeshModel& model, const Limits& limits, const qel::MACAddress& self)
      : model_(model), limits_(limits), self_(self) {}

  /// Appends to `changes`. Returns whether the message was of use: one of an agent that we know, or now know.
  bool take(const multi_ap::Received& received, Changes& changes);

  /// The agent does not answer, or has left the mesh. Its clients stay where they are until they turn up elsewhere.
  void lose(const qel::MACAddress& agent);

  /// Forgets what is too old.
  void forget(TimePoint now);

  /// Of a client that is there or has departed; null if we know none.
  SteeringRecord* find_record(const qel::MACAddress& client);

 private:
  struct Handler;
  /// Where a report came from, and what it changes.
  struct Context {
    const multi_ap::Received& received;
    const qel::MACAddress& al_mac;
    AgentModel& agent;
    Changes& changes;
  };

  static const Handler* find_handler(qel::ieee1905_1::MessageType type);

  void on_search(const Context& context);
  void on_topology_response(const Context& context);
  void on_topology_notification(const Context& context);
  void on_capabilities(const Context& context);
  void on_backhaul_capabilities(const Context& context);
  void on_preferences(const Context& context);
  void on_operating_channels(const Context& context);
  void on_metrics(const Context& context);
  void on_client_capability(const Context& context);
  void on_beacons(const Context& context);

  void take_service(const multi_ap::Received& received, Changes& changes);

  /// Null if the agent does not have it, and it cannot be added.
  RadioModel* add_radio(const Context& context, const qel::MACAddress& radio);
  static RadioModel* find_radio(const Context& context, const qel::MACAddress& radio);
  static BssModel* find_bss(const Context& context, const qel::MACAddress& bssid);
  static ClientModel* find_client(const Context& context, const qel::MACAddress& client);

  void take_bss_list(const Context& context);
  void take_clients(const Context& context);
  void join(const Context& context, const qel::MACAddress& bssid, BssModel& bss, const qel::MACAddress& client,
            TimePoint joined_at, bool is_event);
  void leave(const Context& context, const qel::MACAddress& bssid, BssModel& bss, const qel::MACAddress& client,
             bool is_event);
  /// Removes the BSS's clients, the last step before it is removed itself.
  void empty(const Context& context, const qel::MACAddress& bssid, BssModel& bss);
  void remember_departed(const qel::MACAddress& client, const SteeringRecord& record, TimePoint now);

  MeshModel& model_;
  const Limits& limits_;
  const qel::MACAddress self_;
  std::size_t clients_ = 0;  // in the model
};

}  // namespace meshd::controller
