#include <algorithm>
#include <iterator>
#include <ostream>
#include <string>
#include <vector>

#include "tools/json_line.h"
#include "tools/meshd/view/segments.h"
#include "tools/meshd/view/topology_view.h"

namespace meshd {

namespace {

using namespace qel::ieee1905_1;  // NOLINT(google-build-using-namespace): all of this file is about it

class Writer {
 public:
  Writer(std::ostream& os, const TopologyView& view) : json_(os), view_(view) {}

  void write() {
    json_.write([&] {
      put("name", view_.name);
      put("al_mac", view_.nodes.front().al_mac);
      put_array("nodes", view_.nodes);
      put_array("links", view_.links);
      put_array("segments", find_segments(view_));
    });
  }

 private:
  template <class T>
  void put(const char* key, const T& value) {
    json_.member(key, value);
  }

  template <class T>
  void put_array(const char* key, const std::vector<T>& elements) {
    json_.objects(key, elements, [this](const T& element) { put_content(element); });
  }

  template <class T>
  void put_object(const char* key, const std::optional<T>& content) {
    json_.object(key, content, [this](const T& value) { put_content(value); });
  }

  std::optional<std::string> name_of(const qel::MACAddress& mac) const {
    const std::string name = view_.name_of(mac);
    return name.empty() ? std::nullopt : std::optional(name);
  }

  void put_content(const TopologyView::Node& node) {
    put("al_mac", node.al_mac);
    put("self", node.is_self);
    put("answered", node.has_answered);
    put("meshd_version", node.meshd_version ? std::optional(node.meshd_version->to_string()) : std::nullopt);
    put_array("interfaces", node.interfaces);
    put_array("blocked", node.blocked);
    put("name", name_of(node.al_mac));
    put("state", enum_to_string(node.state));
    put("age", node.age ? std::optional(node.age->count()) : std::nullopt);
    put("reported_by", node.reported_by);
    put("bridges", node.bridges);
    put_array("hosts", node.hosts);
    put("truncated", node.is_truncated);
  }

  void put_content(const TopologyView::Hosts& hosts) {
    put("interface", hosts.interface);
    put("macs", hosts.macs);
    std::vector<std::string> names;
    std::ranges::transform(hosts.macs, std::back_inserter(names),
                           [this](const auto& mac) { return view_.name_of(mac); });
    put("names", names);
  }

  void put_content(const TopologyView::Interface& interface) {
    put("mac", interface.mac);
    put("name", name_of(interface.mac));
    put("type", enum_to_string(interface.type));
    put("mode", interface_mode_to_string(interface.type, interface.mode));
    put_object("wlan", interface.wlan);
  }

  void put_content(const WLANSpecificInformation& wlan) {
    const auto known = [](std::uint8_t channel) { return channel == 0 ? std::nullopt : std::optional(channel); };
    put("bssid", wlan.get_bssid() == qel::MACAddress() ? std::nullopt : std::optional(wlan.get_bssid()));
    put("role", enum_to_string(wlan.get_role()));
    put("width", width_text(wlan));
    put("center_channel", known(wlan.get_center_freq_1()));
    put("second_center_channel", known(wlan.get_center_freq_2()));
  }

  void put_content(const QELBlockedInterface& interface) {
    put("mac", interface.get_mac_address());
    put("name", interface.get_name());
    put("type", enum_to_string(interface.get_type()));
    put("filter_actions", static_cast<std::uint16_t>(interface.get_filter_actions().to_ulong()));
  }

  void put_content(const TopologyView::Link& link) {
    put("from", link.from);
    put("from_interface", link.from_interface);
    put("to", link.to);
    put("to_interface", link.to_interface);
    put_object("transmitter", link.transmitter);
    put_object("receiver", link.receiver);
    put("bridged", link.is_bridged);
  }

  void put_content(const TransmitterLinkMetricInformation& information) {
    put("packet_errors", information.get_packet_erros());
    put("transmitted_packets", information.get_transmitted_packets());
    put("mac_throughput_capacity", information.get_mac_throughput_capacity());
    put("link_availability", information.get_link_availability());
    put("phy_rate", information.get_phy_rate());
  }

  void put_content(const ReceiverLinkMetricInformation& information) {
    put("packet_errors", information.get_packet_erros());
    put("packets_received", information.get_packets_received());
    put("rcpi", information.get_RCPI());
  }

  void put_content(const Segment& segment) {
    put("switch", segment.is_switch);
    json_.objects("ports", segment.ports, [this](const auto& entry) {
      const Port& port = entry.first;
      put("al_mac", port.al_mac);
      put("interface", port.interface == qel::MACAddress() ? std::nullopt : std::optional(port.interface));
    });
  }

  tools::JsonLine json_;
  const TopologyView& view_;
};

}  // namespace

void print_json(std::ostream& os, const TopologyView& view) { Writer(os, view).write(); }

}  // namespace meshd
