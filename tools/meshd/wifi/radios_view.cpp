#include "tools/meshd/wifi/radios_view.h"

#include <algorithm>
#include <map>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "qel/channel/frequency.h"
#include "qel/channel/operating_class_deduction.h"
#include "tools/json_line.h"
#include "tools/meshd/wifi/radio.h"
#include "tools/safe_text.h"
#include "tools/text_table.h"

namespace meshd::wifi {

namespace {

using qel::ChannelInfo;
using qel::ChannelStateBit;
using qel::kHz;
using tools::for_terminal_line;
using tools::TextTable;
using Lookup = qel::OperatingClassDeduction::OpclassLookup;

RadiosView::Interface view_interface(const Interface& interface, const Model& model) {
  RadiosView::Interface result{
      interface.name, interface.role, interface.has_4_addresses, ssid_of(interface, model), interface.mac, {}, {}};
  const Model::Stations& stations = model.get_stations(interface.number);
  if (interface.role == Role::AP || interface.role == Role::AP_VLAN) {
    result.bssid = interface.mac;
    result.clients = stations.size();
  } else if (interface.role == Role::STATION && !stations.empty()) {
    result.bssid = stations.begin()->first;
  }
  return result;
}

std::optional<ChannelStateBit> dfs_state(const qel::ChannelList& channels, const ChannelInfo& used) {
  using enum ChannelStateBit;
  constexpr ChannelStateBit WORST_FIRST[] = {RADAR_FOUND, CAC_RUNNING, PRECAC_TODO, DFS_CLEAR};
  std::bitset<5> states;
  for (const qel::ChannelEntry& entry : channels.get_channels()) {
    if (entry.get_state_flags().is_set() && occupies(used, entry.get_frequency())) {
      states |= entry.get_state_flags().get();
    }
  }
  const auto* const worst =
      std::ranges::find_if(WORST_FIRST, [&](ChannelStateBit bit) { return states[bit_index(bit)]; });
  return worst == std::end(WORST_FIRST) ? std::nullopt : std::optional(*worst);
}

RadiosView::Radio view_radio(const Wiphy& wiphy, const Model& model, Timestamp now) {
  RadiosView::Radio result;
  result.name = wiphy.name;
  for (const Band& band : wiphy.bands) {
    result.bands.push_back(band.band);
  }
  const qel::WLANRadio radio = model.get_radio(wiphy.number, now);
  if (radio.get_radio_id().is_set()) {
    result.id = qel::MACAddress(radio.get_radio_id().get());
  }
  for (const auto& [number, interface] : model.get_interfaces()) {
    if (interface.wiphy != wiphy.number) {
      continue;
    }
    result.interfaces.push_back(view_interface(interface, model));
    const auto& primary = interface.channel.get_primary_frequency();
    if (!primary.is_set()) {
      continue;
    }
    if (!result.channel.get_primary_frequency().is_set()) {
      result.channel = interface.channel;
    }
    const Model::Surveys& surveys = model.get_surveys(number);
    if (const auto survey = surveys.find(primary.get()); survey != surveys.end() && !result.noise) {
      result.noise = survey->second.noise;
    }
  }
  if (!result.channel.get_primary_frequency().is_set()) {
    return result;
  }
  result.dfs = dfs_state(radio.get_channel_list(), result.channel);
  const qel::ChannelEntry* const entry =
      radio.get_channel_list().get_channel_entry(result.channel.get_primary_frequency().get());
  if (entry != nullptr && entry->get_channel_utilization().is_set()) {
    result.utilization = entry->get_channel_utilization().get();
  }
  return result;
}

/// "5210 MHz".
std::string in_mhz(const kHz& frequency) {
  const long rest = frequency.value() % 1000;
  return std::to_string(frequency.value() / 1000) + (rest == 0 ? "" : '.' + std::to_string(rest / 100)) + " MHz";
}

std::string center_text(const ChannelInfo& channel) {
  const kHz second = channel.get_secondary_center_frequency();
  return in_mhz(channel.get_primary_segment().get().first) + (second == kHz(0) ? "" : " + " + in_mhz(second));
}

std::string dfs_text(ChannelStateBit state) {
  switch (state) {
    case ChannelStateBit::DFS_CLEAR:
      return "clear";
    case ChannelStateBit::RADAR_FOUND:
      return "radar";
    case ChannelStateBit::CAC_RUNNING:
      return "listening";
    default:
      return "unchecked";
  }
}

std::string bands_text(const RadiosView::Radio& radio) {
  const auto& primary = radio.channel.get_primary_frequency();
  if (primary.is_set()) {
    return enum_to_string(qel::frequency_to_band(primary.get()));
  }
  std::string text;
  for (const qel::FrequencyBand band : radio.bands) {
    text += (text.empty() ? "" : ", ") + enum_to_string(band);
  }
  return text;
}

std::string power_text(const ChannelInfo& channel) {
  std::ostringstream text;
  if (channel.get_max_power().is_set()) {
    text << channel.get_max_power().get() << " dBm";
  }
  return std::move(text).str();
}

std::vector<std::string> row_of(const RadiosView::Radio& radio) {
  const auto& primary = radio.channel.get_primary_frequency();
  const auto& segment = radio.channel.get_primary_segment();
  return {for_terminal_line(radio.name),
          bands_text(radio),
          primary.is_set() ? std::to_string(qel::frequency_to_channel(primary.get())) : "",
          segment.is_set() ? enum_to_string(segment.get().second) : "",
          segment.is_set() ? center_text(radio.channel) : "",
          power_text(radio.channel),
          radio.utilization ? std::to_string(*radio.utilization) + " %" : "",
          radio.noise ? std::to_string(*radio.noise) + " dBm" : "",
          radio.dfs ? dfs_text(*radio.dfs) : ""};
}

template <class T>
std::optional<std::string> text_of(const std::optional<T>& value) {
  return value ? std::optional(enum_to_string(*value)) : std::nullopt;
}

void put_members(tools::JsonLine& json, const RadiosView::Radio& radio) {
  const auto& primary = radio.channel.get_primary_frequency();
  std::vector<std::string> bands;
  std::ranges::transform(radio.bands, std::back_inserter(bands), [](auto band) { return enum_to_string(band); });
  json.member("name", tools::to_utf8(radio.name));
  json.member("radio_id", radio.id);
  json.member("bands", bands);
  json.member("band",
              primary.is_set() ? std::optional(enum_to_string(qel::frequency_to_band(primary.get()))) : std::nullopt);
  json.member("channel", primary.is_set() ? std::optional(qel::frequency_to_channel(primary.get())) : std::nullopt);
  json.member("channel_info", radio.channel);
  json.member("utilization", radio.utilization);
  json.member("noise", radio.noise);
  json.member("dfs_state", text_of(radio.dfs));
  json.objects("interfaces", radio.interfaces, [&](const RadiosView::Interface& interface) {
    json.member("name", tools::to_utf8(interface.name));
    json.member("role", role_text(interface.role));
    json.member("four_addresses", interface.has_4_addresses);
    json.member("ssid", tools::to_utf8(interface.ssid));
    json.member("mac", interface.mac);
    json.member("bssid", interface.bssid);
    json.member("clients", interface.clients);
  });
}

const Wiphy& find_radio(const std::string& name, const Model& model) {
  for (const auto& [number, wiphy] : model.get_wiphys()) {
    if (wiphy.name == name) {
      return wiphy;
    }
  }
  for (const auto& [number, interface] : model.get_interfaces()) {
    const auto wiphy = model.get_wiphys().find(interface.wiphy);
    if (interface.name == name && wiphy != model.get_wiphys().end()) {
      return wiphy->second;
    }
  }
  throw std::invalid_argument(name.empty() ? "the name of a radio is required"
                                           : "'" + name + "' is not one of our radios or their interfaces");
}

}  // namespace

std::string ssid_of(const Interface& interface, const Model& model) {
  if (interface.role == Role::AP_VLAN && interface.ssid.empty()) {
    for (const auto& [number, other] : model.get_interfaces()) {
      if (other.role == Role::AP && other.wiphy == interface.wiphy && other.mac == interface.mac) {
        return other.ssid;
      }
    }
  }
  return interface.ssid;
}

RadiosView view_radios(const std::string& name, const Model& model, Timestamp now) {
  RadiosView view{name, {}};
  for (const auto& [number, wiphy] : model.get_wiphys()) {
    view.radios.push_back(view_radio(wiphy, model, now));
  }
  return view;
}

void print_text(std::ostream& os, const RadiosView& view) {
  if (view.radios.empty()) {
    os << "no radios\n";
    return;
  }
  using enum TextTable::Align;
  TextTable radios({{"RADIO"},
                    {"BAND"},
                    {"CHANNEL", RIGHT},
                    {"WIDTH", RIGHT},
                    {"CENTER", RIGHT},
                    {"POWER", RIGHT},
                    {"UTILIZATION", RIGHT},
                    {"NOISE", RIGHT},
                    {"RADAR"}});
  TextTable interfaces({{"INTERFACE"}, {"RADIO"}, {"ROLE"}, {"BSSID"}, {"CLIENTS", RIGHT}, {"SSID"}});
  for (const RadiosView::Radio& radio : view.radios) {
    radios.add(row_of(radio));
    for (const RadiosView::Interface& interface : radio.interfaces) {
      interfaces.add({for_terminal_line(interface.name), for_terminal_line(radio.name),
                      role_text(interface.role) + (interface.has_4_addresses ? ", 4 addresses" : ""),
                      interface.bssid ? interface.bssid->to_string() : "",
                      interface.clients ? std::to_string(*interface.clients) : "", for_terminal_line(interface.ssid)});
    }
  }
  radios.print(os);
  os << '\n';
  interfaces.print(os);
}

void print_json(std::ostream& os, const RadiosView& view) {
  tools::JsonLine json(os);
  json.write([&] {
    json.member("name", view.name);
    json.objects("radios", view.radios, [&](const RadiosView::Radio& radio) { put_members(json, radio); });
  });
}

ClassesView view_classes(const std::string& radio, const Model& model, Timestamp now) {
  const Wiphy& wiphy = find_radio(radio, model);
  const Lookup& lookup = qel::OperatingClassDeduction::get_lookup(qel::OperatingClassDeduction::Region::GLOBAL);
  std::map<std::uint8_t, ClassesView::Class> classes;
  for (const Band& band : wiphy.bands) {
    const qel::ChannelList channels = channel_list(band, model.get_regulatory(wiphy.number), now);
    for (const qel::ChannelEntry& entry : channels.get_channels()) {
      for (const unsigned char opclass : lookup.get_supported_operating_classes(qel::ChannelList({entry}))) {
        ClassesView::Class& one = classes[opclass];
        one.opclass = opclass;
        one.band = entry.get_frequency_band();
        one.width = qel::capability_bits_max_channel_width(lookup.get_channel_capabilities(opclass));
        one.channels.push_back(entry.get_channel_number());
      }
    }
  }
  ClassesView view{wiphy.name, {}};
  for (auto& [opclass, one] : classes) {
    view.classes.push_back(std::move(one));
  }
  return view;
}

void print_text(std::ostream& os, const ClassesView& view) {
  using enum TextTable::Align;
  TextTable table({{"CLASS", RIGHT}, {"BAND"}, {"WIDTH", RIGHT}, {"PRIMARY CHANNELS"}});
  for (const ClassesView::Class& one : view.classes) {
    std::string channels;
    for (const std::uint8_t channel : one.channels) {
      channels += (channels.empty() ? "" : " ") + std::to_string(channel);
    }
    table.add({std::to_string(one.opclass), enum_to_string(one.band), enum_to_string(one.width), channels});
  }
  table.print(os);
}

void print_json(std::ostream& os, const ClassesView& view) {
  tools::JsonLine json(os);
  json.write([&] {
    json.member("radio", tools::to_utf8(view.radio));
    json.objects("classes", view.classes, [&](const ClassesView::Class& one) {
      json.member("opclass", one.opclass);
      json.member("band", enum_to_string(one.band));
      json.member("channel_width", enum_to_string(one.width));
      json.member("channels", one.channels);
    });
  });
}

}  // namespace meshd::wifi
