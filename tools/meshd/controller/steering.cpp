#include "tools/meshd/controller/steering.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <span>
#include <utility>

#include "qel/core/serialization/memory_stream.h"
#include "qel/core/serialization/serialization_context.h"
#include "qel/core/serialization/serialization_exception.h"
#include "qel/ieee802_11/assoc_request_frame.h"

namespace meshd::controller {

namespace {

using qel::MACAddress;
using std::chrono::seconds;

constexpr std::uint8_t STRONGEST = 220;  // larger values mean that an RCPI is unknown

// Most clients hear nothing better, so it takes several questions to find one that is worth a request.
constexpr std::size_t QUESTIONS_PER_REQUEST = 4;

std::string dbm_text(int rcpi) { return std::to_string(rcpi / 2 - 110) + (rcpi % 2 != 0 ? ".5 dBm" : " dBm"); }

std::string percent_text(double percent) { return std::to_string(std::lround(percent)) + " %"; }

/// The time, doubled `times` times, but no longer than the ceiling.
seconds doubled(seconds time, unsigned int times, seconds ceiling) {
  for (; times > 0 && time < ceiling; --times) {
    time *= 2;
  }
  return std::min(time, ceiling);
}

/// What the client's association request says, if it has been reported and says anything about it.
struct Abilities {
  bool can_move = true;    ///< on request (IEEE 802.11-2020, 9.4.2.26, bit 19)
  bool can_report = true;  ///< the beacons that it hears (9.4.2.44, bits 4 to 6)
};

Abilities abilities_of(const ClientModel& client) {
  constexpr std::uint8_t RM_ENABLED_CAPABILITIES = 70;
  constexpr std::uint8_t EXTENDED_CAPABILITIES = 127;
  if (!client.association_request || client.association_request->value.empty()) {
    return {};
  }
  const std::span octets(client.association_request->value);
  qel::ieee802_11::AssocRequestFrame frame(octets.size());
  qel::serialization::MemoryIStream stream(octets);
  qel::serialization::SerializationContext context;
  try {
    frame.deserialize_impl(stream, context);
  } catch (const qel::serialization::SerializationException&) {
    return {};
  }
  Abilities abilities{false, false};
  for (const auto& [id, body] : frame.get_elements()) {
    if (id == EXTENDED_CAPABILITIES && body.size() > 2) {
      abilities.can_move = (body[2] & 0x08U) != 0;
    } else if (id == RM_ENABLED_CAPABILITIES && !body.empty()) {
      abilities.can_report = (body[0] & 0x70U) != 0;
    }
  }
  return abilities;
}

bool is_target(const MeshModel::Place& from, const AgentModel& target_agent, const MACAddress& target_radio,
               const BssModel& target) {
  return target_agent.state == AgentState::JOINED && *from.radio != target_radio && !target.ssid.empty() &&
         from.bss->ssid == target.ssid;
}

/// A radio, and how its load will be after the moves that are ordered.
struct Cell {
  const MACAddress* agent = nullptr;
  const MACAddress* identifier = nullptr;
  const RadioModel* model = nullptr;
  std::optional<double> utilization{};  ///< of its channel, in percent; nothing if no fresh report says it
  TimePoint reported{};                 ///< when
  double demand = 0;                    ///< of all its clients
  std::size_t clients = 0;
  bool is_settled = true;  ///< no client has come or gone since the report
};

/// A client, and where it is.
struct Station {
  const MACAddress* client = nullptr;
  const ClientModel* model = nullptr;
  const MACAddress* bssid = nullptr;
  const BssModel* bss = nullptr;
  Cell* cell = nullptr;
  double demand = 0;  ///< for air time, comparable among the clients of a radio
  double share = 0;   ///< of the air time of its radio, in percent; 0 if the radio's load is unknown
};

/// One round of decisions.
class Round {
 public:
  Round(const MeshModel& model, const SteeringPolicy& policy, TimePoint now)
      : model_(model), policy_(policy), now_(now), most_(most_at_once(model, policy)) {}

  SteeringRound decide() {
    find_cells();
    find_stations();
    move_sticky();
    relieve_busy();
    ask();
    return std::move(round_);
  }

 private:
  struct Target {
    const MACAddress* bssid = nullptr;
    Cell* cell = nullptr;
    std::uint8_t heard = 0;
  };

