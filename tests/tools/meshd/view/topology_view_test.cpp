#include "tools/meshd/view/topology_view.h"

#include "tests/support/testing.h"
#include "tests/tools/meshd/wire.h"

namespace meshd::test {
namespace {

using namespace qel::ieee1905_1;
using State = TopologyView::State;

TransmitterLinkMetricInformation sent(std::uint16_t speed, std::uint16_t availability) {
  TransmitterLinkMetricInformation information;
  information.set_phy_rate(speed);
  information.set_link_availability(availability);
  information.set_transmitted_packets(500);
  information.set_packet_errors(4);
  return information;
}

ReceiverLinkMetricInformation received(std::uint32_t packets) {
  ReceiverLinkMetricInformation information;
  information.set_packets_received(packets);
  information.set_RCPI(255);
  return information;
}

/// The node `number` with Ethernet interfaces; node 3 has 31, 32, ... (hexadecimal).
TopologyView::Node node(std::uint8_t number, std::size_t interfaces, State state = State::ANSWERED) {
  TopologyView::Node node;
  node.al_mac = device_mac(number);
  node.state = state;
  node.has_answered = interfaces > 0;
  for (std::size_t index = 1; index <= interfaces; ++index) {
    node.interfaces.push_back({interface_mac(static_cast<std::uint8_t>(number * 16U + index)), InterfaceType::ETHERNET,
                               static_cast<_InterfaceMode>(EthernetMode1905_1::GIGABIT_ETHERNET)});
  }
  return node;
}

TopologyView::Interface radio(std::uint8_t last, WLANInterfaceRole1905_1 role, std::uint8_t bssid) {
  WLANSpecificInformation wlan;
  wlan.set_role(role);
  wlan.set_bssid(interface_mac(bssid));
  wlan.set_band(2);
  wlan.set_center_freq_1(42);
  return {interface_mac(last), InterfaceType::WLAN, static_cast<_InterfaceMode>(WLANMode1905_1::AC_5_GHZ), wlan};
}

/// What the interface `from` tells of the interface `to`, or of the device alone.
TopologyView::Link link(std::uint8_t from, std::uint8_t to, bool is_known = true) {
  TopologyView::Link link{device_mac(from / 16), interface_mac(from), device_mac(to / 16), {}, false, {}, {}};
  if (is_known) {
    link.to_interface = interface_mac(to);
  }
  return link;
}

/// Node 1 sees nodes 2 and 3 over a switch, node 4 behind a blocked port of node 2, and the stations 5 and 6 of node
/// 3's radio. Of node 6 it has only heard; node 7 has been silent for long.
TopologyView everything() {
  TopologyView view;
  view.name = "a \"name\" & <more>";
  view.nodes = {node(1, 2),
                node(2, 2),
                node(3, 2),
                node(4, 1),
                node(5, 1),
                node(6, 0, State::HEARD_OF),
                node(7, 1, State::UNREACHABLE)};
  view.nodes[0].is_self = true;
  view.nodes[0].meshd_version = {0, 1};
  view.nodes[0].bridges = {{interface_mac(0x11), interface_mac(0x12)}};
  view.nodes[0].hosts = {{interface_mac(0x12), {mac(0x55, 1), mac(0x55, 2)}}};
  view.nodes[1].age = std::chrono::seconds(12);
  view.nodes[1].blocked = {{InterfaceType::ETHERNET, interface_mac(0x22), "lan2", 0b11}};
  view.nodes[1].is_truncated = true;
  view.nodes[2].hosts = {{interface_mac(0x39), std::vector(10, mac(0x55, 3))}};
  view.nodes[2].interfaces[1] = radio(0x32, WLANInterfaceRole1905_1::AP, 0x32);
  view.nodes[4].interfaces[0] = radio(0x51, WLANInterfaceRole1905_1::STA, 0x32);
  view.nodes[4].interfaces[0].wlan->set_band(4);
  view.nodes[4].interfaces[0].wlan->set_center_freq_2(155);
  view.nodes[5].reported_by = {device_mac(3)};
  view.nodes[6].reported_by = {device_mac(2), device_mac(3)};
  view.nodes[6].age = std::chrono::seconds(300);
  view.links = {link(0x11, 0x21),        link(0x11, 0x31),        link(0x21, 0x11), link(0x21, 0x31, false),
                link(0x22, 0x41),        link(0x31, 0x11, false), link(0x32, 0x51), link(0x32, 0x61, false),
                link(0x33, 0x71, false), link(0x41, 0x22, false), link(0x51, 0x32)};
  view.links[0].transmitter = sent(1000, 100);
  view.links[0].receiver = received(400);
  view.links[0].is_bridged = true;
  view.links[6].transmitter = sent(433, 80);
  view.links[10].transmitter = sent(866, 90);
  view.links[10].receiver = received(7);
  view.links[10].receiver->set_RCPI(97);
  view.names = {
      {device_mac(1), view.name}, {device_mac(2), "two"}, {interface_mac(0x12), "lan2"}, {mac(0x55, 2), "tv"}};
  return view;
}

std::string text_of(void (*print)(std::ostream&, const TopologyView&), const TopologyView& view) {
  std::ostringstream os;
  print(os, view);
  return os.str();
}

TEST(TopologyView, IsShownAsText) {
  std::string eight_hosts;
  for (int count = 0; count < 8; ++count) {
    eight_hosts += "    host 02:19:05:55:00:03\n";
  }
  EXPECT_EQ(text_of(print_text, everything()), R"(node 02:19:05:A0:00:01 (a "name" & <more>, this node), meshd 0.1
  interface 02:19:05:10:00:11 ETHERNET GIGABIT_ETHERNET, bridge 1
    link to 02:19:05:A0:00:02 (two) at 02:19:05:10:00:21 over a bridge: 1000 Mb/s, 100 % available, sent 500 packets with 4 errors, received 400 packets with 0 errors
    link to 02:19:05:A0:00:03 at 02:19:05:10:00:31
  interface 02:19:05:10:00:12 ETHERNET GIGABIT_ETHERNET lan2, bridge 1
    host 02:19:05:55:00:01
    host 02:19:05:55:00:02 (tv)

node 02:19:05:A0:00:02 (two), answered 12 s ago, truncated
  interface 02:19:05:10:00:21 ETHERNET GIGABIT_ETHERNET
    link to 02:19:05:A0:00:01 (a "name" & <more>) at 02:19:05:10:00:11
    link to 02:19:05:A0:00:03
  interface 02:19:05:10:00:22 ETHERNET GIGABIT_ETHERNET
    blocked ETHERNET lan2, filter actions 0000000000000011
    link to 02:19:05:A0:00:04 at 02:19:05:10:00:41

node 02:19:05:A0:00:03, answered
  interface 02:19:05:10:00:31 ETHERNET GIGABIT_ETHERNET
    link to 02:19:05:A0:00:01 (a "name" & <more>)
  interface 02:19:05:10:00:32 WLAN AC_5_GHZ, AP, 80 MHz around channel 42
    link to 02:19:05:A0:00:05 at 02:19:05:10:00:51: 433 Mb/s, 80 % available, sent 500 packets with 4 errors
    link to 02:19:05:A0:00:06
  interface 02:19:05:10:00:33
    link to 02:19:05:A0:00:07
  interface 02:19:05:10:00:39
)" + eight_hosts + R"(    and 2 more hosts

node 02:19:05:A0:00:04, answered
  interface 02:19:05:10:00:41 ETHERNET GIGABIT_ETHERNET
    link to 02:19:05:A0:00:02 (two)

node 02:19:05:A0:00:05, answered
  interface 02:19:05:10:00:51 WLAN AC_5_GHZ, STA of 02:19:05:10:00:32, 80+80 MHz around channel 42 and 155
    link to 02:19:05:A0:00:03 at 02:19:05:10:00:32: 866 Mb/s, 90 % available, sent 500 packets with 4 errors, received 7 packets with 0 errors at -62 dBm

node 02:19:05:A0:00:06, heard of, reported by 02:19:05:A0:00:03

node 02:19:05:A0:00:07, unreachable, answered 300 s ago, reported by two, 02:19:05:A0:00:03
  interface 02:19:05:10:00:71 ETHERNET GIGABIT_ETHERNET
)");
  EXPECT_THAT(text_of(print_brief_text, everything()),
              StartsWith(
                  R"(AL MAC             NAME               MESHD  INTERFACES  LINKS  HOSTS  STATE
02:19:05:A0:00:01  a "name" & <more>  0.1             2      2      2  this node
02:19:05:A0:00:02  two                -               2      3      0  answered 12 s ago, truncated
)"));
}

/// Each case once: the rest of the object is more of the same.
TEST(TopologyView, IsJsonInOneLine) {
  const std::string json = text_of(print_json, everything());
  for (
      const char* part :
      {R"({"name":"a \"name\" & <more>","al_mac":"02:19:05:A0:00:01","nodes":[{"al_mac":"02:19:05:A0:00:01","self":true,"answered":true,"meshd_version":"0.1","interfaces":[{"mac":"02:19:05:10:00:11","name":null,"type":"ETHERNET","mode":"GIGABIT_ETHERNET","wlan":null},{"mac":"02:19:05:10:00:12","name":"lan2","type":"ETHERNET","mode":"GIGABIT_ETHERNET","wlan":null}],"blocked":[],"name":"a \"name\" & <more>","state":"answered","age":null,"reported_by":[],"bridges":[["02:19:05:10:00:11","02:19:05:10:00:12"]],"hosts":[{"interface":"02:19:05:10:00:12","macs":["02:19:05:55:00:01","02:19:05:55:00:02"],"names":["","tv"]}],"truncated":false},{)",
       R"("blocked":[{"mac":"02:19:05:10:00:22","name":"lan2","type":"ETHERNET","filter_actions":3}],"name":"two","state":"answered","age":12,)",
       R"(,{"al_mac":"02:19:05:A0:00:06","self":false,"answered":false,"meshd_version":null,"interfaces":[],"blocked":[],"name":null,"state":"heard_of","age":null,"reported_by":["02:19:05:A0:00:03"],"bridges":[],"hosts":[],"truncated":false},{)",
       R"("mode":"AC_5_GHZ","wlan":{"bssid":"02:19:05:10:00:32","role":"AP","width":"80","center_channel":42,"second_center_channel":null}})",
       R"("state":"unreachable","age":300,)",
       R"(}],"links":[{"from":"02:19:05:A0:00:01","from_interface":"02:19:05:10:00:11","to":"02:19:05:A0:00:02","to_interface":"02:19:05:10:00:21","transmitter":{"packet_errors":4,"transmitted_packets":500,"mac_throughput_capacity":0,"link_availability":100,"phy_rate":1000},"receiver":{"packet_errors":0,"packets_received":400,"rcpi":255},"bridged":true},{)",
       R"("to":"02:19:05:A0:00:03","to_interface":null,"transmitter":null,"receiver":null,"bridged":false},{)",
       R"({"switch":true,"ports":[{"al_mac":"02:19:05:A0:00:01","interface":"02:19:05:10:00:11"},{"al_mac":"02:19:05:A0:00:02","interface":"02:19:05:10:00:21"},{)",
       R"({"switch":false,"ports":[{"al_mac":"02:19:05:A0:00:03","interface":"02:19:05:10:00:33"},{"al_mac":"02:19:05:A0:00:07","interface":null}]})"}) {
    EXPECT_THAT(json, HasSubstr(part));
  }
  EXPECT_EQ(json.find('\n'), json.size() - 1);
}

/// Parts are drawn once however many tell of them; what is not known well is dashed, what is blocked red.
TEST(TopologyView, IsAGraph) {
  const std::string dot = text_of(print_dot, everything());
  EXPECT_THAT(
      dot,
      HasSubstr(
          R"(  "02:19:05:A0:00:01" [label=<<table border="3" cellborder="0" cellspacing="0" style="rounded"><tr><td><b>a &quot;name&quot; &amp; &lt;more&gt;<br/>02:19:05:A0:00:01</b><br/>meshd 0.1</td></tr><hr/><tr><td port="i0" align="left">02:19:05:10:00:11  GIGABIT_ETHERNET, bridge 1</td></tr><hr/><tr><td port="i1" align="left">lan2 02:19:05:10:00:12  GIGABIT_ETHERNET, bridge 1</td></tr></table>>];
  "hosts 02:19:05:10:00:12" [shape=box, style=filled, fillcolor="#eeeeee", color="#bbbbbb", label=<02:19:05:55:00:01<br/>tv 02:19:05:55:00:02<br/>>];
  "02:19:05:A0:00:01":i1 -- "hosts 02:19:05:10:00:12" [color="#999999"];
)"));
  EXPECT_THAT(dot, HasSubstr(R"(bgcolor="#f4c7c3">02:19:05:10:00:22  GIGABIT_ETHERNET, blocked<)"));
  EXPECT_THAT(dot, HasSubstr(R"(style="rounded,dashed"><tr><td><b>02:19:05:A0:00:06</b><br/><i>heard of</i></td>)"));
  EXPECT_THAT(dot, HasSubstr(R"(>02:19:05:10:00:32  AC_5_GHZ AP, 80 MHz around channel 42<)"));
  EXPECT_THAT(dot, EndsWith(R"(
  "02:19:05:A0:00:02":i1 -- "02:19:05:A0:00:04":i0 [label="", color="#c0392b"];
  switch1 [shape=ellipse, style=filled, fillcolor="#d6e4f5", label="switch"];
  "02:19:05:A0:00:01":i0 -- switch1 [label="1000 Mb/s, 100 %"];
  "02:19:05:A0:00:02":i0 -- switch1 [label=""];
  "02:19:05:A0:00:03":i0 -- switch1 [label=""];
  "02:19:05:A0:00:03":i1 -- "02:19:05:A0:00:05":i0 [label="433 Mb/s, 80 %"];
  "02:19:05:A0:00:03":i1 -- "02:19:05:A0:00:06" [label="", style=dashed];
  "02:19:05:A0:00:03" -- "02:19:05:A0:00:07" [label="", style=dashed];
}
)"));
}

/// The middle of a chain of three tells of the other end, which no bridge connects with us here.
TEST(TopologyView, IsWhatTheEntityKnows) {
  Device left{1};
  Device middle{2, 3};
  Device right{3};
  middle.ports.states[0] = {400, 3, 500, 4, 1000, true};
  middle.ports.hosts[2] = {mac(0x55, 1)};
  for (int round = 0; round < 2; ++round) {
    for (Device* device : {&left, &middle, &right}) {
      device->entity.announce(TimePoint{});
      carry({{left, 0, middle, 0}, {middle, 1, right, 0}}, TimePoint{});
    }
  }
  const std::string text =
      text_of(print_text, view_topology("one", left.entity, TimePoint{} + std::chrono::seconds(5)));
  EXPECT_THAT(text, StartsWith("node 02:19:05:A0:00:01 (one, this node), meshd 0.1\n"
                               "  interface 02:19:05:10:00:11 ETHERNET GIGABIT_ETHERNET eth0\n"
                               "    link to 02:19:05:A0:00:02 at 02:19:05:10:00:21: 0 Mb/s"));
  EXPECT_THAT(text, HasSubstr("node 02:19:05:A0:00:02, meshd 0.2, answered 5 s ago\n"));
  EXPECT_THAT(text, HasSubstr("    link to 02:19:05:A0:00:01 (one) at 02:19:05:10:00:11: 1000 Mb/s, 100 % available, "
                              "sent 500 packets with 4 errors, received 400 packets with 3 errors\n"));
  EXPECT_THAT(text, HasSubstr("    host 02:19:05:55:00:01\n"));
  EXPECT_THAT(text, EndsWith("\nnode 02:19:05:A0:00:03, heard of, reported by 02:19:05:A0:00:02\n"));
  EXPECT_THAT(text_of(print_text, view_topology("one", left.entity, TimePoint{}, {{device_mac(1), "hall"}})),
              StartsWith("node 02:19:05:A0:00:01 (hall, this node)"));
}

TEST(TopologyView, TakesNamesFromEthers) {
  std::istringstream file("# 2:19:5:a0:0:1 no\n\n02:19:05:A0:00:01 one # the first\n2:19:5:a0:0:2 tw\x1B\n2:19:5 no\n");
  EXPECT_EQ(read_names(file), (Names{{device_mac(1), "one"}, {device_mac(2), "tw?"}}));
}

}  // namespace
}  // namespace meshd::test
