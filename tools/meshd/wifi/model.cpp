#include "tools/meshd/wifi/model.h"

#include <algorithm>
#include <bitset>
#include <chrono>
#include <optional>
#include <utility>

#include "qel/channel/frequency.h"

namespace meshd::wifi {

namespace {

using qel::kHz;
using Topic = Question::Topic;

/// Shorter measurements, between two answers, say little about the utilization.
constexpr std::chrono::milliseconds SHORTEST_MEASUREMENT{1000};

bool has_stations(const Interface& interface) {
  constexpr Role ROLES[] = {Role::AP,         Role::AP_VLAN,    Role::STATION,
                            Role::MESH_POINT, Role::P2P_CLIENT, Role::P2P_GROUP_OWNER};
  return std::ranges::find(ROLES, interface.role) != std::end(ROLES);
}

/// True if what is known about the stations and channels of an interface still holds.
bool is_same(const Interface& left, const Interface& right) {
  return left.device == right.device && left.wiphy == right.wiphy && left.role == right.role;
}

template <class Map, class Value>
void set(Map& map, const typename Map::key_type& key, Value&& value, std::size_t most) {
  if (map.size() < most || map.contains(key)) {
    map.insert_or_assign(key, std::forward<Value>(value));
  }
}

/// Keeps the beginning of a measurement until it is long enough and goes on.
void begin_measurement(Model::Surveys& earlier, const Survey& previous, const Survey& survey) {
  const auto was_active = previous.active.value_or(std::chrono::milliseconds(0));
  const auto active = survey.active.value_or(std::chrono::milliseconds(0));
  if (active < was_active || active - was_active >= SHORTEST_MEASUREMENT) {
    earlier.insert_or_assign(survey.frequency, previous);
  }
}

}  // namespace

const Model::Stations& Model::get_stations(std::uint32_t interface) const {
  static const Stations NONE;
  const auto known = known_.find(interface);
  return known == known_.end() ? NONE : known->second.stations;
}

const Model::Surveys& Model::get_surveys(std::uint32_t interface) const {
  static const Surveys NONE;
  const auto known = known_.find(interface);
  return known == known_.end() ? NONE : known->second.surveys;
}

const Interface& Model::get_bss(const Interface& interface) const {
  const auto bss = std::find_if(interfaces_.begin(), interfaces_.end(), [&](const auto& entry) {
    const Interface& other = entry.second;
    return other.role == Role::AP && other.wiphy == interface.wiphy && other.mac == interface.mac;
  });
  return interface.role == Role::AP_VLAN && bss != interfaces_.end() ? bss->second : interface;
}

const Interface* Model::find_access_point(std::uint32_t wiphy) const {
  const auto found = std::ranges::find_if(interfaces_, [&](const auto& entry) {
    const Interface& interface = entry.second;
    return interface.wiphy == wiphy && interface.role == Role::AP && interface.channel.get_primary_frequency().is_set();
  });
  return found == interfaces_.end() ? nullptr : &found->second;
}

std::optional<qel::MACAddress> Model::get_identifier(const Wiphy& radio) const {
  if (!radio.addresses.empty()) {
    return radio.addresses.front();
  }
  const Interface* const any = first_interface(radio.number, false);
  return any == nullptr ? std::nullopt : std::optional(any->mac);
}

std::optional<std::uint8_t> Model::get_utilization(const Interface& interface) const {
  const auto known = known_.find(interface.number);
  const auto& frequency = interface.channel.get_primary_frequency();
  if (known == known_.end() || !frequency.is_set()) {
    return std::nullopt;
  }
  const auto& [stations, surveys, earlier] = known->second;
  const auto survey = surveys.find(frequency.get());
  const auto previous = earlier.find(frequency.get());
  return survey == surveys.end() ? std::nullopt
                                 : utilization(survey->second, previous == earlier.end() ? Survey() : previous->second);
}

const Regulatory* Model::get_regulatory(std::uint32_t wiphy) const {
  const Regulatory* found = nullptr;
  for (const Regulatory& rules : regulatory_) {
    if (rules.wiphy == wiphy || (!rules.wiphy && found == nullptr)) {
      found = &rules;
    }
  }
  return found;
}

const Interface* Model::first_interface(std::uint32_t wiphy, bool on_a_channel) const {
  const auto found = std::find_if(interfaces_.begin(), interfaces_.end(), [&](const auto& entry) {
    return entry.second.wiphy == wiphy && (!on_a_channel || entry.second.channel.get_primary_frequency().is_set());
  });
  return found == interfaces_.end() ? nullptr : &found->second;
}

qel::WLANRadio Model::get_radio(std::uint32_t wiphy, Timestamp now, std::optional<qel::FrequencyBand> band) const {
  const Wiphy& radio = wiphys_.at(wiphy);
  if (const Interface* const active = first_interface(wiphy, true); !band && active != nullptr) {
    band = qel::frequency_to_band(active->channel.get_primary_frequency().get());
  }
  if (!band && !radio.bands.empty()) {
    band = radio.bands.front().band;
  }
  qel::WLANRadio result = radio_of(radio, band.value_or(qel::FrequencyBand::INVALID_BAND_MAX), get_regulatory(wiphy),
                                   now, get_identifier(radio));

  qel::ChannelList channels = result.get_channel_list();
  for (const auto& [number, known] : known_) {
    if (interfaces_.at(number).wiphy != wiphy) {
      continue;
    }
    for (const auto& [frequency, survey] : known.surveys) {
      const auto earlier = known.earlier.find(frequency);
      apply_survey(channels, survey, earlier == known.earlier.end() ? Survey() : earlier->second, now);
    }
  }
  for (const Band& which : radio.bands) {
    for (const WiphyChannel& channel : which.channels) {
      qel::ChannelEntry* const entry = channels.get_channel_entry(channel.frequency);
      if (entry != nullptr && is_listening(wiphy, channel, now)) {
        std::bitset<5> state;
        state.set(bit_index(qel::ChannelStateBit::CAC_RUNNING));
        entry->reset_state_flags();
        entry->set_state_flags({state, now});
      }
    }
  }
  result.set_channel_list(std::move(channels));
  return result;
}

bool Model::is_listening(std::uint32_t wiphy, const WiphyChannel& channel, Timestamp now) const {
  if (!channel.has_radar || channel.dfs_state != DfsState::USABLE) {
    return false;
  }
  // The kernel lets an access point onto such a channel only to listen, and reports no beginning of that.
  const bool has_listener = std::any_of(interfaces_.begin(), interfaces_.end(), [&](const auto& entry) {
    const Interface& interface = entry.second;
    return interface.wiphy == wiphy && interface.role == Role::AP && occupies(interface.channel, channel.frequency);
  });
  // A radio may listen elsewhere with a receiver of its own. If the event of its end was lost, that ends by itself.
  const auto listening = listening_.find(wiphy);
  const std::chrono::nanoseconds longest = 2 * channel.cac_time;
  return has_listener || (listening != listening_.end() && occupies(listening->second, channel.frequency) &&
                          now - listening->second.get_primary_segment().get_timestamp() <= longest.count());
}

void Model::begin(const Question& question) { answer_ = {.question = question}; }

void Model::add(const Message& message, Timestamp now) {
  switch (answer_.question.topic) {
    case Topic::WIPHYS:
      add_wiphy(answer_.wiphys, message);
      break;
    case Topic::REGULATORY:
      if (answer_.regulatory.size() < MOST_WIPHYS) {
        answer_.regulatory.push_back(regulatory_of(message));
      }
      break;
    case Topic::INTERFACES: {
      const Interface interface = interface_of(message, now);
      if (interface.number != 0) {
        set(answer_.interfaces, interface.number, interface, MOST_INTERFACES);
      }
      break;
    }
    case Topic::STATIONS: {
      Station station = station_of(message);
      set(answer_.stations, station.mac, std::move(station), MOST_STATIONS);
      break;
    }
    case Topic::SURVEYS: {
      const Survey survey = survey_of(message);
      if (survey.frequency != kHz(0)) {
        set(answer_.surveys, survey.frequency, survey, MOST_SURVEYS);
      }
      break;
    }
  }
}

void Model::end() {
  Answer answer = std::exchange(answer_, {});
  const bool is_known = interfaces_.contains(answer.question.interface);
  switch (answer.question.topic) {
    case Topic::WIPHYS:
      wiphys_ = std::move(answer.wiphys);
      std::erase_if(listening_, [&](const auto& entry) { return !wiphys_.contains(entry.first); });
      break;
    case Topic::REGULATORY:
      regulatory_ = std::move(answer.regulatory);
      break;
    case Topic::INTERFACES:
      take_interfaces(std::move(answer.interfaces));
      break;
    case Topic::STATIONS:
      if (is_known) {
        take_stations(known_[answer.question.interface], std::move(answer.stations));
      }
      break;
    case Topic::SURVEYS:
      if (is_known) {
        Known& known = known_[answer.question.interface];
        for (const auto& [frequency, survey] : answer.surveys) {
          if (const auto previous = known.surveys.find(frequency); previous != known.surveys.end()) {
            begin_measurement(known.earlier, previous->second, survey);
          }
        }
        std::erase_if(known.earlier, [&](const auto& entry) { return !answer.surveys.contains(entry.first); });
        known.surveys = std::move(answer.surveys);
      }
      break;
  }
}

void Model::take_interfaces(Interfaces interfaces) {
  std::erase_if(known_, [&](const auto& entry) {
    const auto now = interfaces.find(entry.first);
    return now == interfaces.end() || !is_same(interfaces_.at(entry.first), now->second);
  });
  interfaces_ = std::move(interfaces);
}

void Model::take_stations(Known& known, Stations stations) {
  for (auto& [mac, station] : stations) {  // only the event of joining has the elements
    if (const auto previous = known.stations.find(mac); previous != known.stations.end() && station.elements.empty()) {
      station.elements = std::move(previous->second.elements);
    }
  }
  known.stations = std::move(stations);
}

std::vector<Question> Model::questions_about(const Interface& interface) {
  std::vector<Question> questions;
  if (has_stations(interface)) {
    questions.push_back({Topic::STATIONS, interface.number});
  }
  if (interface.channel.get_primary_frequency().is_set() && interface.role != Role::AP_VLAN) {
    questions.push_back({Topic::SURVEYS, interface.number});
  }
  return questions;
}

std::vector<Question> Model::take(const Event& event) {
  return std::visit([&](const auto& which) { return apply(which); }, event);
}

std::vector<Question> Model::apply(const WiphyEvent& event) {
  if (!event.is_there) {
    wiphys_.erase(event.number);
    listening_.erase(event.number);
    std::erase_if(known_, [&](const auto& entry) { return interfaces_.at(entry.first).wiphy == event.number; });
    std::erase_if(interfaces_, [&](const auto& entry) { return entry.second.wiphy == event.number; });
  }
  return {{Topic::WIPHYS}, {Topic::REGULATORY}, {Topic::INTERFACES}};
}

std::vector<Question> Model::apply(const InterfaceEvent& event) {
  const std::uint32_t number = event.interface.number;
  if (number == 0) {
    return {};
  }
  const auto previous = interfaces_.find(number);
  if (!event.is_there || (previous != interfaces_.end() && !is_same(previous->second, event.interface))) {
    forget_interface(number);
  }
  if (event.is_there) {
    set(interfaces_, number, event.interface, MOST_INTERFACES);
  }
  return {{Topic::INTERFACES}};
}

std::vector<Question> Model::apply(const StationEvent& event) {
  if (!interfaces_.contains(event.interface)) {
    return {};
  }
  Stations& stations = known_[event.interface].stations;
  if (event.is_there) {
    Station station = event.station;
    station.has_flags = true;  // the event has none, and none is set yet
    set(stations, event.station.mac, std::move(station), MOST_STATIONS);
  } else {
    stations.erase(event.station.mac);
  }
  return {{Topic::STATIONS, event.interface}};
}

std::vector<Question> Model::apply(const AccessPointEvent&) { return {{Topic::INTERFACES}}; }

std::vector<Question> Model::apply(const LinkEvent& event) {
  const auto known = known_.find(event.interface);
  if (known != known_.end() && event.what == LinkEvent::What::DISCONNECTED) {
    known->second.stations.clear();
  }
  return {{Topic::INTERFACES}};
}

std::vector<Question> Model::apply(const ChannelSwitchEvent& event) {
  const auto interface = interfaces_.find(event.interface);
  if (!event.is_done || interface == interfaces_.end()) {
    return {};
  }
  // The event does not contain the power.
  const auto power = interface->second.channel.get_max_power();
  interface->second.channel = event.channel;
  interface->second.channel.set_max_power(power);
  return {{Topic::INTERFACES}};
}

std::vector<Question> Model::apply(const RadarEvent& event) {
  using What = RadarEvent::What;
  if (event.what == What::LISTENING) {
    set(listening_, event.wiphy, event.channel, MOST_WIPHYS);
  } else if (event.what == What::LISTENED || event.what == What::LISTENING_ENDED || event.what == What::DETECTED) {
    listening_.erase(event.wiphy);
  }
  return {{Topic::WIPHYS}};
}

std::vector<Question> Model::apply(const RegulatoryEvent&) { return {{Topic::REGULATORY}, {Topic::WIPHYS}}; }

void Model::forget_interface(std::uint32_t number) {
  interfaces_.erase(number);
  known_.erase(number);
}

}  // namespace meshd::wifi
