#include "tools/meshd/wifi/air_plan.h"

#include <sstream>
#include <stdexcept>

#include "tests/support/testing.h"

namespace meshd::wifi {

namespace {

constexpr const char* GOOD =
    "# two rooms\n\nnode one 0 0\nradio 02:19:05:A0:01:05 36 80 <b>my home\nnode two -12 5\n"
    "radio 02:19:05:A0:02:01 6 20 home\nclient 02:19:05:CC:00:01 -9 1 02:19:05:A0:01:05 20\n";

TEST(AirPlan, LinesBecomeRadiosAndClients) {
  std::istringstream text(GOOD);
  const AirPlan plan = read_air_plan(text);
  ASSERT_EQ(plan.radios.size(), 2U);
  EXPECT_EQ(plan.radios[0].ssid, "<b>my home");
  EXPECT_EQ(plan.radios[0].channel.get_primary_segment().get().first, qel::kHz(5210000));
  EXPECT_EQ(plan.radios[1].node, 1U);
  ASSERT_EQ(plan.clients.size(), 1U);
  EXPECT_GT(plan.signal(plan.clients[0], plan.radios[1]), plan.signal(plan.clients[0], plan.radios[0]))
      << "it is nearer";
}

TEST(AirPlan, WrongLineIsNamed) {
  constexpr struct {
    const char* line;
    const char* why;
  } ROWS[] = {
      {"router x", "'router' is none of node, radio and client"},
      {"node three 1", "expected a place"},
      {"node three 1 2 3", "unexpected '3'"},
      {"node three 1 99999999999", "expected a place"},
      {"node three 1 10001", "a place must be between -10000 and 10000"},
      {"radio ff:ff:ff:ff:ff:ff 36 80 home", "'ff:ff:ff:ff:ff:ff' is not the MAC address of a device"},
      {"radio 02:19:05:A0:01:05 36 80 home", "a second radio of this address"},
      {"radio 02:19:05:A0:01:06 37 20 home", "there is no channel 37 at 20 MHz"},
      {"radio 02:19:05:A0:01:06 6 80 home", "there is no channel 6 at 80 MHz"},
      {"radio 02:19:05:A0:01:06 36 30 home", "there is no channel 36 at 30 MHz"},
      {"radio 02:19:05:A0:01:06 36 80", "expected an SSID of at most 32 octets"},
      {"client 02:19:05:CC:00:01 0 0 02:19:05:A0:01:05 1", "a second client of this address"},
      {"client 02:19:05:CC:00:02 0 0 02:19:05:A0:01:06 1", "a client of no radio"},
  };
  for (const auto& row : ROWS) {
    std::istringstream text(std::string(GOOD) + row.line + '\n');
    EXPECT_THAT([&] { read_air_plan(text); },
                testing::ThrowsMessage<std::runtime_error>(std::string("line 8: ") + row.why))
        << row.line;
  }
}

}  // namespace

}  // namespace meshd::wifi
