#include "tools/meshd/controller/policy.h"

#include <fstream>
#include <iterator>

#include "tests/support/testing.h"

namespace meshd::controller::test {
namespace {

std::string source(const std::string& path) {
  std::ifstream file(QEL_SOURCE_DIR "/" + path);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The lines without their comments.
std::string without_comments(std::istringstream text) {
  std::string lines;
  for (std::string line; std::getline(text, line);) {
    line.erase(std::min(line.find('#'), line.size()));
    line.erase(line.find_last_not_of(' ') + 1);
    lines += line.empty() ? "" : line + '\n';
  }
  return lines;
}

TEST(Policy, WritesWhatItReads) {
  const std::string text =
      "report.interval 255\nreport.rcpi-threshold 60\nreport.rcpi-hysteresis 6\nreport.utilization-threshold 81\n"
      "plan.on yes\nplan.interval 10\nplan.settle 604800\nplan.least-gain 0\nplan.client-weight 2\nplan.use-dfs no\n"
      "plan.use-unchecked-dfs yes\nplan.widest-2.4-ghz 40\nplan.widest-5-ghz 160\nplan.widest-6-ghz 20\n"
      "plan.excluded-radio 02:19:05:00:00:01\nplan.excluded-radio 02:19:05:00:00:02\n"
      "steering.on yes\nsteering.sticky-rcpi 70\nsteering.least-rcpi 220\nsteering.margin 21\n"
      "steering.busy-utilization 71\nsteering.utilization-margin 31\nsteering.fresh 3600\nsteering.rest 0\n"
      "steering.back-off 301\nsteering.longest-back-off 300\nsteering.most-at-once 1000\n"
      "steering.excluded-client 02:19:05:00:0C:03\n";
  const Policy policy = parse_policy(text);
  EXPECT_EQ(without_comments(std::istringstream(policy_text(policy))), text);
  EXPECT_EQ(policy.plan.widest_6_ghz, qel::ChannelWidth::WIDTH_20_MHZ);
  EXPECT_EQ(policy.plan.settle, std::chrono::hours(168));
  EXPECT_EQ(policy.reporting.rcpi_hysteresis, 6);
  EXPECT_EQ(policy.steering.excluded_clients, std::set{qel::MACAddress("02:19:05:00:0C:03")});
}

TEST(Policy, IsWrittenForPeopleToo) {
  const std::string defaults = policy_text(Policy());
  EXPECT_EQ(source("packaging/policy.conf"), defaults);
  EXPECT_EQ(policy_text(read_policy(QEL_SOURCE_DIR "/packaging/policy.conf")), defaults);
  EXPECT_EQ(policy_text(parse_policy("\t# nothing\r\n\n  plan.on\tno # as ever\r\nplan.excluded-radio none")),
            defaults);
  const std::string manual = source("man/meshd-policy.5");
  std::istringstream lines(without_comments(std::istringstream(defaults)));
  std::size_t place = 0;
  for (std::string key, value; lines >> key >> value;) {
    place = manual.find(".It Cm " + key + ' ', place);
    EXPECT_NE(place, manual.npos) << key << " is missing in the manual, or not in its place";
  }
  EXPECT_THROW(read_policy(QEL_SOURCE_DIR), std::system_error);
  EXPECT_THROW(read_policy(QEL_SOURCE_DIR "/none"), std::system_error);
}

TEST(Policy, SaysWhatIsWrong) {
  const std::pair<const char*, const char*> cases[] = {
      {"\n# a comment\nplan.lest-gain 5", "line 3: unknown key 'plan.lest-gain'"},
      {"plan.on # yes", "line 1: plan.on has no value"},
      {"plan.on true", "line 1: 'true' is neither 'yes' nor 'no'"},
      {"plan.interval 5\n", "line 1: plan.interval must be from 10 to 86400, not 5"},
      {"report.interval 256", "line 1: report.interval must be from 0 to 255, not 256"},
      {"plan.settle 99999999999999999999", "line 1: plan.settle must be from 0 to 604800, not 99999999999999999999"},
      {"plan.settle -1", "line 1: '-1' is not a number"},
      {"plan.settle 1e3", "line 1: '1e3' is not a number"},
      {"plan.settle 60 s", "line 1: plan.settle has one value, but 's' follows it"},
      {"plan.settle 1\nplan.on no\nplan.settle 1", "line 3: plan.settle was already given in line 1"},
      {"plan.widest-5-ghz 60", "line 1: 60 MHz is not the width of a channel"},
      {"plan.widest-2.4-ghz 80", "line 1: plan.widest-2.4-ghz must be from 20 to 40, not 80"},
      {"plan.excluded-radio 02:19:05:00:00", "line 1: '02:19:05:00:00' is not the address of a device"},
      {"plan.excluded-radio none 02:19:05:00:00:01", "line 1: 'none' is not the address of a device"},
      {"steering.excluded-client 01:00:5E:00:00:01", "line 1: '01:00:5E:00:00:01' is not the address of a device"},
      {"steering.excluded-client 02:00:00:00:0c:01\nsteering.excluded-client 02:00:00:00:0C:01",
       "line 2: 02:00:00:00:0C:01 is listed twice"},
  };
  for (const auto& [text, error] : cases) {
    EXPECT_THAT([&text = text] { parse_policy(text); }, testing::ThrowsMessage<PolicyError>(error));
  }
}

}  // namespace
}  // namespace meshd::controller::test
