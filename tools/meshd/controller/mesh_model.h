#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/ap_capability_tlvs.h"
#include "qel/ieee1905_1/ap_he_capabilities_tlv.h"
#include "qel/ieee1905_1/ap_phy_capabilities_tlvs.h"
#include "qel/ieee1905_1/channel_preference_tlvs.h"
#include "qel/ieee1905_1/operating_channel_tlvs.h"

/// What a Multi-AP controller knows of the mesh.
namespace meshd::controller {

using TimePoint = std::chrono::steady_clock::time_point;

/// A fact, and when it was reported.
template <class T>
struct Known {
  T value;
  TimePoint at;
};

template <class T>
using MaybeKnown = std::optional<Known<T>>;

/// What a client's access point reports of its link.
struct ClientLink {
  std::uint8_t uplink_rcpi = 255;   ///< how its access point receives it; 221 and above: unknown
  std::uint32_t downlink_rate = 0;  ///< Mb/s; 0 if unknown
  std::uint32_t uplink_rate = 0;
};

/// Counts since it joined, modulo 2^32.
struct ClientTraffic {
  std::uint32_t octets_sent = 0;  ///< to the client
  std::uint32_t octets_received = 0;
  std::uint32_t packets_sent = 0;
  std::uint32_t packets_received = 0;
  std::uint32_t send_errors = 0;
  std::uint32_t receive_errors = 0;
  std::uint32_t retransmissions = 0;
};

/// How a client has taken requests to move. It outlives its association for a while.
struct SteeringRecord {
  unsigned int refusals = 0;  ///< in a row; no response is one too, and so is to accept and to stay
  std::optional<TimePoint> asked_at;
  std::optional<qel::MACAddress> asked_from;  ///< the BSSID where it was when it was last asked
  std::optional<TimePoint> not_before;        ///< it is left alone until then
  std::optional<std::uint8_t> last_status;
  unsigned int questions = 0;  ///< what it hears was asked so often since it was last asked to move
  std::optional<TimePoint> questioned_at;
};

struct ClientModel {
  std::optional<TimePoint> joined_at;
  MaybeKnown<ClientLink> link;
  MaybeKnown<ClientTraffic> traffic;
  std::optional<ClientTraffic> earlier_traffic;  ///< what was reported before that
  std::optional<TimePoint> earlier_traffic_at;
  MaybeKnown<std::vector<std::uint8_t>> association_request;  ///< the body of the frame
  std::map<qel::MACAddress, Known<std::uint8_t>> heard_bss;   ///< RCPI at which it hears them, by BSSID
  SteeringRecord steering;
};

struct BssModel {
  std::string ssid;
  MaybeKnown<std::uint8_t> utilization;  ///< of its channel, 0 to 255 as in AP Metrics
  std::map<qel::MACAddress, ClientModel> clients;
};

struct RadioModel {
  MaybeKnown<qel::ieee1905_1::APRadioBasicCapabilitiesTLV> capabilities;
  MaybeKnown<qel::ieee1905_1::APHTCapabilitiesTLV> ht;
  MaybeKnown<qel::ieee1905_1::APVHTCapabilitiesTLV> vht;
  MaybeKnown<qel::ieee1905_1::APHECapabilitiesTLV> he;
  MaybeKnown<qel::ieee1905_1::ChannelPreferenceTLV> preferences;
  MaybeKnown<qel::ieee1905_1::OperatingChannelReportTLV> channel;
  std::optional<TimePoint> switched_at;     ///< when its channel last changed
  std::optional<TimePoint> failed_at;       ///< when a plan could not move it, unless it has moved since
  std::map<qel::MACAddress, BssModel> bss;  ///< by BSSID
};

/// Whether an agent tells us what we ask.
enum class AgentState : std::uint8_t {
  JOINING,  ///< found, and asked for what it is
  JOINED,
  LOST,  ///< it left the mesh, or does not answer; what it reported is kept for a while
};

struct AgentModel {
  AgentState state = AgentState::JOINING;
  std::string name;  ///< as it calls itself; empty if unknown
  TimePoint found_at;
  TimePoint heard_at;
  std::optional<TimePoint> searched_at;          ///< when it last searched for a controller
  unsigned int unanswered = 0;                   ///< requests in a row
  std::map<qel::MACAddress, RadioModel> radios;  ///< by identifier
  std::set<qel::MACAddress> backhaul_stations;   ///< its own, with which it is a client of other agents
};

/// A BSS refuses a client because we asked for it.
struct Denial {
  TimePoint until;
  bool is_ordered;            ///< by the operator; we hold off clients that have moved on our own
  bool is_confirmed = false;  ///< while its access point still has the client, it does not refuse it
};

struct MeshModel {
  std::map<qel::MACAddress, AgentModel> agents;               ///< by AL MAC
  std::map<qel::MACAddress, TimePoint> other_controllers;     ///< when they were last heard
  std::map<qel::MACAddress, Known<SteeringRecord>> departed;  ///< of clients that are nowhere now, for a while
  std::map<std::pair<qel::MACAddress, qel::MACAddress>, Denial> denials;  ///< by BSSID and client; some are over

  /// Where a BSS or a client is. The pointers are null if it is nowhere, and valid until the model changes.
  struct Place {
    const qel::MACAddress* agent = nullptr;
    const qel::MACAddress* radio = nullptr;
    const qel::MACAddress* bssid = nullptr;
    const RadioModel* radio_model = nullptr;
    const BssModel* bss = nullptr;
    const ClientModel* client = nullptr;  ///< null when a BSS was looked for
  };
  Place find_bss(const qel::MACAddress& bssid) const;
  /// Of a client that several BSSs report, the place that it joined last.
  Place find_client(const qel::MACAddress& client) const;
  /// Null if it does not refuse the client, as far as we know.
  const Denial* find_denial(const qel::MACAddress& bssid, const qel::MACAddress& client, TimePoint now) const;
  const AgentModel* find_agent_of_radio(const qel::MACAddress& radio, qel::MACAddress* al_mac = nullptr) const;
};

}  // namespace meshd::controller
