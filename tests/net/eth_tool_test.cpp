#include "qel/net/eth_tool.h"

#include <gtest/gtest.h>
#include <linux/ethtool.h>
#include <net/if.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <string_view>
#include <thread>

#include "qel/net/eth_interface_monitor.h"
#include "tests/net/private_network.h"
#include "tests/support/emulator.h"

namespace qel {
namespace {

EthTool::InterfaceName interface_name(std::string_view name) {
  return EthTool::InterfaceName({reinterpret_cast<const std::uint8_t*>(name.data()), name.size()});
}

/// Answers ethtool requests as the kernel does: with as many elements as the driver has, whatever room there is.
struct FakeDriver {
  std::uint32_t link = 7;
  std::uint64_t string_sets = 1ULL << ETH_SS_STATS;
  std::uint32_t announced = 3;  ///< number of statistics
  std::vector<std::string> names{"mac_tx_bytes_good", "rx_errors", "mac_rx_bytes_good"};
  std::vector<std::uint64_t> values{0x1122334455667788, 5, 0x99AABBCCDDEEFF01};
  std::uint32_t failing = 0;  ///< a command

  /// It uses this driver.
  EthTool tool() {
    return {interface_name("fifteen-letters"), [this](int socket, ifreq& request) { return answer(socket, request); }};
  }

 private:
  int answer(int socket, ifreq& request) {
    EXPECT_GE(socket, 0);
    EXPECT_STREQ(request.ifr_name, "fifteen-letters");
    const auto put = [&](std::size_t at, const auto& value) {
      std::memcpy(request.ifr_data + at, &value, sizeof(value));
    };
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
  const EthTool::ByteCounters counters = tool.get_byte_counters();
  EXPECT_EQ(counters.receive.get(), 0x99AABBCCDDEEFF01U);
  EXPECT_EQ(counters.transmit.get(), 0x1122334455667788U);
  EXPECT_EQ(counters.receive.get_timestamp(), counters.transmit.get_timestamp());
  EXPECT_GE(counters.receive.get_timestamp(), before);

  driver.names[5] = "mac_rx_bytes_bad";
  EXPECT_FALSE(driver.tool().get_byte_counters().receive.is_set());
  EXPECT_TRUE(driver.tool().get_byte_counters().transmit.is_set());
  // A driver without statistics refuses to tell them.
  driver.string_sets = 0;
  driver.failing = ETHTOOL_GSTATS;
  EXPECT_FALSE(driver.tool().get_byte_counters().transmit.is_set());
}

TEST(EthTool, SurvivesADriverThatChangesItsMind) {
  const struct {
    std::uint32_t announced;
    std::size_t names, values, known;
    bool told;
  } rows[] = {
      {3, 3, 2, 3, false}, {3, 3, 6, 3, false},     {3, 2, 3, 2, false},
      {3, 6, 3, 3, true},  {3, 0, 3, 0, false},     {65536, 65536, 65536, 65536, true},
      {0, 3, 3, 0, false}, {65537, 3, 3, 0, false}, {4294967295, 3, 3, 0, false},
  };
  for (const auto& row : rows) {
    FakeDriver driver;
    driver.announced = row.announced;
    driver.names.resize(row.names);
    driver.values.resize(row.values);
    const EthTool tool = driver.tool();
    SCOPED_TRACE(testing::Message() << row.announced << ' ' << row.names << ' ' << row.values);
    EXPECT_EQ(tool.get_stringset().size(), row.known);
    EXPECT_EQ(tool.get_byte_counters().transmit.is_set(), row.told);
    // More than there was ever room for.
    driver.announced = 200000;
    driver.values.resize(200000);
    EXPECT_FALSE(tool.get_byte_counters().transmit.is_set());
  }
}

/// The text of what `step` throws, leaving no descriptor open.
template <class Step>
std::string failure(Step step) {
  // The next descriptor gets the same number twice when nothing was left open in between.
  const auto next_descriptor = [] { return FileDescriptor(::dup(STDERR_FILENO)).get(); };
  const int before = next_descriptor();
  std::string text;
  try {
    step();
  } catch (const std::runtime_error& error) {
    text = error.what();
  }
  EXPECT_EQ(next_descriptor(), before);
  return text;
}

TEST(EthTool, AsksTheKernel) {
  if (test::UNDER_EMULATOR) {
    GTEST_SKIP() << test::EMULATOR_LACKS_ETHTOOL;
  }
  if (const std::string& reason = test::enter_private_network(); !reason.empty()) {
    GTEST_SKIP() << reason;
  }
  test::add_veth_pair("ethtool-of-15-c", "ethtool-peer");
  const EthTool tool(interface_name("ethtool-of-15-c"));
  EXPECT_TRUE(tool.is_link_up());
  EXPECT_FALSE(tool.get_stringset().empty());
  EXPECT_FALSE(tool.get_byte_counters().receive.is_set());
  test::change_interface_flags("ethtool-of-15-c", 0, IFF_UP);
  EXPECT_FALSE(tool.is_link_up());

  ethtool_value request{0xFEDCBA98, 0};
  EXPECT_EQ(failure([&] { tool.issue_eth_ioctl(&request); }),
            "ioctl for ethtool-of-15-c failed: Operation not supported (command 0xfedcba98)");
  EXPECT_EQ(failure([] { EthTool(interface_name("nowhere")); }),
            "ioctl for nowhere failed: No such device (command 0x37)");
  rlimit unlimited;
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &unlimited), 0);
  const rlimit none{0, unlimited.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  EXPECT_EQ(failure([&] { tool.is_link_up(); }), "Failed to create socket: Too many open files");
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &unlimited), 0);
}