  bool is_fresh(TimePoint at) const { return at + policy_.fresh >= now_; }

  void find_cells();
  void find_stations();
  void move_sticky();
  void relieve_busy();
  void ask();

  bool may_ask(const Station& station) const;
  bool is_question_due(const Station& station) const;
  /// What it hears freshly: other BSSs to which it may move and that do not refuse it, and its own.
  std::vector<Target> targets_of(const Station& station, std::optional<std::uint8_t>& own) const;
  void order(const Station& station, const Target& target, std::string why);
  void want_to_know(const Station& station, const char* why) { unknown_.push_back({&station, why}); }

  const MeshModel& model_;
  const SteeringPolicy& policy_;
  const TimePoint now_;
  const std::size_t most_;  // orders
  std::vector<Cell> cells_;
  std::set<MACAddress> backhaul_;  // the stations of agents
  struct Bss {
    Cell* cell;
    const BssModel* model;
  };
  std::map<MACAddress, Bss> bss_;
  std::map<MACAddress, Station> stations_;
  struct Question {
    const Station* station;
    const char* why;
  };
  std::vector<Question> unknown_;  // the most urgent first
  SteeringRound round_;
};

void Round::find_cells() {
  std::size_t radios = 0;
  for (const auto& [al_mac, agent] : model_.agents) {
    radios += agent.radios.size();
    backhaul_.insert(agent.backhaul_stations.begin(), agent.backhaul_stations.end());
  }
  cells_.reserve(radios);  // it is pointed to
  for (const auto& [al_mac, agent] : model_.agents) {
    if (agent.state != AgentState::JOINED) {
      continue;
    }
    for (const auto& [identifier, radio] : agent.radios) {
      Cell& cell = cells_.emplace_back(Cell{&al_mac, &identifier, &radio});
      for (const auto& [bssid, bss] : radio.bss) {
        bss_.emplace(bssid, Bss{&cell, &bss});
        if (bss.utilization && is_fresh(bss.utilization->at) && bss.utilization->at >= cell.reported) {
          cell.utilization = bss.utilization->value * 100 / 255.0;
          cell.reported = bss.utilization->at;
        }
      }
    }
  }
}

void Round::find_stations() {
  constexpr double UNKNOWN_RATE = 54;  // Mb/s
  for (const auto& [bssid, bss] : bss_) {
    for (const auto& [mac, client] : bss.model->clients) {
      Station station{&mac, &client, &bssid, bss.model, bss.cell};
      if (client.traffic && client.earlier_traffic) {
        const ClientTraffic& traffic = client.traffic->value;
        const ClientTraffic& earlier = *client.earlier_traffic;
        const auto time = [](std::uint32_t octets, std::uint32_t rate) {
          return octets / (rate == 0 ? UNKNOWN_RATE : rate);
        };
        const ClientLink link = client.link ? client.link->value : ClientLink{};
        station.demand = time(traffic.octets_sent - earlier.octets_sent, link.downlink_rate) +
                         time(traffic.octets_received - earlier.octets_received, link.uplink_rate);
      }
      // Until the BSS that it left says so, a client is in two; the one that it joined last counts.
      const auto [place, is_new] = stations_.emplace(mac, station);
      if (!is_new && client.joined_at > place->second.model->joined_at) {
        place->second = station;
      }
    }
  }
  const auto unsettle = [&](const SteeringRecord& record) {
    const auto from = record.asked_from ? bss_.find(*record.asked_from) : bss_.end();
    if (from != bss_.end() && record.asked_at >= from->second.cell->reported) {
      from->second.cell->is_settled = false;
    }
  };
  for (const auto& [mac, station] : stations_) {
    Cell& cell = *station.cell;
    ++cell.clients;
    cell.demand += station.demand;
    cell.is_settled = cell.is_settled && !(station.model->joined_at > cell.reported);
    unsettle(station.model->steering);
  }
  for (const auto& [mac, record] : model_.departed) {
    unsettle(record.value);
  }
  for (auto& [mac, station] : stations_) {
    const Cell& cell = *station.cell;
    station.share = cell.utilization.value_or(0) *
                    (cell.demand > 0 ? station.demand / cell.demand : 1 / static_cast<double>(cell.clients));
  }
}

bool Round::may_ask(const Station& station) const {
  const ClientModel& client = *station.model;
  return !policy_.excluded_clients.contains(*station.client) && !(client.steering.not_before > now_) &&
         !backhaul_.contains(*station.client) && !(client.joined_at && *client.joined_at + policy_.rest > now_);
}

bool Round::is_question_due(const Station& station) const {
  const SteeringRecord& record = station.model->steering;
  return !record.questioned_at || station.model->joined_at > record.questioned_at ||
         *record.questioned_at + doubled(policy_.fresh, std::max(record.questions, 1U) - 1,
                                         std::max(policy_.fresh, policy_.back_off)) <=
             now_;
}

std::vector<Round::Target> Round::targets_of(const Station& station, std::optional<std::uint8_t>& own) const {
  const MeshModel::Place from{.agent = station.cell->agent, .radio = station.cell->identifier, .bss = station.bss};
  std::vector<Target> targets;
  for (const auto& [bssid, heard] : station.model->heard_bss) {
    const auto bss = bss_.find(bssid);
    if (bss == bss_.end() || !is_fresh(heard.at) || heard.value > STRONGEST ||
        bss->second.cell->model->switched_at > heard.at ||
        model_.find_denial(bssid, *station.client, now_) != nullptr) {
      continue;
    }
    if (bssid == *station.bssid) {
      own = heard.value;
    } else if (const Cell& cell = *bss->second.cell;
               is_target(from, model_.agents.at(*cell.agent), *cell.identifier, *bss->second.model)) {
      targets.push_back({&bss->first, bss->second.cell, heard.value});
    }
  }
  return targets;
}

void Round::order(const Station& station, const Target& target, std::string why) {
  if (round_.orders.size() == most_) {
    return;
  }
  for (const auto& [cell, change] : {std::pair(station.cell, -station.share), std::pair(target.cell, station.share)}) {
    if (cell->utilization) {
      cell->utilization = std::clamp(*cell->utilization + change, 0.0, 100.0);
    }
  }
  round_.orders.push_back({*station.client, *station.bssid, *target.bssid, std::move(why)});
}

/// Clients that stay with an access point that hardly receives them, the worst first.
void Round::move_sticky() {
  std::vector<const Station*> sticky;
  for (const auto& [mac, station] : stations_) {
    const MaybeKnown<ClientLink>& link = station.model->link;
    if (link && is_fresh(link->at) && link->value.uplink_rcpi < policy_.sticky_rcpi && may_ask(station)) {
      sticky.push_back(&station);
    }
  }
  std::ranges::stable_sort(sticky, {}, [](const Station* station) { return station->model->link->value.uplink_rcpi; });
  for (const Station* station : sticky) {
    if (!abilities_of(*station->model).can_move) {
      continue;
    }
    const std::uint8_t received = station->model->link->value.uplink_rcpi;
    std::optional<std::uint8_t> own;
    std::vector<Target> targets = targets_of(*station, own);
    if (targets.empty() && !own) {
      want_to_know(*station, "it is received badly, and what it hears is unknown");
      continue;
    }
    const int here = own.value_or(received);
    std::erase_if(targets, [&](const Target& target) {
      const bool is_busier = target.cell->utilization >= std::optional<double>(policy_.busy_utilization) &&
                             target.cell->utilization > station->cell->utilization;
      return target.heard < policy_.least_rcpi || target.heard < here + policy_.margin || is_busier;
    });
    const auto best = std::ranges::max_element(targets, {}, &Target::heard);
    if (best != targets.end()) {
      order(*station, *best,
            "it is received at " + dbm_text(received) + "; it hears the target at " + dbm_text(best->heard) +
                (own ? " and its own access point at " + dbm_text(*own) : ""));
    }
  }
}

/// Clients of busy channels, those with most traffic first. A client takes its traffic with it, so it rests longer
/// than others before it is asked again: it may be what makes each channel busy.
void Round::relieve_busy() {
  std::vector<const Station*> busy;
  for (const auto& [mac, station] : stations_) {
    const Cell& cell = *station.cell;
    if (cell.utilization >= std::optional<double>(policy_.busy_utilization) && cell.is_settled && station.share >= 1 &&
        may_ask(station) && !(station.model->steering.asked_at > now_ - 2 * policy_.back_off)) {
      busy.push_back(&station);
    }
  }
  std::ranges::stable_sort(busy, std::ranges::greater(), [](const Station* station) {
    return std::pair(*station->cell->utilization, station->share);
  });
  for (const Station* station : busy) {
    const double here = *station->cell->utilization;
    const bool is_ordered =
        std::ranges::find(round_.orders, *station->client, &SteeringOrder::client) != round_.orders.end();
    if (is_ordered || here < policy_.busy_utilization || !abilities_of(*station->model).can_move) {
      continue;
    }
    const MaybeKnown<ClientLink>& link = station->model->link;
    std::optional<std::uint8_t> own;
    std::vector<Target> targets = targets_of(*station, own);
    if (targets.empty() && !own) {
      want_to_know(*station, "its channel is busy, and what it hears is unknown");
      continue;
    }
    std::erase_if(targets, [&](const Target& target) {
      // How the target will receive it, if its transmit power is to that of access points there as it is here.
      const bool is_known = own && link && is_fresh(link->at) && link->value.uplink_rcpi <= STRONGEST;
      const int received = is_known ? link->value.uplink_rcpi + target.heard - *own : target.heard;
      return !target.cell->utilization || !target.cell->is_settled ||
             std::min<int>(received, target.heard) < policy_.least_rcpi ||
             *target.cell->utilization + station->share > here - policy_.utilization_margin ||
             *target.cell->utilization + station->share >= policy_.busy_utilization;
    });
    const auto best = std::ranges::min_element(
        targets, {}, [](const Target& target) { return std::pair(*target.cell->utilization, -int{target.heard}); });
    if (best != targets.end()) {
      order(*station, *best,
            "its channel is " + percent_text(here) + " busy, that of the target " +
                percent_text(*best->cell->utilization) + "; it hears the target at " + dbm_text(best->heard));
    }
  }
}

/// Those that were never asked come first, then those that were asked longest ago; in each BSS one in a round.
void Round::ask() {
  std::erase_if(unknown_, [&](const Question& question) {
    return !is_question_due(*question.station) || !abilities_of(*question.station->model).can_report;
  });
  std::ranges::stable_sort(unknown_, {},
                           [](const Question& question) { return question.station->model->steering.questioned_at; });
  for (const auto& [station, why] : unknown_) {
    if (round_.questions.size() == QUESTIONS_PER_REQUEST * most_) {
      break;
    }
    if (std::ranges::find(round_.questions, *station->bssid, &BeaconOrder::bssid) == round_.questions.end()) {
      round_.questions.push_back({*station->client, *station->bssid, why});
    }
  }
}

}  // namespace

std::size_t most_at_once(const MeshModel& model, const SteeringPolicy& policy) {
  const auto agents = static_cast<std::size_t>(
      std::ranges::count(model.agents, AgentState::JOINED, [](const auto& agent) { return agent.second.state; }));
  return policy.most_at_once * std::max(agents, AGENTS_PER_LIMIT) / AGENTS_PER_LIMIT;
}

SteeringRound steer(const MeshModel& model, const SteeringPolicy& policy, TimePoint now) {
  return policy.is_on ? Round(model, policy, now).decide() : SteeringRound{};
}

void record_asked(SteeringRecord& record, const SteeringOrder& order, const SteeringPolicy& policy, TimePoint now) {
  if (record.last_status == 0) {  // it accepted, and either is still or again where it was, or is not
    record.refusals = record.asked_from == order.from ? record.refusals + 1 : 0;
  }
  record.asked_at = now;
  record.asked_from = order.from;
  record.not_before = now + policy.rest;
  record.last_status.reset();
  record.questions = 0;
}

void record_answer(SteeringRecord& record, const std::optional<std::uint8_t>& status, const SteeringPolicy& policy,
                   TimePoint now) {
  record.last_status = status;
  if (status != std::uint8_t{0}) {
    ++record.refusals;
  }
  record.not_before =
      now +
      (record.refusals == 0 ? policy.rest : doubled(policy.back_off, record.refusals - 1, policy.longest_back_off));
}

void record_question(SteeringRecord& record, TimePoint now) {
  ++record.questions;
  record.questioned_at = now;
}

bool may_be_target(const MeshModel& model, const MACAddress& from, const MACAddress& to) {
  const MeshModel::Place here = model.find_bss(from);
  const MeshModel::Place there = model.find_bss(to);
  return here.bss != nullptr && there.bss != nullptr &&
         is_target(here, model.agents.at(*there.agent), *there.radio, *there.bss);
}

}  // namespace meshd::controller
