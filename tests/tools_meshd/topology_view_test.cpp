#include "tools/meshd/view/topology_view.h"

#include <gmock/gmock.h>

#include "tests/tools_meshd/wire.h"
#include "tools/meshd/entity/messages.h"

namespace meshd::test {
namespace {

using testing::HasSubstr;

/// A chain of three that have met: 1 - 2 - 3.
class TopologyViewTest : public testing::Test {
 protected:
  TopologyViewTest() {
    middle.ports.states[0] = {400, 3, 500, 4, 1000, true};
    for (int round = 0; round < 2; ++round) {
      for (Device* device : {&left, &middle, &right}) {
        device->entity.announce(TimePoint{});
        carry(cables, TimePoint{});
      }
    }
  }

  Device left{1};
  Device middle{2, 2};
  Device right{3};
  const std::vector<Cable> cables{{left, 0, middle, 0}, {middle, 1, right, 0}};
};

TEST_F(TopologyViewTest, Prints) {
  const qel::ieee1905_1::QELBlockedInterface radio(qel::ieee1905_1::InterfaceType::WLAN, interface_mac(0x23),
                                                   "a\n\x9B b", 0x0280);
  Codec codec;
  left.entity.receive(0, codec.encode(device_mac(1), device_mac(2), blocked_interface_list({radio})), TimePoint{});
  const std::string text = to_text(view_topology("one", left.entity));
  EXPECT_THAT(text, HasSubstr("node 02:19:05:A0:00:01 (one, this node), meshd 0.1\n"
                              "  interface 02:19:05:10:00:11 ETHERNET GIGABIT_ETHERNET eth0\n"
                              "  link 02:19:05:10:00:11 -> 02:19:05:A0:00:02 (02:19:05:10:00:21): 0 Mb/s"));
  EXPECT_THAT(text, HasSubstr("  link 02:19:05:10:00:21 -> 02:19:05:A0:00:01 (02:19:05:10:00:11): 1000 Mb/s, "
                              "100 % available, sent 500 packets with 4 errors, received 400 packets with 3 errors\n"));
  EXPECT_THAT(text, HasSubstr("\n  blocked 02:19:05:10:00:23 WLAN a???b, filter actions 0000001010000000\n  link "));
  EXPECT_THAT(text, HasSubstr("node 02:19:05:A0:00:03, known by name only\n"));
}

TEST_F(TopologyViewTest, ReachesToTheNeighborsOfTheNeighborsAndIsJsonInOneLine) {
  middle.entity.set_blocked(0, true);
  carry(cables, TimePoint{});
  EXPECT_EQ(
      to_json(view_topology("a \"name\"", right.entity)),
      R"({"name":"a \"name\"","al_mac":"02:19:05:A0:00:03","nodes":[)"
      R"({"al_mac":"02:19:05:A0:00:03","self":true,"answered":true,"meshd_version":"0.3","interfaces":[)"
      R"({"mac":"02:19:05:10:00:31","name":"eth0","type":"ETHERNET","mode":"GIGABIT_ETHERNET"}],"blocked":[]},)"
      R"({"al_mac":"02:19:05:A0:00:02","self":false,"answered":true,"meshd_version":"0.2","interfaces":[)"
      R"({"mac":"02:19:05:10:00:21","name":null,"type":"ETHERNET","mode":"GIGABIT_ETHERNET"},)"
      R"({"mac":"02:19:05:10:00:22","name":null,"type":"ETHERNET","mode":"GIGABIT_ETHERNET"}],"blocked":[)"
      R"({"mac":"02:19:05:10:00:21","name":"eth0","type":"ETHERNET","filter_actions":3}]},)"
      R"({"al_mac":"02:19:05:A0:00:01","self":false,"answered":false,"meshd_version":null,"interfaces":[],"blocked":[]}],"links":[)"
      R"({"from":"02:19:05:A0:00:03","from_interface":"02:19:05:10:00:31","to":"02:19:05:A0:00:02",)"
      R"("to_interface":"02:19:05:10:00:22","transmitter":{"packet_errors":0,"transmitted_packets":0,)"
      R"("mac_throughput_capacity":0,"link_availability":100,"phy_rate":0},)"
      R"("receiver":{"packet_errors":0,"packets_received":0,"rcpi":255}},)"
      R"({"from":"02:19:05:A0:00:02","from_interface":"02:19:05:10:00:21","to":"02:19:05:A0:00:01",)"
      R"("to_interface":"02:19:05:10:00:11","transmitter":{"packet_errors":4,"transmitted_packets":500,)"
      R"("mac_throughput_capacity":1000,"link_availability":100,"phy_rate":1000},)"
      R"("receiver":{"packet_errors":3,"packets_received":400,"rcpi":255}},)"
      R"({"from":"02:19:05:A0:00:02","from_interface":"02:19:05:10:00:22","to":"02:19:05:A0:00:03",)"
      R"("to_interface":"02:19:05:10:00:31","transmitter":{"packet_errors":0,"transmitted_packets":0,)"
      R"("mac_throughput_capacity":0,"link_availability":100,"phy_rate":0},)"
      R"("receiver":{"packet_errors":0,"packets_received":0,"rcpi":255}}]})"
      "\n");
}

TEST_F(TopologyViewTest, DrawsEachLinkOnce) {
  const std::string dot = to_dot(view_topology("a \"name\"", middle.entity));
  EXPECT_THAT(
      dot, HasSubstr("\"02:19:05:A0:00:02\" [label=\"a \\\"name\\\"\\n02:19:05:A0:00:02\\nmeshd 0.2\", penwidth=2]"));
  EXPECT_THAT(dot, HasSubstr("\"02:19:05:A0:00:01\" -- \"02:19:05:A0:00:02\" [label="));
  EXPECT_THAT(dot, HasSubstr("\"02:19:05:A0:00:02\" -- \"02:19:05:A0:00:03\" [label="));
  std::size_t edges = 0;
  for (std::size_t place = 0; (place = dot.find(" -- ", place)) != std::string::npos; ++place) {
    ++edges;
  }
  EXPECT_EQ(edges, 2U);
}

}  // namespace
}  // namespace meshd::test
