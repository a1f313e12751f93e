#include "tools/meshd/wifi/air_plan.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <sstream>
#include <stdexcept>

#include "qel/channel/frequency.h"
#include "qel/channel/operating_class_deduction.h"
#include "tools/meshd/wifi/simulated_air.h"

namespace meshd::wifi {

namespace {

using qel::ChannelWidth;
using qel::MACAddress;

constexpr std::size_t LONGEST_SSID = 32;
constexpr int FARTHEST = 10000;  // metres
constexpr unsigned int MOST_MEGABITS = 10000;

template <class Value>
Value next(std::istream& line, const char* what) {
  Value value{};
  if (!(line >> value)) {
    throw std::runtime_error(std::string("expected ") + what);
  }
  return value;
}

int next_number(std::istream& line, const char* what, int least, int most) {
  const int number = next<int>(line, what);
  if (number < least || number > most) {
    throw std::runtime_error(std::string(what) + " must be between " + std::to_string(least) + " and " +
                             std::to_string(most));
  }
  return number;
}

MACAddress next_address(std::istream& line) {
  const auto text = next<std::string>(line, "a MAC address");
  MACAddress address;
  if (!address.parse_string(text) || !is_valid_individual_mac_address(address)) {
    throw std::runtime_error("'" + text + "' is not the MAC address of a device");
  }
  return address;
}

AirPlan::Place next_place(std::istream& line) {
  const int x = next_number(line, "a place", -FARTHEST, FARTHEST);
  return {x, next_number(line, "a place", -FARTHEST, FARTHEST)};
}

AirPlan::Radio next_radio(std::istream& line) {
  constexpr std::uint8_t LAST_AT_2_4_GHZ = 13;
  AirPlan::Radio radio{};
  radio.bssid = next_address(line);
  const auto number = static_cast<std::uint8_t>(next_number(line, "a channel", 1, 255));
  const int megahertz = next_number(line, "a width in MHz", 20, 160);
  radio.band = number > LAST_AT_2_4_GHZ ? qel::FrequencyBand::BAND_5_GHZ : qel::FrequencyBand::BAND_2_4_GHZ;
  const ChannelWidth width = qel::frequency_to_channel_width(qel::MHz(megahertz));
  const qel::kHz primary = qel::channel_to_frequency(qel::band_to_starting_frequency(radio.band), number);
  radio.channel = simulated_channel(primary, width);
  // Only a channel of 20 MHz lies around its primary channel.
  constexpr auto REGION = qel::OperatingClassDeduction::Region::GLOBAL;
  const bool is_known = width == ChannelWidth::WIDTH_20_MHZ
                            ? qel::OperatingClassDeduction::get_lookup(REGION).get_opclass(width, primary, {}) != 0
                            : radio.channel.get_primary_segment().get().first != primary;
  if (width == ChannelWidth::INVALID || !is_known) {
    throw std::runtime_error("there is no channel " + std::to_string(number) + " at " + std::to_string(megahertz) +
                             " MHz");
  }
  std::getline(line >> std::ws, radio.ssid);
  if (radio.ssid.empty() || radio.ssid.size() > LONGEST_SSID) {
    throw std::runtime_error("expected an SSID of at most 32 octets");
  }
  return radio;
}

void read_line(std::istream& line, AirPlan& plan) {
  const auto kind = next<std::string>(line, "a word");
  if (kind == "node") {
    const auto name = next<std::string>(line, "a name");
    plan.nodes.push_back({name, next_place(line)});
  } else if (kind == "radio") {
    AirPlan::Radio radio = next_radio(line);
    if (plan.nodes.empty() || plan.find_radio(radio.bssid) != nullptr) {
      throw std::runtime_error(plan.nodes.empty() ? "a radio of no node" : "a second radio of this address");
    }
    radio.node = plan.nodes.size() - 1;
    plan.radios.push_back(std::move(radio));
  } else if (kind == "client") {
    AirPlan::Client client{};
    client.mac = next_address(line);
    client.place = next_place(line);
    client.bssid = next_address(line);
    client.megabits = static_cast<unsigned int>(next_number(line, "Mb/s", 0, MOST_MEGABITS));
    if (plan.find_radio(client.bssid) == nullptr || plan.find_client(client.mac) != nullptr) {
      throw std::runtime_error(plan.find_client(client.mac) == nullptr ? "a client of no radio"
                                                                       : "a second client of this address");
    }
    plan.clients.push_back(client);
  } else {
    throw std::runtime_error("'" + kind + "' is none of node, radio and client");
  }
  std::string rest;
  if (line >> rest) {
    throw std::runtime_error("unexpected '" + rest + "'");
  }
}

}  // namespace

const AirPlan::Radio* AirPlan::find_radio(const MACAddress& bssid) const {
  const auto found = std::ranges::find(radios, bssid, &Radio::bssid);
  return found == radios.end() ? nullptr : &*found;
}

const AirPlan::Client* AirPlan::find_client(const MACAddress& mac) const {
  const auto found = std::ranges::find(clients, mac, &Client::mac);
  return found == clients.end() ? nullptr : &*found;
}

double AirPlan::signal(const Client& client, const Radio& radio) const {
  const Place& there = nodes[radio.node].place;
  return simulated_signal(radio.band, std::hypot(client.place.x - there.x, client.place.y - there.y));
}

AirPlan read_air_plan(std::istream& text) {
  AirPlan plan;
  std::string line;
  for (int number = 1; std::getline(text, line); ++number) {
    if (line.empty() || line.front() == '#') {
      continue;
    }
    try {
      std::istringstream words(line);
      read_line(words, plan);
    } catch (const std::runtime_error& error) {
      throw std::runtime_error("line " + std::to_string(number) + ": " + error.what());
    }
  }
  return plan;
}

}  // namespace meshd::wifi