/// A monitor of a driver whose counters advance between the updates.
class EthInterfaceMonitorOn : public testing::Test {
 protected:
  using MaxDataRate = EthInterfaceMonitor::MaxDataRate;

  /// With three times as many octets received as sent.
  void update() {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    driver_.values[0] += 10000;
    driver_.values[2] += 30000;
    monitor_.update();
  }
  std::uint32_t received() const { return monitor_.get_data_rates().first.get().value(); }
  std::uint32_t sent() const { return monitor_.get_data_rates().second.get().value(); }
  void expect_unavailable() {
    const auto [receive, transmit] = monitor_.get_availabilities();
    EXPECT_TRUE(receive.percentage == 0 && transmit.percentage == 0);
    EXPECT_TRUE(receive.time.time_since_epoch().count() == 0 && transmit.time.time_since_epoch().count() == 0);
  }

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
  const struct {
    unsigned int maximum;
    int percentage;
  } rows[] = {{rate * 4, 75}, {rate * 3, 66}, {rate, 0}, {rate * 2 / 3, 0}};
  for (const auto& row : rows) {
    const auto before = std::chrono::steady_clock::now();
    monitor_.set_max_data_rate(MaxDataRate(BitsPerSecond(row.maximum)));
    monitor_.update_availabilities();
    EXPECT_EQ(monitor_.get_availabilities().second.percentage, row.percentage) << row.maximum;
    EXPECT_GE(monitor_.get_availabilities().second.time, before);
  }
  for (const auto& none : {MaxDataRate(), MaxDataRate(BitsPerSecond(0))}) {
    monitor_ = EthInterfaceMonitor(driver_.tool(), none);
    update();
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
  for (const std::uint32_t link : {0U, 1U}) {  // what comes first after the gap has nothing to be compared with
    driver_.link = link;
    update();
    EXPECT_FALSE(monitor_.get_data_rates().first.is_set() || monitor_.get_data_rates().second.is_set());
    expect_unavailable();
  }
  update();
  EXPECT_LE(received(), 15000000U);  // 30000 octets in 2 ms or more, no leap of the whole counter
  EXPECT_GT(received(), 0U);
}

}  // namespace
}  // namespace qel
