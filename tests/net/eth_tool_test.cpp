#include "qel/net/eth_tool.h"

#include <linux/ethtool.h>
#include <net/if.h>

#include "qel/net/eth_interface_monitor.h"
#include "tests/net/private_network.h"
#include "tests/support/emulator.h"
#include "tests/support/testing.h"

namespace qel {
namespace {

/// Answers ethtool requests like the kernel: with as many elements as the driver has, however much room there is.
struct FakeDriver {
  std::uint32_t link = 7;
  std::uint64_t string_sets = 1ULL << ETH_SS_STATS;
  std::uint32_t announced = 3;  ///< number of statistics
  std::vector<std::string> names{"mac_tx_bytes_good", "rx_errors", "mac_rx_bytes_good"};
  std::vector<std::uint64_t> values{0x1122334455667788, 5, 0x99AABBCCDDEEFF01};
  std::uint32_t failing = 0;  ///< a command

  /// An EthTool that uses this driver.
  EthTool tool() {
    return {EthTool::InterfaceName("fifteen-letters"),
            [this](int socket, ifreq& request) { return answer(socket, request); }};
  }

 private:
  int answer(int socket, ifreq& request) {
    EXPECT_GE(socket, 0);
    EXPECT_STREQ(request.ifr_name, "fifteen-letters");
    const auto put = [&](std::size_t at, auto value) { std::memcpy(request.ifr_data + at, &value, sizeof(value)); };
    std::uint32_t command;
    std::memcpy(&command, request.ifr_data, sizeof(command));
    if (command == failing) {
      errno = EIO;
      return -1;
    }
    if (command == ETHTOOL_GLINK) {
      put(4, link);
    } else if (command == ETHTOOL_GSSET_INFO) {
      put(8, string_sets);
      put(16, announced);
    } else if (command == ETHTOOL_GSTRINGS) {
      put(8, static_cast<std::uint32_t>(names.size()));
      for (std::size_t i = 0; i < names.size(); ++i) {
        names[i].copy(request.ifr_data + 12 + 32 * i, 32);
      }
    } else {
      put(4, static_cast<std::uint32_t>(values.size()));
      std::memcpy(request.ifr_data + 8, values.data(), 8 * values.size());
    }
    return 0;
  }
};

TEST(EthTool, FindsTheCountersByName) {
  FakeDriver driver;
  driver.names = {"mac_rx_bytes_goo", "mac_rx_bytes_good_of_thirty-two.", "", "mac_tx_bytes_good", "MAC_RX_BYTES_GOOD",
                  "mac_rx_bytes_good"};
  driver.values = {11, 12, 13, 0x1122334455667788, 15, 0x99AABBCCDDEEFF01};
  driver.announced = 6;
  const EthTool tool = driver.tool();
  EXPECT_EQ(tool.get_stringset(), driver.names);
  const ByteCounter::Timestamp before = ByteCounter::now();
  const auto [receive, transmit] = tool.get_byte_counters();
  EXPECT_EQ(receive.get(), 0x99AABBCCDDEEFF01U);
  EXPECT_EQ(transmit.get(), 0x1122334455667788U);
  EXPECT_EQ(receive.get_timestamp(), transmit.get_timestamp());
  EXPECT_GE(receive.get_timestamp(), before);
  driver.names[5] = "mac_rx_bytes_bad";
  EXPECT_FALSE(driver.tool().get_byte_counters().receive.is_set());
  EXPECT_TRUE(driver.tool().get_byte_counters().transmit.is_set());
  // A driver without statistics refuses to report them.
  driver.string_sets = 0;
  driver.failing = ETHTOOL_GSTATS;
  EXPECT_FALSE(driver.tool().get_byte_counters().transmit.is_set());
}

TEST(EthTool, SurvivesADriverThatChangesItsMind) {
  const struct {
    std::uint32_t announced;
    std::size_t names, values, known;
    bool told;
  } rows[] = {{3, 3, 2, 3, false},    {3, 3, 6, 3, false}, {3, 2, 3, 2, false},
              {3, 6, 3, 3, true},     {0, 3, 3, 0, false}, {65536, 65536, 65536, 65536, true},
              {65537, 3, 3, 0, false}};
  for (const auto& [announced, names, values, known, told] : rows) {
    FakeDriver driver;
    driver.announced = announced;
    driver.names.resize(names);
    driver.values.resize(values);
    const EthTool tool = driver.tool();
    SCOPED_TRACE(testing::Message() << announced << ' ' << names << ' ' << values);
    EXPECT_EQ(tool.get_stringset().size(), known);
    EXPECT_EQ(tool.get_byte_counters().transmit.is_set(), told);
    // More than there was room for.
    driver.announced = 200000;
    driver.values.resize(200000);
    EXPECT_FALSE(tool.get_byte_counters().transmit.is_set());
  }
}

TEST(EthTool, AsksTheKernelAndLeavesNothingOpen) {
  if (test::UNDER_EMULATOR) {
    GTEST_SKIP() << test::EMULATOR_LACKS_ETHTOOL;
  }
  if (const std::string& reason = test::enter_private_network(); !reason.empty()) {
    GTEST_SKIP() << reason;
  }
  const int before = test::next_descriptor();
  test::add_veth_pair("ethtool-of-15-c", "ethtool-peer");
  const EthTool tool(EthTool::InterfaceName("ethtool-of-15-c"));
  EXPECT_TRUE(tool.is_link_up());
  EXPECT_FALSE(tool.get_stringset().empty());
  EXPECT_FALSE(tool.get_byte_counters().receive.is_set());
  test::ip("link set ethtool-of-15-c down");
  EXPECT_FALSE(tool.is_link_up());

  ethtool_value request{0xFEDCBA98, 0};
  EXPECT_THAT([&] { tool.issue_eth_ioctl(&request); },
              ThrowsMessage<std::runtime_error>(
                  "ioctl for ethtool-of-15-c failed: Operation not supported (command 0xfedcba98)"));
  EXPECT_THAT([] { EthTool(EthTool::InterfaceName("nowhere")); },
              ThrowsMessage<std::runtime_error>("ioctl for nowhere failed: No such device (command 0x37)"));
  EXPECT_EQ(test::next_descriptor(), before);
}

/// A monitor of a driver whose counters increase between updates.
class EthInterfaceMonitorOn : public testing::Test {
 protected:
  using MaxDataRate = EthInterfaceMonitor::MaxDataRate;

