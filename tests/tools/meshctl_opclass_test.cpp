#include <gmock/gmock.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <string>
#include <utility>

#include "tests/tools/json.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

struct Outcome {
  int status;
  std::string text;  ///< of both outputs
};

/// Without a message bus.
Outcome opclass(const std::string& arguments) {
  const std::string command = "QELIPC_BUS_ADDRESS=unix:path=/nonexistent '" MESHCTL "' opclass " + arguments + " 2>&1";
  std::FILE* pipe = popen(command.c_str(), "r");
  std::string text;
  std::array<char, 4096> part{};
  while (const std::size_t size = std::fread(part.data(), 1, part.size(), pipe)) {
    text.append(part.data(), size);
  }
  const int status = pclose(pipe);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, text};
}

TEST(MeshctlOpclass, NamesTheClassesOfAChannel) {
  EXPECT_EQ(opclass("of --freq 2484").text, "82\n");
  EXPECT_EQ(opclass("of --freq 05180 --region europe").text, "1\n");
  EXPECT_EQ(opclass("of --freq 5200 --width 40 --center 5190 --region global").text, "117\n");
  EXPECT_EQ(opclass("of --freq 5180 --width 160 --center 5250").text, "129\n");
  const std::string two_segments = "of --freq 5180 --width 80+80 --center 5210 --secondary 5530";
  const Outcome outcome = opclass(two_segments);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.text, "128\n130\n");
  const Json json(opclass(two_segments + " --json").text);
  EXPECT_THAT(json.keys(), ElementsAre("region", "channel_info", "opclasses"));
  EXPECT_EQ(json["region"].text(), "GLOBAL");
  EXPECT_EQ(json["channel_info"]["secondary_center"].number(), "5530000");
  EXPECT_EQ(json["opclasses"].element(1).number(), "130");
}

TEST(MeshctlOpclass, TellsWhereAChannelLies) {
  EXPECT_EQ(opclass("freq 0116 36").text,
            "frequency: 5180 MHz\nsegment center: 5190 MHz\nlisted in the class: yes\n"
            "capabilities: HT20 HT40 PRIMARY_LOWER_BEHAVIOR\nsecondary segment: no\n");
  EXPECT_THAT(opclass("freq 13 184 --region europe").text,
              AllOf(StartsWith("frequency: 5922.5 MHz\n"), HasSubstr("\ncapabilities: none\n")));
  EXPECT_THAT(opclass("freq 128 36").text, HasSubstr("segment center: 5210 MHz\nlisted in the class: no\n"));
  EXPECT_THAT(opclass("freq 130 1").text, HasSubstr("segment center: none\n"));
  const Json json(opclass("freq 130 1 --json").text);
  EXPECT_THAT(json.keys(), ElementsAre("region", "opclass", "channel", "frequency", "segment_center", "listed",
                                       "capability_flags", "secondary_segment"));
  EXPECT_EQ(json["frequency"].number(), "5005000");
  EXPECT_TRUE(json["segment_center"].is_null());
  EXPECT_EQ(json["capability_flags"].number(), "71");
  EXPECT_TRUE(json["secondary_segment"].boolean());
}

TEST(MeshctlOpclass, PrintsTheTable) {
  EXPECT_THAT(opclass("table").text, HasSubstr("\n  Opclass: 129\n    Channel List: [50, 114, 163]\n"));
  const Json json(opclass("table --region europe --json").text);
  ASSERT_EQ(json["opclasses"].size(), 21U);
  const Json last = json["opclasses"].element(20);
  EXPECT_THAT(last.keys(), ElementsAre("opclass", "channels", "frequencies", "capability_flags", "secondary_segment"));
  EXPECT_EQ(last["channels"].element(3).number(), "122");
  EXPECT_EQ(last["frequencies"].element(3).number(), "5610000");
}

TEST(MeshctlOpclass, RefusesWhatMakesNoSenseInOneLine) {
  const std::pair<const char*, const char*> rows[] = {
      {"", "subcommand"},
      {"table --region 'ja\npan'", "--region: ja\\x0apan not in"},
      {"of", "--freq is required"},
      {"of --freq 0", "--freq: Value 0 is no whole number from 1 to 100000"},
      {"of --freq 5180.5", "--freq: Value 5180.5"},
      {"of --freq 99999999999999999999", "--freq: Value 99999999999999999999"},
      {"of --freq 5000", "No mapping available for primary segment of channel info primary frequency: 5000000 kHz"},
      {"of --freq 5180 --width 30 --center 5190", "--width: 30 not in {20,40,80,160,80+80}"},
      {"of --freq 5180 --width 40", "--width requires --center"},
      {"of --freq 5180 --center 5190", "--center requires --width"},
      {"of --freq 5180 --width 40 --center 5290", "not within primary segment"},
      {"of --freq 5180 --width 80 --center 5210 --secondary 5530", "--secondary requires --width 80+80"},
      {"of --freq 5180 --width 80+80 --center 5210", "--width 80+80 requires --secondary"},
      {"freq 116", "CHANNEL is required"},
      {"freq 116 256", "CHANNEL: Value 256"},
      {"freq -1 36", "CLASS: Value -1"},
      {"freq 124 36", "Provided opclass 124 not valid!"},
  };
  for (const auto& [arguments, complaint] : rows) {
    const Outcome outcome = opclass(arguments);
    EXPECT_EQ(outcome.status, 2) << arguments;
    EXPECT_THAT(outcome.text, AllOf(StartsWith("meshctl: "), HasSubstr(complaint))) << arguments;
    EXPECT_EQ(outcome.text.find('\n') + 1, outcome.text.size()) << arguments;
  }
}

}  // namespace
