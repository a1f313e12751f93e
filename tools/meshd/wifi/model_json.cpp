#include "tools/meshd/wifi/model_json.h"

#include <cmath>
#include <ostream>

#include "tools/json_line.h"
#include "tools/meshd/wifi/station_json.h"
#include "tools/safe_text.h"

namespace meshd::wifi {

namespace {

using tools::JsonLine;

/// The whole object as one list, for JsonLine::objects.
template <class Map>
auto pairs(const Map& map) {
  return std::vector(map.begin(), map.end());
}

template <class T>
std::optional<T> known(const qel::LastChanged<T>& value) {
  return value.is_set() ? std::optional(value.get()) : std::nullopt;
}

template <class T>
std::optional<T> known(const qel::LastUpdated<T>& value) {
  return value.is_set() ? std::optional(value.get()) : std::nullopt;
}

std::optional<long> hundredths(const std::optional<float>& dbm) {
  constexpr float HUNDREDTHS = 100;
  return dbm ? std::optional(std::lround(*dbm * HUNDREDTHS)) : std::nullopt;
}

std::optional<long> in_khz(const std::optional<qel::kHz>& frequency) {
  return frequency ? std::optional(frequency->value()) : std::nullopt;
}

template <class Duration>
std::optional<std::int64_t> count(const std::optional<Duration>& duration) {
  return duration ? std::optional<std::int64_t>(std::chrono::milliseconds(*duration).count()) : std::nullopt;
}

template <class Bits>
std::vector<std::string> names(const std::set<Bits>& bits) {
  std::vector<std::string> texts;
  for (const Bits bit : bits) {
    texts.push_back(enum_to_string(bit));
  }
  return texts;
}

template <class Enum, std::size_t N>
std::vector<std::string> names(const std::bitset<N>& bits) {
  std::set<Enum> set;
  for (std::size_t i = 0; i < N; ++i) {
    if (bits[i]) {
      set.insert(static_cast<Enum>(i));
    }
  }
  return names(set);
}

void put_antennas(JsonLine& json, const char* key, const std::optional<Antennas>& antennas) {
  json.object(key, antennas, [&](const Antennas& masks) {
    json.member("send", masks.send);
    json.member("receive", masks.receive);
  });
}

void put_channel(JsonLine& json, const qel::ChannelEntry& channel) {
  json.member("channel", channel.get_channel_number());
  json.member("frequency", channel.get_frequency().value());
  json.member("capabilities", names<qel::ChannelCapabilityBit>(channel.get_capability_flags()));
  json.member("state", names<qel::ChannelStateBit>(channel.get_state_flags().get()));
  json.member("max_power", hundredths(known(channel.get_max_power())));
  json.member("max_regulatory_power", hundredths(known(channel.get_max_regulatory_power())));
  json.member("anpi", known(channel.get_ANPI()));
  json.member("utilization", known(channel.get_channel_utilization()));
}

void put_radio(JsonLine& json, const Model& model, const Wiphy& wiphy, Timestamp now) {
  json.member("number", wiphy.number);
  json.member("name", tools::to_utf8(wiphy.name));
  json.member("addresses", wiphy.addresses);
  put_antennas(json, "antennas", wiphy.antennas);
  put_antennas(json, "used_antennas", wiphy.used_antennas);
  json.objects("bands", wiphy.bands, [&](const Band& band) {
    const qel::WLANRadio radio = model.get_radio(wiphy.number, now, band.band);
    json.member("band", enum_to_string(band.band));
    json.member("phymodes", names<qel::WLANPhymode>(radio.get_supported_phymodes()));
    json.member("receive_streams", radio.get_rx_nss_table());
    json.member("send_streams", radio.get_tx_nss_table());
    json.objects("channels", radio.get_channel_list().get_channels(),
                 [&](const qel::ChannelEntry& channel) { put_channel(json, channel); });
  });
  const Regulatory* const rules = model.get_regulatory(wiphy.number);
  json.member("country", rules != nullptr ? std::optional(rules->country) : std::nullopt);
  json.objects("rules", rules != nullptr ? rules->rules : std::vector<RegulatoryRule>(), [&](const auto& rule) {
    json.member("start", rule.start.value());
    json.member("end", rule.end.value());
    json.member("max_bandwidth", rule.max_bandwidth.value());
    json.member("max_power", hundredths(rule.max_power));
  });
}

void put_interface(JsonLine& json, const Interface& interface) {
  const qel::ChannelInfo& channel = interface.channel;
  const auto segment = known(channel.get_primary_segment());
  json.member("number", interface.number);
  json.member("device", interface.device);
  json.member("radio", interface.wiphy);
  json.member("name", tools::to_utf8(interface.name));
  json.member("mac", interface.mac);
  json.member("role", role_text(interface.role));
  json.member("ssid", tools::to_utf8(interface.ssid));
  json.member("four_addresses", interface.has_4_addresses);
  json.member("frequency", in_khz(known(channel.get_primary_frequency())));
  json.member("center", in_khz(segment ? std::optional(segment->first) : std::nullopt));
  json.member("channel_width", segment ? std::optional(enum_to_string(segment->second)) : std::nullopt);
  json.member("power", hundredths(known(channel.get_max_power())));
}

void put_station(JsonLine& json, const Station& station) {
  json.member("mac", station.mac);
  put_measurements(json, station);
  json.member("connected", count(station.connected));
  json.member("inactive", count(station.inactive));
  json.member("authorized", station.is_authorized);
  json.member("associated", station.is_associated);
  json.member("protected_management", station.has_protected_management);
}

void put_survey(JsonLine& json, const Survey& survey) {
  json.member("frequency", survey.frequency.value());
  json.member("in_use", survey.is_in_use);
  json.member("noise", survey.noise);
  json.member("active", count(survey.active));
  json.member("busy", count(survey.busy));
  json.member("receiving", count(survey.receiving));
  json.member("sending", count(survey.sending));
}

}  // namespace

void print_json(std::ostream& os, const Model& model, Timestamp now) {
  JsonLine json(os);
  json.write([&] {
    json.objects("radios", pairs(model.get_wiphys()),
                 [&](const auto& radio) { put_radio(json, model, radio.second, now); });
    json.objects("interfaces", pairs(model.get_interfaces()), [&](const auto& interface) {
      put_interface(json, interface.second);
      json.objects("stations", pairs(model.get_stations(interface.first)),
                   [&](const auto& station) { put_station(json, station.second); });
      json.objects("surveys", pairs(model.get_surveys(interface.first)),
                   [&](const auto& survey) { put_survey(json, survey.second); });
    });
  });
}

}  // namespace meshd::wifi
