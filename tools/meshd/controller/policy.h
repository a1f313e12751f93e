#pragma once

#include <chrono>
#include <cstdint>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>

#include "qel/channel/wlan_types.h"
#include "qel/core/mac_address.h"

namespace meshd::controller {

/// What agents are asked to report, and when.
struct ReportingPolicy {
  std::chrono::seconds interval{10};       ///< between two reports of an agent, 1 to 255; 0: none
  std::uint8_t rcpi_threshold = 0;         ///< a client that crosses it is reported at once; 0: none
  std::uint8_t rcpi_hysteresis = 5;        ///< in RCPI steps
  std::uint8_t utilization_threshold = 0;  ///< of a channel, in percent; 0: none
};

/// When and how channels are changed.
struct PlanPolicy {
  bool is_on = false;                  ///< plans are carried out without being asked
  std::chrono::seconds interval{600};  ///< between two plans
  std::chrono::seconds settle{1800};   ///< a radio stays on a channel for at least this long
  unsigned int least_gain =
      20;  ///< in percent of the cost of radios in range of each other; less is no reason to change
  unsigned int client_weight = 1;  ///< what moving one client costs, in percent of a radio's air time
  bool use_dfs = true;             ///< channels with radar detection that are known to be free
  bool use_unchecked_dfs = false;  ///< also those that must be checked first
  qel::ChannelWidth widest_2_4_ghz = qel::ChannelWidth::WIDTH_20_MHZ;
  qel::ChannelWidth widest_5_ghz = qel::ChannelWidth::WIDTH_80_MHZ;
  qel::ChannelWidth widest_6_ghz = qel::ChannelWidth::WIDTH_160_MHZ;
  std::set<qel::MACAddress> excluded_radios{};  ///< stay as they are
};

/// Which clients are asked to move.
struct SteeringPolicy {
  bool is_on = false;
  std::uint8_t sticky_rcpi = 80;         ///< a client that is received worse than this (-70 dBm) may be asked
  std::uint8_t least_rcpi = 90;          ///< at which it must hear its target
  std::uint8_t margin = 20;              ///< by how much it must hear the target better, in RCPI steps
  unsigned int busy_utilization = 70;    ///< of a channel, in percent, from which its clients may be asked
  unsigned int utilization_margin = 30;  ///< by how much the target's must be lower
  std::chrono::seconds fresh{30};        ///< older facts are not acted upon
  std::chrono::seconds rest{120};        ///< after a client joined or was asked
  std::chrono::seconds back_off{300};    ///< after a refusal; doubled with each further one
  std::chrono::seconds longest_back_off{86400};
  unsigned int most_at_once = 4;                 ///< requests in a round, of a mesh of up to 20 agents
  std::set<qel::MACAddress> excluded_clients{};  ///< never asked, neither by us nor by agents
};

struct Policy {
  ReportingPolicy reporting{};
  PlanPolicy plan{};
  SteeringPolicy steering{};
};

/// Its text is "line N: reason".
class PolicyError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Reads a policy; what the text does not set keeps its default. See meshd-policy(5). Throws PolicyError.
Policy parse_policy(std::string_view text);

/// Throws std::system_error if the file cannot be read, and PolicyError.
Policy read_policy(const std::string& path);

/// In the form that parse_policy() reads; every value stands in it, with a comment.
std::string policy_text(const Policy& policy);

}  // namespace meshd::controller
