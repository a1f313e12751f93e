#include "tools/meshd/wifi/model.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "qel/channel/frequency.h"

namespace meshd::wifi {

namespace {

using qel::kHz;
using Topic = Question::Topic;

const Interface* first_interface(const Model::Interfaces& interfaces, std::uint32_t wiphy, bool on_a_channel) {
  const auto found = std::find_if(interfaces.begin(), interfaces.end(), [&](const auto& entry) {
    return entry.second.wiphy == wiphy && (!on_a_channel || entry.second.channel.get_primary_frequency().is_set());
  });
  return found == interfaces.end() ? nullptr : &found->second;
}

bool has_stations(const Interface& interface) {
  return interface.role == Role::AP || interface.role == Role::AP_VLAN || interface.role == Role::STATION ||
         interface.role == Role::MESH_POINT;
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

const Regulatory* Model::get_regulatory(std::uint32_t wiphy) const {
  const Regulatory* found = nullptr;
  for (const Regulatory& rules : regulatory_) {
    if (rules.wiphy == wiphy || (!rules.wiphy && found == nullptr)) {
      found = &rules;
    }
  }
  return found;
}

qel::WLANRadio Model::get_radio(std::uint32_t wiphy, Timestamp now) const {
  const Wiphy& radio = wiphys_.at(wiphy);
  const Interface* const any = first_interface(interfaces_, wiphy, false);
  const Interface* const active = first_interface(interfaces_, wiphy, true);
  const auto band = active == nullptr
                        ? std::nullopt
                        : std::optional(qel::frequency_to_band(active->channel.get_primary_frequency().get()));
  const auto identifier =
      any != nullptr && radio.addresses.empty() ? std::optional(any->mac) : std::optional<qel::MACAddress>();
  qel::WLANRadio result = radio_of(radio, get_regulatory(wiphy), now, band, identifier);

  qel::ChannelList channels = result.get_channel_list();
  for (const auto& [number, known] : known_) {
    const auto interface = interfaces_.find(number);
    if (interface == interfaces_.end() || interface->second.wiphy != wiphy) {
      continue;
    }
    for (const auto& [frequency, survey] : known.surveys) {
      const auto before = known.earlier.find(frequency);
      apply_survey(channels, survey, before == known.earlier.end() ? Survey() : before->second, now);
    }
  }
  for (const qel::ChannelEntry& entry : result.get_channel_list().get_channels()) {
    if (is_listening(wiphy, entry.get_frequency())) {
      std::bitset<5> state;
      state.set(bit_index(qel::ChannelStateBit::CAC_RUNNING));
      qel::ChannelEntry& listened = *channels.get_channel_entry(entry.get_frequency());
      listened.reset_state_flags();
      listened.set_state_flags({state, now});
    }
  }
  result.set_channel_list(std::move(channels));
  return result;
}

bool Model::is_listening(std::uint32_t wiphy, const kHz& frequency) const {
  const auto listening = listening_.find(wiphy);
  if (listening == listening_.end() || !listening->second.get_primary_segment().is_set()) {
    return false;
  }
  const auto& [center, width] = listening->second.get_primary_segment().get();
  const kHz half(unit_cast<kHz>(channel_width_to_frequency(width)).value() / 2);
  return center - half < frequency && frequency < center + half;
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
      Interface interface = interface_of(message, now);
      if (interface.number != 0) {
        answer_.interfaces.insert_or_assign(interface.number, std::move(interface));
      }
      break;
    }
    case Topic::STATIONS: {
      Station station = station_of(message);
      answer_.stations.insert_or_assign(station.mac, std::move(station));
      break;
    }
    case Topic::SURVEYS: {
      const Survey survey = survey_of(message);
      if (survey.frequency != kHz(0)) {
        answer_.surveys.insert_or_assign(survey.frequency, survey);
      }
      break;
    }
  }
}

void Model::end() {
  Answer answer = std::exchange(answer_, {});
  switch (answer.question.topic) {
    case Topic::WIPHYS:
      wiphys_ = std::move(answer.wiphys);
      break;
    case Topic::REGULATORY:
      regulatory_ = std::move(answer.regulatory);
      break;
    case Topic::INTERFACES:
      interfaces_ = std::move(answer.interfaces);
      std::erase_if(known_, [&](const auto& entry) { return !interfaces_.contains(entry.first); });
      break;
    case Topic::STATIONS:
    case Topic::SURVEYS:
      if (!interfaces_.contains(answer.question.interface)) {
        break;
      }
      Known& known = known_[answer.question.interface];
      if (answer.question.topic == Topic::SURVEYS) {
        known.earlier = std::exchange(known.surveys, std::move(answer.surveys));
        break;
      }
      for (auto& [mac, station] : answer.stations) {  // only the event of its coming has its elements
        if (const auto before = known.stations.find(mac); before != known.stations.end() && station.elements.empty()) {
          station.elements = std::move(before->second.elements);
        }
      }
      known.stations = std::move(answer.stations);
      break;
  }
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
  return std::visit([&](const auto& which) { return take(which); }, event);
}

std::vector<Question> Model::take(const WiphyEvent& event) {
  if (event.is_there) {
    return {{Topic::WIPHYS}, {Topic::REGULATORY}, {Topic::INTERFACES}};
  }
  wiphys_.erase(event.number);
  listening_.erase(event.number);
  std::vector<std::uint32_t> gone;
  for (const auto& [number, interface] : interfaces_) {
    if (interface.wiphy == event.number) {
      gone.push_back(number);
    }
  }
  std::for_each(gone.begin(), gone.end(), [&](std::uint32_t number) { forget_interface(number); });
  return {};
}

std::vector<Question> Model::take(const InterfaceEvent& event) {
  if (event.interface.number == 0) {
    return {};
  }
  if (!event.is_there) {
    forget_interface(event.interface.number);
    return {};
  }
  interfaces_.insert_or_assign(event.interface.number, event.interface);
  return questions_about(event.interface);
}

std::vector<Question> Model::take(const StationEvent& event) {
  if (!interfaces_.contains(event.interface)) {
    return {};
  }
  Stations& stations = known_[event.interface].stations;
  if (!event.is_there) {
    stations.erase(event.station.mac);
    return {};
  }
  stations.insert_or_assign(event.station.mac, event.station);
  return {{Topic::STATIONS, event.interface}};
}

std::vector<Question> Model::take(const AccessPointEvent& event) {
  return {{Topic::INTERFACES}, {Topic::STATIONS, event.interface}};
}

std::vector<Question> Model::take(const LinkEvent& event) {
  if (event.what == LinkEvent::What::DISCONNECTED) {
    if (const auto known = known_.find(event.interface); known != known_.end()) {
      known->second.stations.clear();
    }
    return {{Topic::INTERFACES}};
  }
  return {{Topic::INTERFACES}, {Topic::STATIONS, event.interface}};
}

std::vector<Question> Model::take(const ChannelSwitchEvent& event) {
  const auto interface = interfaces_.find(event.interface);
  if (!event.is_done || interface == interfaces_.end()) {
    return {};
  }
  interface->second.channel = event.channel;
  return {{Topic::INTERFACES}, {Topic::SURVEYS, event.interface}};
}

std::vector<Question> Model::take(const RadarEvent& event) {
  if (event.what == RadarEvent::What::LISTENING) {
    listening_.insert_or_assign(event.wiphy, event.channel);
  } else if (event.what != RadarEvent::What::USABLE_AGAIN) {
    listening_.erase(event.wiphy);
  }
  return {{Topic::WIPHYS}};
}

std::vector<Question> Model::take(const RegulatoryEvent&) { return {{Topic::REGULATORY}, {Topic::WIPHYS}}; }

void Model::forget_interface(std::uint32_t number) {
  interfaces_.erase(number);
  known_.erase(number);
}

}  // namespace meshd::wifi
