#include "tools/meshd/controller/client_orders.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <utility>

#include "qel/ieee1905_1/beacon_metrics_tlvs.h"
#include "qel/ieee1905_1/steering_tlvs.h"
#include "tools/meshd/controller/requests.h"

namespace meshd::controller {

using multi_ap::Courier;
using multi_ap::Outcome;
using qel::MACAddress;
using qel::ieee1905_1::BeaconMetricsResponseTLV;
using qel::ieee1905_1::Message;
using qel::ieee1905_1::MessageType;
using qel::ieee1905_1::SteeringBTMReportTLV;
using std::chrono::seconds;

namespace {

/// The agent may need all of its attempts to hear of it; then the client has some seconds.
constexpr seconds REPORT_PATIENCE{15};
constexpr seconds LIFTING_PATIENCE = Courier::ATTEMPTS * Courier::PATIENCE;
constexpr seconds BEACON_PATIENCE{20};
constexpr seconds ARRIVAL_PATIENCE{10};  // after it has agreed
constexpr seconds LATE_REPORT{2};        // after it has arrived
constexpr std::size_t MOST_HELD_OFF = 8;

template <class TLV>
Followups::Matches is_of(const MACAddress& client) {
  return [client](const Message& message) {
    const auto* tlv = message.find<TLV>();
    return tlv != nullptr && tlv->get_sta_mac_address() == client;
  };
}

std::string bss_count_text(std::size_t count) { return std::to_string(count) + (count == 1 ? " BSS" : " BSSs"); }

}  // namespace

void ClientOrders::steer(const MACAddress& client, const MACAddress& to, bool is_held, TimePoint now,
                         OnResult on_result) {
  const MeshModel::Place place = model_.find_client(client);
  const MeshModel::Place target = model_.find_bss(to);
  if (place.client == nullptr) {
    throw std::invalid_argument("no access point of the mesh has the client " + client.to_string());
  }
  if (target.bss == nullptr) {
    throw std::invalid_argument("the mesh has no BSS " + to.to_string());
  }
  if (*place.bssid == to) {
    throw std::invalid_argument("the client is already there");
  }
  if (place.bss->ssid != target.bss->ssid) {
    throw std::invalid_argument("the BSS has another SSID than that of the client");
  }
  if (policy_.steering.excluded_clients.contains(client)) {
    throw std::invalid_argument("the policy says that the client is never asked to move");
  }
  if (moves_.contains(client)) {
    throw std::invalid_argument("the client has already been asked to move");
  }
  const Denial* denial = model_.find_denial(to, client, now);
  if (denial != nullptr && denial->is_ordered) {
    const auto left = std::chrono::ceil<seconds>(denial->until - now);
    throw std::invalid_argument("the client is blocked there for another " + std::to_string(left.count()) + " s");
  }
  const MACAddress agent = *place.agent;
  const SteeringOrder order{client, *place.bssid, to, {}};
  const TimePoint due = now + REPORT_PATIENCE + (denial == nullptr ? seconds(0) : LIFTING_PATIENCE);
  const auto report = followups_.expect(
      agent, MessageType::CLIENT_STEERING_BTM_REPORT_MESSAGE, due, is_of<SteeringBTMReportTLV>(client),
      [this, client](const Message* message, TimePoint time) { on_report(client, message, time); });
  const auto move = moves_
                        .emplace(client, Move{order,
                                              agent,
                                              is_held ? find_others(order) : std::vector<MACAddress>(),
                                              now,
                                              TimePoint::max(),
                                              {},
                                              {},
                                              false,
                                              is_held,
                                              report,
                                              std::move(on_result)})
                        .first;
  if (denial == nullptr) {
    ask_to_move(move, now);
    return;
  }
  const MACAddress refusing = *target.agent;
  courier_.request(refusing, block_request(to, client, 0), MessageType::IEEE1905_ACK_MESSAGE, now,
                   [this, client, to, refusing, report, now](Outcome outcome, const Message* answer, auto took) {
                     if (outcome == Outcome::DONE) {
                       model_.denials.erase({to, client});
                     }
                     const auto waiting = find_move(client, report);
                     if (waiting == moves_.end() || waiting->second.is_there) {
                       return;
                     }
                     if (outcome == Outcome::DONE) {
                       ask_to_move(waiting, now + took);
                     } else {
                       end(waiting, now + took, false, failure_text(refusing, answer));
                     }
                   });
}

ClientOrders::Moves::iterator ClientOrders::find_move(const MACAddress& client, Followups::Number report) {
  const auto move = moves_.find(client);
  return move == moves_.end() || move->second.report != report ? moves_.end() : move;
}

void ClientOrders::ask_to_move(Moves::iterator place, TimePoint now) {
  const auto& [client, move] = *place;
  if (SteeringRecord* record = learning_.find_record(client)) {
    record_asked(*record, move.order, policy_.steering, now);
  }
  courier_.request(
      move.agent, steering_request(model_, client, move.order.from, move.order.to), MessageType::IEEE1905_ACK_MESSAGE,
      now,
      [this, client = client, agent = move.agent, report = move.report, now](Outcome outcome, const Message* answer,
                                                                             auto took) {
        const auto asked = find_move(client, report);
        if (asked != moves_.end() && outcome != Outcome::DONE && !asked->second.status && !asked->second.is_there) {
          // Counts as a refusal, so that an agent that does not obey is not asked all the time.
          record_status(client, std::nullopt, now + took);
          end(asked, now + took, false, failure_text(agent, answer));
        }
      });
}

void ClientOrders::on_report(const MACAddress& client, const Message* message, TimePoint now) {
  const auto place = moves_.find(client);
  if (place == moves_.end()) {
    return;
  }
  Move& move = place->second;
  if (message != nullptr) {
    move.status = message->find<SteeringBTMReportTLV>()->get_btm_status_code();
    move.answered_at = now;
  }
  record_status(client, move.is_there ? std::optional<std::uint8_t>(0) : move.status, now);
  if (move.is_there) {
    end_there(place, now);
  } else if (!move.status) {
    end(place, now, false, "no response from the client");
  } else if (*move.status != 0) {
    end(place, now, false, btm_status_text(*move.status));
  } else {
    move.due = now + ARRIVAL_PATIENCE;
    for (const MACAddress& bssid : move.others) {
      hold_off(client, bssid, now);
    }
  }
}

void ClientOrders::on_joined(const MACAddress& client, const MACAddress& bssid, TimePoint now) {
  const auto place = moves_.find(client);
  if (place == moves_.end()) {
    return;
  }
  Move& move = place->second;
  if (bssid == move.order.to) {
    move.is_there = true;
    if (move.is_held) {
      hold_off(client, move.order.from, now);
    }
    if (move.status) {
      end_there(place, now);
    } else {
      move.due = now + LATE_REPORT;
    }
  } else if (bssid != move.order.from && move.status) {
    end(place, now, false, btm_status_text(*move.status) + ", but it moved to " + bssid.to_string());
  }
}

void ClientOrders::tend(TimePoint now) {
  for (auto place = moves_.begin(); place != moves_.end();) {
    const MACAddress client = place->first;
    Move& move = place->second;
    if (move.due <= now) {
      if (move.is_there) {
        record_status(client, 0, now);
        end_there(place, now);
      } else {
        end(place, now, false,
            "ACCEPT, but it was not at " + move.order.to.to_string() + " within " +
                std::to_string(ARRIVAL_PATIENCE.count()) + " s");
      }
    }
    place = moves_.upper_bound(client);
  }
}

void ClientOrders::end_there(Moves::iterator place, TimePoint now) {
  const Move& move = place->second;
  std::string text = move.status ? btm_status_text(*move.status) : "no response";
  if (move.answered_at) {
    text += " after " + seconds_text(between(move.since, *move.answered_at));
  }
  end(place, now, true, text + "; moved from " + move.order.from.to_string() + " to " + move.order.to.to_string());
}

void ClientOrders::end(Moves::iterator place, TimePoint now, bool is_success, const std::string& text) {
  const auto move = moves_.extract(place);
  followups_.cancel(move.mapped().report);
  move.mapped().on_result({is_success, text, between(move.mapped().since, now)});
}

void ClientOrders::record_status(const MACAddress& client, const std::optional<std::uint8_t>& status, TimePoint now) {
  if (SteeringRecord* record = learning_.find_record(client)) {
    record_answer(*record, status, policy_.steering, now);
  }
}

void ClientOrders::hold_off(const MACAddress& client, const MACAddress& bssid, TimePoint now) {
  const Denial* denial = model_.find_denial(bssid, client, now);
  if (denial == nullptr || !denial->is_ordered) {
    model_.denials[{bssid, client}] = {now + seconds(HELD_SECONDS), false};
    ask_to_hold_off(client, bssid, now);
  }
}

/// The access point that a client has left may learn so after we do, and cannot refuse it before.
void ClientOrders::on_gone(const MACAddress& client, const MACAddress& bssid, TimePoint now) {
  const Denial* denial = model_.find_denial(bssid, client, now);
  if (denial != nullptr && !denial->is_ordered && !denial->is_confirmed) {
    ask_to_hold_off(client, bssid, now);
  }
}

void ClientOrders::ask_to_hold_off(const MACAddress& client, const MACAddress& bssid, TimePoint now) {
  const MeshModel::Place place = model_.find_bss(bssid);
  const auto denial = model_.denials.find({bssid, client});
  if (place.bss == nullptr || denial == model_.denials.end()) {
    return;
  }
  const auto left = std::chrono::ceil<seconds>(denial->second.until - now);
  courier_.request(*place.agent, block_request(bssid, client, static_cast<std::uint16_t>(left.count())),
                   MessageType::IEEE1905_ACK_MESSAGE, now,
                   [this, client, bssid](Outcome outcome, const Message*, std::chrono::milliseconds) {
                     const auto held = model_.denials.find({bssid, client});
                     if (held != model_.denials.end() && outcome == Outcome::DONE) {
                       held->second.is_confirmed = true;
                     }
                   });
}

std::vector<MACAddress> ClientOrders::find_others(const SteeringOrder& order) const {
  const MeshModel::Place place = model_.find_client(order.client);
  std::vector<MACAddress> others;
  const auto add = [&](const MACAddress& bssid, const std::string& ssid) {
    if (bssid != order.from && bssid != order.to && ssid == place.bss->ssid && others.size() < MOST_HELD_OFF) {
      others.push_back(bssid);
    }
  };
  for (const auto& [bssid, rcpi] : place.client->heard_bss) {
    if (const MeshModel::Place heard = model_.find_bss(bssid); heard.bss != nullptr) {
      add(bssid, heard.bss->ssid);
    }
  }
  for (const auto& [identifier, radio] : model_.agents.at(*place.agent).radios) {
    for (const auto& [bssid, bss] : radio.bss) {
      if (!place.client->heard_bss.contains(bssid)) {
        add(bssid, bss.ssid);
      }
    }
  }
  return others;
}

void ClientOrders::block(const MACAddress& client, std::vector<MACAddress> bssids, std::uint16_t duration,
                         TimePoint now, const OnResult& on_result) {
  if (bssids.empty()) {
    const MeshModel::Place place = model_.find_client(client);
    for (const auto& [al_mac, agent] : model_.agents) {
      for (const auto& [identifier, radio] : agent.radios) {
        for (const auto& [bssid, bss] : radio.bss) {
          if (agent.state == AgentState::JOINED && (place.client == nullptr || bssid != *place.bssid)) {
            bssids.push_back(bssid);
          }
        }
      }
    }
  }
  if (bssids.empty()) {
    throw std::invalid_argument("the mesh has no BSS that could refuse the client");
  }
  for (const MACAddress& bssid : bssids) {
    if (model_.find_bss(bssid).bss == nullptr) {
      throw std::invalid_argument("the mesh has no BSS " + bssid.to_string());
    }
  }
  struct Progress {
    std::size_t waiting = 0;
    std::size_t done = 0;
    std::string failures;
  };
  const auto progress = std::make_shared<Progress>();
  progress->waiting = bssids.size();
  for (const MACAddress& bssid : bssids) {
    const MACAddress agent = *model_.find_bss(bssid).agent;
    courier_.request(agent, block_request(bssid, client, duration), MessageType::IEEE1905_ACK_MESSAGE, now,
                     [=, this](Outcome outcome, const Message* answer, auto took) {
                       if (outcome != Outcome::DONE) {
                         progress->failures += "; " + bssid.to_string() + ": " + failure_text(agent, answer);
                       } else if (++progress->done; duration == 0) {
                         model_.denials.erase({bssid, client});
                       } else {
                         model_.denials[{bssid, client}] = {now + took + seconds(duration), true};
                       }
                       if (--progress->waiting == 0) {
                         std::string text = duration == 0 ? "no longer blocked from " : "blocked from ";
                         text += bss_count_text(progress->done);
                         if (duration != 0) {
                           text.append(" for ").append(std::to_string(duration)).append(" s");
                         }
                         on_result({progress->failures.empty(), text + progress->failures, took});
                       }
                     });
  }
}

void ClientOrders::ask_what_it_hears(const MACAddress& client, TimePoint now, OnResult on_result) {
  const MeshModel::Place place = model_.find_client(client);
  if (place.client == nullptr) {
    throw std::invalid_argument("no access point of the mesh has the client " + client.to_string());
  }
  std::optional<Message> message = beacon_query(model_, client);
  if (!message) {
    throw std::invalid_argument("no channel of the mesh is known yet");
  }
  if (!listening_.insert(client).second) {
    throw std::invalid_argument("the client has already been asked what it hears");
  }
  const MACAddress agent = *place.agent;
  if (SteeringRecord* record = learning_.find_record(client)) {
    record_question(*record, now);
  }
  const auto shared_result = std::make_shared<OnResult>(std::move(on_result));
  const auto finish = [this, client, shared_result, now](TimePoint time, bool is_success, const std::string& text,
                                                         std::vector<Result::Part> parts = {}) {
    listening_.erase(client);
    (*shared_result)({is_success, text, between(now, time), std::move(parts)});
  };
  const auto response =
      followups_.expect(agent, MessageType::BEACON_METRICS_RESPONSE_MESSAGE, now + BEACON_PATIENCE,
                        is_of<BeaconMetricsResponseTLV>(client), [finish](const Message* answer, TimePoint time) {
                          answer == nullptr ? finish(time, false, "no response from the client")
                                            : finish(time, true, answer_text(*answer), answer_parts(*answer));
                        });
  courier_.request(agent, std::move(*message), MessageType::IEEE1905_ACK_MESSAGE, now,
                   [this, agent, response, finish, now](Outcome outcome, const Message* answer, auto took) {
                     if (outcome != Outcome::DONE && followups_.cancel(response)) {
                       finish(now + took, false, failure_text(agent, answer));
                     }
                   });
}

}  // namespace meshd::controller
