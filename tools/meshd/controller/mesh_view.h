#pragma once

#include <chrono>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/channel_score.h"
#include "tools/meshd/controller/mesh_model.h"
#include "tools/meshd/view/names.h"

namespace meshd::controller {

/// The mesh of a controller as shown to users: agents, their radios, BSSs and clients.
struct MeshView {
  using Age = std::optional<std::chrono::seconds>;

  struct Client {
    qel::MACAddress mac;
    std::string name;                              ///< that users have given it; empty if there is none
    std::optional<qel::MACAddress> leads_to{};     ///< an agent, if it is its backhaul station
    std::optional<int> signal{};                   ///< dBm, as its access point receives it
    std::optional<std::uint32_t> downlink_rate{};  ///< Mb/s
    std::optional<std::uint32_t> uplink_rate{};
    Age measured{};                           ///< of these three
    std::optional<std::uint64_t> downlink{};  ///< traffic between the last two reports, kb/s
    std::optional<std::uint64_t> uplink{};
    Age connected{};
    Age asked{};                                ///< to move
    std::optional<std::uint8_t> last_status{};  ///< of its responses to that
    unsigned int refusals = 0;
    std::vector<std::pair<qel::MACAddress, int>> hears{};  ///< BSSs and dBm, the strongest first
  };

  struct Bss {
    qel::MACAddress bssid;
    std::string ssid;
    std::vector<Client> clients{};
  };

  struct Radio {
    qel::MACAddress id;
    std::optional<qel::ieee1905_1::PrimaryChannel> channel{};
    std::optional<int> power{};                 ///< EIRP in dBm
    std::optional<unsigned int> utilization{};  ///< of the channel, in percent
    Age utilization_age{};
    Age switched{};  ///< since it changed its channel
    std::vector<Bss> bss{};
  };

  struct Agent {
    qel::MACAddress al_mac;
    std::string name;  ///< that users have given it, or else its own; empty if unknown
    AgentState state = AgentState::JOINING;
    std::chrono::seconds heard{0};  ///< ago
    std::vector<Radio> radios{};
  };

  std::string name;  ///< of the daemon
  qel::MACAddress al_mac;
  std::vector<qel::MACAddress> other_controllers{};
  std::vector<Agent> agents{};
};

/// `names` are the names that users have given.
MeshView view_mesh(const std::string& name, const qel::MACAddress& al_mac, const MeshModel& model, const Names& names,
                   TimePoint now);

///@{
/// A tree for people, or one object in one line; the keys are described in meshctl(1).
void print_text(std::ostream& os, const MeshView& view);
void print_json(std::ostream& os, const MeshView& view);
///@}

}  // namespace meshd::controller
