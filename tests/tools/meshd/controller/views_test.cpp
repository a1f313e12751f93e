#include <sstream>
#include <stdexcept>

#include "qel/ieee1905_1/message_builder.h"
#include "tests/support/testing.h"
#include "tests/tools/meshd/controller/scripted_mesh.h"
#include "tools/meshd/controller/mesh_view.h"
#include "tools/meshd/controller/order_book.h"
#include "tools/meshd/controller/targets.h"

namespace meshd::controller {
namespace {

using namespace qel::ieee1905_1;
using enum MessageType;
using std::chrono::seconds;
using testing::HasSubstr;

/// Two agents with names; one client that is measured and one that is not.
struct ViewsTest : testing::Test {
  ViewsTest() {
    mesh.clients_of = {{1, {{ScriptedMesh::client(1), 300}, {ScriptedMesh::client(2), 5}}}};
    mesh.appear(1);
    mesh.appear(2);
    mesh.report_channel(1);
    for (std::uint32_t octets : {1'000'000U, 3'500'000U}) {
      mesh.wait(seconds(10));
      STALinkMetric link;
      link.set_bssid(ScriptedMesh::bss(1));
      link.set_uplink_rcpi(116);
      link.set_estimated_downlink_data_rate(866);
      AssociatedSTALinkMetricsTLV metrics(ScriptedMesh::client(1));
      metrics.add_sta_link_metric(link);
      AssociatedSTATrafficStatsTLV traffic(ScriptedMesh::client(1));
      traffic.set_bytes_sent(octets);
      mesh.say(1, AP_METRICS_RESPONSE_MESSAGE, std::move(metrics), std::move(traffic));
    }
    mesh.dead = {2};
    mesh.wait(seconds(85));
  }

  MeshView view() const { return view_mesh("meshd", mesh.mesh.al_mac(), mesh.controller->model(), names, mesh.now); }

  ScriptedMesh mesh;
  const Names names{{ScriptedMesh::client(1), "phone"}, {ScriptedMesh::agent(1), "attic"}};
};

TEST_F(ViewsTest, ShowTheMeshAsATree) {
  std::ostringstream text;
  print_text(text, view());
  EXPECT_EQ(text.str(), R"(controller 02:00:00:00:01:01: 2 agents, 2 radios, 2 BSSs, 2 clients
02:00:00:00:0A:01  attic
└─ 5 GHz            02:00:00:00:0B:01  channel 36  80 MHz  0 dBm  20 % busy  (45 s old)
   └─ 02:00:00:00:0C:01  "home"
      ├─ 02:00:00:00:0D:01  phone  -52 dBm  866 Mb/s down  uses 2.0 Mb/s down  connected 6:45 min  (1:25 min old)
      └─ 02:00:00:00:0D:02                                                     connected 1:50 min
02:00:00:00:0A:02         LOST, heard 1:40 min ago
└─ channel unknown  02:00:00:00:0B:02                             20 % busy  (1:45 min old)
   └─ 02:00:00:00:0C:02  "home"  no clients
)");
  std::ostringstream json;
  print_json(json, view());
  EXPECT_THAT(json.str(),
              HasSubstr(R"("state":"lost","heard":100,"radios":[{"radio_id":"02:00:00:00:0B:02","band":null)"));
  EXPECT_THAT(json.str(), HasSubstr(R"("signal":-52,"downlink_rate":866,"uplink_rate":null,"measured":85,)"
                                    R"("downlink_traffic":2000,"uplink_traffic":0,"connected":405)"));
}

TEST_F(ViewsTest, FindWhatUsersName) {
  const MeshModel& model = mesh.controller->model();
  EXPECT_EQ(find_station("phone", names), ScriptedMesh::client(1));
  EXPECT_EQ(find_agent("attic", model, names), ScriptedMesh::agent(1));
  EXPECT_EQ(find_radio("attic", model, names), ScriptedMesh::radio(1));
  EXPECT_EQ(find_bssid("attic/5", model, names), ScriptedMesh::bss(1));
  EXPECT_EQ(find_bssid("02:00:00:00:00:09", model, names), ScriptedMesh::address(0, 9));
  for (const char* wrong : {"", "cellar", "attic/6", "/5"}) {
    EXPECT_THROW(find_radio(wrong, model, names), std::invalid_argument) << wrong;
  }
}

TEST(OrderBook, KeepsTheResultsOfTheLastOrders) {
  OnResult late;
  OrderBook::Number first = 0;
  {
    OrderBook book;
    first = book.add("first", [&](const OnResult& on_result) { late = on_result; });
    EXPECT_FALSE(book.find(first)->result);
    late({true, "done"});
    EXPECT_EQ(book.find(first)->result->text, "done");
    EXPECT_THROW(book.add("wrong", [](const OnResult&) { throw std::invalid_argument(""); }), std::invalid_argument);
    for (std::size_t count = 0; count < OrderBook::MOST; ++count) {
      book.add("next", [](const OnResult& on_result) { on_result({false, "at once"}); });
    }
    EXPECT_EQ(book.find(first), nullptr);
    EXPECT_TRUE(book.find(first + OrderBook::MOST)->result);
  }
  late({true, "after the book is closed"});
}

}  // namespace
}  // namespace meshd::controller