  /// Three times as many octets are received as sent.
  void update() {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    driver_.values[0] += sends_;
    driver_.values[2] += 3 * sends_;
    monitor_.update();
  }
  std::uint32_t received() const { return monitor_.get_data_rates().first.get().value(); }
  std::uint32_t sent() const { return monitor_.get_data_rates().second.get().value(); }
  void expect_unavailable() {
    const auto [receive, transmit] = monitor_.get_availabilities();
    EXPECT_EQ(receive.percentage, 0);
    EXPECT_EQ(receive.time.time_since_epoch().count(), 0);
    EXPECT_EQ(transmit.percentage, 0);
    EXPECT_EQ(transmit.time.time_since_epoch().count(), 0);
  }

  std::uint64_t sends_ = 10000;  ///< octets between two updates
  FakeDriver driver_;
  EthInterfaceMonitor monitor_{driver_.tool(), MaxDataRate(BitsPerSecond(1000000000))};
};

TEST_F(EthInterfaceMonitorOn, ComparesRatesWithTheMaximum) {
  update();
  expect_unavailable();
  update();
  EXPECT_NEAR(received(), 3.0 * sent(), 3);
  EXPECT_GT(monitor_.get_availabilities().first.percentage, 90);
  const std::uint32_t rate = sent();
  const std::pair<unsigned int, int> rows[] = {{rate * 3, 66}, {rate, 0}, {rate * 2 / 3, 0}};
  for (const auto& [maximum, percentage] : rows) {
    const auto before = std::chrono::steady_clock::now();
    monitor_.set_max_data_rate(MaxDataRate(BitsPerSecond(maximum)));
    monitor_.update_availabilities();
    EXPECT_EQ(monitor_.get_availabilities().second.percentage, percentage) << maximum;
    EXPECT_GE(monitor_.get_availabilities().second.time, before);
  }
  sends_ = 0;
  update();
  EXPECT_EQ(sent(), 0U);
  expect_unavailable();
  sends_ = 10000;
  for (const auto& none : {MaxDataRate(), MaxDataRate(BitsPerSecond(0), 1)}) {
    monitor_.set_max_data_rate(none);  // although it is not later
    EXPECT_EQ(monitor_.get_max_data_rate(), none);
    update();
    EXPECT_GT(sent(), 0U);
    expect_unavailable();
  }
}

TEST_F(EthInterfaceMonitorOn, KeepsWhatItHasWhenTheDriverFailsAndForgetsItWhenTheLinkIsDown) {
  update();
  update();
  const auto rates = monitor_.get_data_rates();
  const auto time = monitor_.get_availabilities().first.time;
  for (const std::uint32_t command : std::to_array<std::uint32_t>({ETHTOOL_GLINK, ETHTOOL_GSTATS})) {
    driver_.failing = command;
    EXPECT_THROW(update(), std::runtime_error);
    EXPECT_EQ(monitor_.get_data_rates(), rates);
    EXPECT_EQ(monitor_.get_availabilities().first.time, time);
  }
  driver_.failing = 0;
  for (const std::uint32_t link : {0U, 1U}) {  // the first reading after the gap has nothing to be compared with
    driver_.link = link;
    update();
    EXPECT_FALSE(monitor_.get_data_rates().first.is_set() || monitor_.get_data_rates().second.is_set());
    expect_unavailable();
  }
  update();
  EXPECT_LE(received(), 15000000U);  // 30000 octets in 2 ms or more, not a jump of the whole counter
}

}  // namespace
}  // namespace qel
