#include "bench/multi_ap/world.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "qel/channel/frequency.h"
#include "tools/meshd/wifi/station.h"

namespace meshd::simulation {

namespace {

using qel::ChannelWidth;
using qel::FrequencyBand;
using qel::kHz;
using qel::MACAddress;

constexpr double SPACING = 16;        // between access points, in metres
constexpr double EARSHOT = 70;        // beyond it, nothing is heard
constexpr double WEAKEST_JOIN = -84;  // dBm at which a client still joins
constexpr double WEAKEST_STAY = -87;  // dBm below which it goes elsewhere of its own accord
constexpr double DEFERENCE = -82;     // dBm above which a radio waits for another one
constexpr std::size_t MOST_REPORTED = 8;
constexpr std::uint64_t RETURN_TIME = 600;  // seconds
constexpr double STEPS = 5;                 // metres; within them, a client has not really moved

constexpr std::array<FrequencyBand, World::RADIOS> BANDS{FrequencyBand::BAND_2_4_GHZ, FrequencyBand::BAND_5_GHZ,
                                                         FrequencyBand::BAND_6_GHZ};

/// Purposes of random numbers.
enum Purpose : std::uint64_t { LAYOUT, CHANNEL, NATURE, GOAL, DEMAND, SHADOW, NOISE, RADAR };

MACAddress address(std::uint8_t kind, std::size_t number, std::size_t radio) {
  return MACAddress({0x02, 0x19, kind, static_cast<std::uint8_t>(number >> 8U), static_cast<std::uint8_t>(number),
                     static_cast<std::uint8_t>(radio)});
}

std::size_t number_in(const MACAddress& mac) {
  return static_cast<std::size_t>(mac.octets()[3]) << 8U | mac.octets()[4];
}

}  // namespace

double random_of(std::uint64_t seed, std::uint64_t what, std::uint64_t number, std::uint64_t time) {
  // The finalizer of SplitMix64.
  std::uint64_t mixed = seed;
  for (const std::uint64_t part : {what, number, time}) {
    mixed += part + 0x9E3779B97F4A7C15U;
    mixed = (mixed ^ (mixed >> 30U)) * 0xBF58476D1CE4E5B9U;
    mixed = (mixed ^ (mixed >> 27U)) * 0x94D049BB133111EBU;
    mixed ^= mixed >> 31U;
  }
  return static_cast<double>(mixed >> 11U) / 9007199254740992.0;
}

MACAddress World::radio(std::size_t access_point, std::size_t radio) { return address(0x10, access_point, radio); }
MACAddress World::bssid(std::size_t access_point, std::size_t radio) { return address(0x20, access_point, radio); }
MACAddress World::client(std::size_t number) { return address(0x30, number, 0); }
std::size_t World::number_of(const MACAddress& client) { return number_in(client); }
World::Place World::place_of(const MACAddress& bssid) { return {number_in(bssid), bssid.octets()[5]}; }

World::World(const Settings& settings) : settings_(settings) {
  place_access_points();
  place_clients();
  update_clients();
  update_loads();
}

void World::place_access_points() {
  const auto columns = static_cast<std::size_t>(std::ceil(std::sqrt(static_cast<double>(settings_.access_points))));
  side_ = SPACING * static_cast<double>(columns);
  neighbors_.resize(settings_.access_points);
  own_loads_.resize(settings_.access_points);
  for (std::size_t number = 0; number < settings_.access_points; ++number) {
    const auto near = [&](std::size_t step, std::uint64_t axis) {
      return SPACING * (static_cast<double>(step) + 0.3 + 0.4 * random(LAYOUT, number, axis));
    };
    positions_.push_back({near(number % columns, 0), near(number / columns, 1)});
    auto air = std::make_unique<wifi::SimulatedAir>();
    for (std::size_t radio = 0; radio < RADIOS; ++radio) {
      wifi::AirRadio& state = air->state.emplace_back(
          wifi::simulated_radio(World::radio(number, radio), {BANDS[radio]},
                                radio == 0 ? ChannelWidth::WIDTH_40_MHZ : ChannelWidth::WIDTH_80_MHZ));
      // Most are still on the channel with which they came.
      const double choice = random(CHANNEL, number, radio);
      const auto pick = [&](long usual, long second, long third) {
        return kHz(1000 * (choice < 0.6 ? usual : choice < 0.8 ? second : third));
      };
      state.channel = radio == 0   ? wifi::simulated_channel(pick(2437, 2412, 2462))
                      : radio == 1 ? wifi::simulated_channel(pick(5180, 5500, 5260), ChannelWidth::WIDTH_80_MHZ)
                                   : wifi::simulated_channel(pick(5955, 6035, 6115), ChannelWidth::WIDTH_80_MHZ);
      for (qel::WLANRadio& band : state.radios) {
        // All but the upper channels have been checked for radar.
        std::vector<qel::ChannelEntry> channels = band.get_channel_list().get_channels();
        for (qel::ChannelEntry& channel : channels) {
          if (channel.get_capability_flags().test(bit_index(qel::ChannelCapabilityBit::DFS)) &&
              channel.get_frequency() < kHz(5600000)) {
            channel.reset_state_flags();
            channel.set_state_flags({std::bitset<5>().set(bit_index(qel::ChannelStateBit::DFS_CLEAR)), 1});
          }
        }
        band.set_channel_list(qel::ChannelList(std::move(channels)));
      }
      state.noise = std::int8_t{-95};
      state.bss.push_back({.bssid = bssid(number, radio), .interface = "wlan" + std::to_string(radio), .ssid = "home"});
    }
    air->on_asked_to_move = [this](const wifi::MoveRequest& request) { return on_asked(request); };
    air->on_asked_for_beacons = [this](const MACAddress& client, std::span<const std::uint8_t> request) {
      return on_questioned(client, request);
    };
    air->on_moved_away = [this](const wifi::AirClient& state, const MACAddress& bssid) {
      joining_.push_back({number_of(state.station.mac), place_of(bssid), state});
    };
    airs_.push_back(std::move(air));
  }
  for (std::size_t one = 0; one < positions_.size(); ++one) {
    for (std::size_t other = 0; other < positions_.size(); ++other) {
      const double metres = distance(positions_[one], positions_[other]);
      for (std::size_t radio = 0; radio < RADIOS && one != other; ++radio) {
        const double heard = wifi::simulated_signal(BANDS[radio], metres);
        if (heard > DEFERENCE) {
          neighbors_[one][radio].push_back({{other, radio}, std::min(1.0, (heard - DEFERENCE) / 15)});
        }
      }
    }
  }
}

void World::place_clients() {
  clients_.resize(settings_.access_points * settings_.clients);
  for (std::size_t number = 0; number < clients_.size(); ++number) {
    Client& each = clients_[number];
    std::uint64_t draw = 0;
    const auto chance = [&] { return random(NATURE, number, draw++); };
    each.position = each.goal = {side_ * chance(), side_ * chance()};
    each.speed = chance() < 0.2 ? 0.5 + chance() : 0;
    const double bands = chance();
    each.bands = bands < 0.2 ? 1 : bands < 0.7 ? 2 : 3;
    const double temper = chance();
    each.temper = temper < 0.75   ? Temper::ACCEPTS
                  : temper < 0.87 ? Temper::REFUSES
                  : temper < 0.95 ? Temper::IGNORES
                                  : Temper::STAYS;
    each.can_report = chance() < 0.9;
    each.demand = chance() < 0.1 ? 10 + 40 * chance() : 0.5 * chance();
    wifi::AirClient state = wifi::simulated_client(client(number));
    state.can_move = chance() < 0.95;
    state.association_request = wifi::simulated_association_request("home", *state.can_move, each.can_report);
    // Some joined when they were elsewhere, and have stayed with their access point.
    const Position now = each.position;
    if (chance() < 0.2) {
      each.position = {now.x + 40 * (chance() - 0.5), now.y + 40 * (chance() - 0.5)};
    }
    std::optional<Place> place = find_best(number, WEAKEST_JOIN);
    each.position = now;
    if (place && signal(number, *place) > WEAKEST_STAY) {
      join(number, *place, std::move(state));
    } else {
      joining_.push_back({number, {}, std::move(state)});
    }
  }
}

double World::distance(const Position& one, const Position& other) {
  return std::hypot(one.x - other.x, one.y - other.y);
}

double World::signal(std::size_t number, const Place& place) const {
  const double metres = distance(clients_[number].position, positions_[place.access_point]);
  const std::uint64_t pair = number * 65536 + place.access_point;
  const double shadow = 10 * random(SHADOW, pair) - 5;
  const double noise = 2 * random(NOISE, pair, now_) - 1;
  return metres > EARSHOT
             ? -110
             : std::clamp(wifi::simulated_signal(BANDS[place.radio], metres) + shadow + noise, -110.0, -20.0);
}

double World::uplink_signal(double signal, std::size_t radio) { return wifi::simulated_uplink(BANDS[radio], signal); }

std::optional<World::Place> World::find_best(std::size_t number, double least) const {
  std::optional<Place> best;
  double best_signal = least;
  for (std::size_t access_point = 0; access_point < positions_.size(); ++access_point) {
    const Position& there = positions_[access_point];
    if (std::abs(there.x - clients_[number].position.x) > EARSHOT ||
        std::abs(there.y - clients_[number].position.y) > EARSHOT) {
      continue;
    }
    for (std::size_t radio = 0; radio < clients_[number].bands; ++radio) {
      const double heard = signal(number, {access_point, radio}) +
                           (radio == 0 ? 0 : 4 + 4 * static_cast<double>(radio));  // wider channels attract
      if (heard > best_signal && !airs_[access_point]->is_denied(bssid(access_point, radio), client(number))) {
        best = {access_point, radio};
        best_signal = heard;
      }
    }
  }
  return best;
}

void World::join(std::size_t number, const Place& place, wifi::AirClient state) {
  wifi::Station& station = state.station;
  station.connected = std::chrono::seconds(0);
  station.sent_octets = station.received_octets = 0;
  station.sent_packets = station.received_packets = station.retries = station.send_failures = 0;
  const double heard = signal(number, place);
  station.signal = static_cast<std::int8_t>(std::lround(uplink_signal(heard, place.radio)));
  if (!airs_[place.access_point]->join(bssid(place.access_point, place.radio), state)) {
    joining_.push_back({number, {}, std::move(state)});
  }
}

void World::step() {
  ++now_;
  for (std::size_t count = joining_.size(); count != 0; --count) {
    Joining joining = std::move(joining_.front());
    joining_.pop_front();
    const bool is_in_reach = joining.place && signal(joining.client, *joining.place) > WEAKEST_STAY;
    joining.place = is_in_reach ? joining.place : find_best(joining.client, WEAKEST_JOIN);
    if (joining.place) {
      join(joining.client, *joining.place, std::move(joining.state));
    } else {
      joining_.push_back(std::move(joining));
    }
  }
  for (std::size_t number = 0; number < clients_.size(); ++number) {
    walk(number);
  }
  update_clients();
  update_loads();
  collect_acts();
}

void World::walk(std::size_t number) {
  Client& each = clients_[number];
  if (each.speed == 0) {
    return;
  }
  const double metres = distance(each.position, each.goal);
  if (metres <= each.speed) {
    each.position = each.goal;
    // It rests for a minute or so before it walks on, to a place nearby.
    if (random(GOAL, number, 3 * now_) < 1.0 / 60) {
      const auto near = [&](double from, std::uint64_t axis) {
        return std::clamp(from + 60 * (random(GOAL, number, 3 * now_ + axis) - 0.5), 0.0, side_);
      };
      each.goal = {near(each.position.x, 1), near(each.position.y, 2)};
    }
  } else {
    each.position.x += (each.goal.x - each.position.x) * each.speed / metres;
    each.position.y += (each.goal.y - each.position.y) * each.speed / metres;
  }
}

void World::update_clients() {
  std::vector<std::size_t> leaving;
  for (std::size_t access_point = 0; access_point < airs_.size(); ++access_point) {
    for (std::size_t radio = 0; radio < RADIOS; ++radio) {
      const Place here{access_point, radio};
      double& load = own_loads_[access_point][radio] = 0;
      for (wifi::AirClient& state : radio_at(here).bss.front().clients) {
        const std::size_t number = number_of(state.station.mac);
        Client& each = clients_[number];
        each.place = here;
        wifi::Station& station = state.station;
        const double heard = signal(number, here);
        const double received = uplink_signal(heard, radio);
        if (heard < WEAKEST_STAY) {
          leaving.push_back(number);
        }
        const std::uint32_t down = wifi::simulated_rate(BANDS[radio], heard);
        const std::uint32_t up = wifi::simulated_rate(BANDS[radio], received);
        station.signal = station.average_signal = static_cast<std::int8_t>(std::lround(received));
        station.send_rate = {.kilobits = down * std::uint64_t{1000}};
        station.receive_rate = {.kilobits = up * std::uint64_t{1000}};
        // Demand comes and goes in periods of two minutes.
        const bool is_active = random(DEMAND, number, (now_ + number) / 120) < 0.6;
        const double wanted = is_active ? each.demand : each.demand / 50;
        const double sent = std::min(wanted * 0.85, down * 0.6);
        const double returned = std::min(wanted * 0.15, up * 0.6);
        load += sent / (down * 0.6) + returned / (up * 0.6);
        const auto octets_of = [](double megabits) { return static_cast<std::uint64_t>(megabits * 125000); };
        *station.sent_octets += octets_of(sent);
        *station.received_octets += octets_of(returned);
        *station.sent_packets += static_cast<std::uint32_t>(octets_of(sent) / 1400 + 1);
        *station.received_packets += static_cast<std::uint32_t>(octets_of(returned) / 1400 + 1);
        *station.retries += heard < -75 ? 20 : 1;
        *station.connected += std::chrono::seconds(1);
      }
    }
  }
  for (const std::size_t number : leaving) {
    go_elsewhere(number);
  }
}

void World::go_elsewhere(std::size_t number) {
  const std::optional<Place> place = find_best(number, WEAKEST_JOIN);
  if (place && place != clients_[number].place) {
    if (std::optional<wifi::AirClient> state = airs_[clients_[number].place->access_point]->leave(client(number))) {
      ++figures_.went;
      joining_.push_back({number, *place, std::move(*state)});
    }
  }
}

void World::update_loads() {
  const auto share_air = [&](const Place& one, const Place& other) {
    const auto& here = radio_at(one).channel.get_primary_segment();
    const auto& there = radio_at(other).channel.get_primary_segment();
    if (!here.is_set() || !there.is_set()) {
      return false;
    }
    const auto width = [](const auto& segment) {
      return qel::unit_cast<kHz>(qel::channel_width_to_frequency(segment.get().second)).value();
    };
    return std::abs(here.get().first.value() - there.get().first.value()) < (width(here) + width(there)) / 2;
  };
  for (std::size_t access_point = 0; access_point < airs_.size(); ++access_point) {
    for (std::size_t radio = 0; radio < RADIOS; ++radio) {
      double load = 0.03 + own_loads_[access_point][radio];
      for (const auto& [place, weight] : neighbors_[access_point][radio]) {
        if (share_air({access_point, radio}, place)) {
          load += weight * std::min(1.0, own_loads_[place.access_point][place.radio]);
        }
      }
      radio_at({access_point, radio}).utilization =
          static_cast<std::uint8_t>(std::lround(100 * std::clamp(load, 0.0, 1.0)));
    }
  }
}

std::optional<wifi::MoveAnswer> World::on_asked(const wifi::MoveRequest& request) {
  const std::size_t number = number_of(request.client);
  Client& each = clients_[number];
  ++figures_.asked;
  ++each.asked;
  constexpr std::uint8_t NO_SUITABLE_CANDIDATE = 7;
  const wifi::AirClient* state =
      airs_[place_of(request.bssid).access_point]->find_client(request.bssid, request.client);
  if (each.temper == Temper::IGNORES || state == nullptr || state->can_move != true) {
    ++figures_.ignored;
    return std::nullopt;
  }
  const Place to = request.targets.empty() ? Place{} : place_of(request.targets.front().bssid);
  if (each.temper == Temper::REFUSES || request.targets.empty() || to.access_point >= airs_.size() ||
      to.radio >= each.bands || signal(number, to) < WEAKEST_JOIN) {
    ++figures_.refused;
    return wifi::MoveAnswer{NO_SUITABLE_CANDIDATE, {}};
  }
  ++figures_.accepted;
  if (each.temper == Temper::STAYS) {
    return wifi::MoveAnswer{0, {}};
  }
  const Place from = place_of(request.bssid);
  ++figures_.moved;
  if (std::ranges::any_of(each.left, [&](const Left& left) {
        return left.place == to && left.time + RETURN_TIME >= now_ && distance(left.position, each.position) < STEPS;
      })) {
    ++figures_.returned;
  }
  each.left.push_back({from, now_, each.position});
  figures_.gain += wifi::rcpi_of(static_cast<int>(std::lround(uplink_signal(signal(number, to), to.radio)))) -
                   wifi::rcpi_of(static_cast<int>(std::lround(uplink_signal(signal(number, from), from.radio))));
  return wifi::MoveAnswer{0, request.targets.front().bssid};
}

std::vector<std::vector<std::uint8_t>> World::on_questioned(const MACAddress& mac,
                                                            std::span<const std::uint8_t> request) {
  const std::size_t number = number_of(mac);
  ++figures_.questioned;
  if (!clients_[number].can_report || request.size() < 13) {
    return {};
  }
  const std::uint8_t channel_asked = request[1];  // 0 and 255: not one alone
  std::vector<std::pair<double, std::vector<std::uint8_t>>> heard;
  for (std::size_t access_point = 0; access_point < airs_.size(); ++access_point) {
    for (std::size_t radio = 0; radio < clients_[number].bands; ++radio) {
      const Place place{access_point, radio};
      const double level = signal(number, place);
      const qel::ChannelInfo& info = radio_at(place).channel;
      if (level < wifi::WEAKEST_HEARD || !info.get_primary_frequency().is_set()) {
        continue;
      }
      const kHz frequency = info.get_primary_frequency().get();
      if (channel_asked == 0 || channel_asked == 255 || channel_asked == qel::frequency_to_channel(frequency)) {
        heard.emplace_back(-level, wifi::simulated_beacon(bssid(access_point, radio), frequency, level));
      }
    }
  }
  std::ranges::sort(heard);
  std::vector<std::vector<std::uint8_t>> reports;
  for (auto& [level, element] : heard) {
    if (reports.size() < MOST_REPORTED) {
      reports.push_back(std::move(element));
    }
  }
  return reports;
}

std::size_t World::find_radar() {
  for (std::size_t tries = 0; tries < airs_.size(); ++tries) {
    const std::size_t number =
        (static_cast<std::size_t>(random(RADAR, now_) * static_cast<double>(airs_.size())) + tries) % airs_.size();
    const qel::ChannelInfo& channel = radio_at({number, 1}).channel;
    if (!channel.get_primary_frequency().is_set()) {
      continue;
    }
    const kHz frequency = channel.get_primary_frequency().get();
    const qel::ChannelEntry* entry =
        radio_at({number, 1}).radios.front().get_channel_list().get_channel_entry(frequency);
    if (entry == nullptr || !entry->get_capability_flags().test(bit_index(qel::ChannelCapabilityBit::DFS))) {
      continue;
    }
    std::size_t left = 0;
    for (std::size_t other = 0; other < airs_.size(); ++other) {
      if (distance(positions_[number], positions_[other]) < 40) {
        const qel::ChannelInfo before = radio_at({other, 1}).channel;
        airs_[other]->find_radar(radio(other, 1), frequency);
        left += radio_at({other, 1}).channel.equivalent_to(before) ? 0U : 1U;
      }
    }
    return left;
  }
  return 0;
}

void World::collect_acts() {
  for (const auto& air : airs_) {
    for (const std::string& act : air->take_acts()) {
      figures_.switches += act.starts_with("switch") ? 1U : 0U;
      // FNV-1a
      for (const char octet : std::to_string(now_) + ' ' + act) {
        digest_ = (digest_ ^ static_cast<std::uint8_t>(octet)) * 1099511628211U;
      }
    }
  }
}

World::Reception World::reception() const {
  Reception reception;
  double clients = 0;
  for (const auto& air : airs_) {
    for (const wifi::AirRadio& radio : air->state) {
      reception.busy += *radio.utilization >= 70 ? 1.0 / static_cast<double>(airs_.size() * RADIOS) : 0;
      for (const wifi::AirClient& each : radio.bss.front().clients) {
        const std::uint8_t rcpi = wifi::rcpi_of(*each.station.signal);
        ++clients;
        reception.mean_rcpi += rcpi;
        reception.bad += rcpi < 80 ? 1 : 0;
      }
    }
  }
  reception.mean_rcpi /= std::max(clients, 1.0);
  reception.bad /= std::max(clients, 1.0);
  return reception;
}

World::Figures World::figures() const {
  Figures figures = figures_;
  for (const Client& each : clients_) {
    figures.most_asked = std::max(figures.most_asked, each.speed == 0 ? each.asked : 0);
  }
  return figures;
}

}  // namespace meshd::simulation
