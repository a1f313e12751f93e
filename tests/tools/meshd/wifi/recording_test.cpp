#include <gtest/gtest.h>
#include <linux/netlink.h>
#include <linux/nl80211.h>

#include <bit>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include "tests/tools/meshd/wifi/attributes.h"
#include "tools/meshd/wifi/model_json.h"

namespace meshd::wifi {
namespace {

std::string contents(const std::string& name) {
  std::ifstream file(QEL_TEST_DATA "/" + name, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The question to which the message belongs.
Question question_of(const Message& message) {
  const std::uint32_t interface = interface_of(message, 1).number;
  switch (message.command) {
    case NL80211_CMD_GET_REG:
      return {Question::Topic::REGULATORY};
    case NL80211_CMD_NEW_INTERFACE:
      return {Question::Topic::INTERFACES};
    case NL80211_CMD_NEW_STATION:
      return {Question::Topic::STATIONS, interface};
    case NL80211_CMD_NEW_SURVEY_RESULTS:
      return {Question::Topic::SURVEYS, interface};
    default:
      return {Question::Topic::WIPHYS};
  }
}

TEST(WifiRecording, BecomesTheModelThatIwShows) {
  if constexpr (std::endian::native == std::endian::big) {
    GTEST_SKIP() << "netlink has the byte order of the machine; the recording is from a little-endian one";
  }
  const std::string recording = contents("corpus/nl80211/answers-of-linux");
  Model model;
  bool is_first = true;
  netlink::for_each<nlmsghdr, &nlmsghdr::nlmsg_len>(testing::octets_of(recording),
                                                    [&](const nlmsghdr& header, Octets octets) {
                                                      if (header.nlmsg_type == NLMSG_DONE) {
                                                        if (!is_first) {  // an empty answer does not show its question
                                                          model.end();
                                                        }
                                                        is_first = true;
                                                        return;
                                                      }
                                                      const Message message = message_of(octets).value();
                                                      if (is_first) {
                                                        model.begin(question_of(message));
                                                        is_first = false;
                                                      }
                                                      model.add(message, 1);
                                                    });
  std::ostringstream json;
  print_json(json, model, 1);
  EXPECT_EQ(json.str(), contents("wifi/ap.json"));
}

}  // namespace
}  // namespace meshd::wifi
