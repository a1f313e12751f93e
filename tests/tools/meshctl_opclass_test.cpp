#include <gmock/gmock.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <string>
#include <utility>

namespace {

using testing::AllOf;
using testing::EndsWith;
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
  const std::string two_segments = "of --freq 5180 --width 80+80 --center 5210 --secondary 5530";
  const Outcome outcome = opclass(two_segments);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.text, "128\n130\n");
  EXPECT_EQ(opclass(two_segments + " --json").text,
            R"({"region":"GLOBAL","channel_info":{"primary_freq":5180000,"primary_center":5210000,)"
            R"("channel_width":"80+80 MHz","secondary_center":5530000,"max_power":null},"opclasses":[128,130]})"
            "\n");
}

TEST(MeshctlOpclass, TellsWhereAChannelLies) {
  EXPECT_EQ(opclass("freq 0116 36").text,
            "frequency: 5180 MHz\nsegment center: 5190 MHz\nlisted in the class: yes\n"
            "capabilities: HT20 HT40 PRIMARY_LOWER_BEHAVIOR\nsecondary segment: no\n");
  EXPECT_THAT(opclass("freq 13 184 --region europe").text,
              AllOf(StartsWith("frequency: 5922.5 MHz\n"), HasSubstr("\ncapabilities: none\n")));
  EXPECT_THAT(opclass("freq 130 1").text, HasSubstr("segment center: none\nlisted in the class: no\n"));
  EXPECT_EQ(opclass("freq 130 1 --json").text,
            R"({"region":"GLOBAL","opclass":130,"channel":1,"frequency":5005000,"segment_center":null,"listed":false,)"
            R"("capability_flags":71,"secondary_segment":true})"
            "\n");
}

TEST(MeshctlOpclass, PrintsTheTable) {
  EXPECT_THAT(opclass("table").text, HasSubstr("\n  Opclass: 129\n    Channel List: [50, 114, 163]\n"));
  EXPECT_THAT(opclass("table --region europe --json").text,
              AllOf(StartsWith(R"({"region":"EUROPE","opclasses":[{"opclass":1,)"),
                    EndsWith(R"({"opclass":130,"channels":[42,58,106,122],"frequencies":[5210000,5290000,5530000,)"
                             R"(5610000],"capability_flags":71,"secondary_segment":true}]})"
                             "\n")));
}

TEST(MeshctlOpclass, RefusesWhatMakesNoSenseInOneLine) {
  const std::pair<const char*, const char*> rows[] = {
      {"", "subcommand"},
      {"table --region 'ja\npan'", "--region: ja\\x0apan not in"},
      {"of", "--freq is required"},
      {"of --freq 0", "--freq: Value 0 is no whole number from 1 to 100000"},
      {"of --freq 5180.5", "--freq: Value 5180.5"},
      {"of --freq 5000", "No mapping available for primary segment of channel info primary frequency: 5000000 kHz"},
      {"of --freq 5180 --width 30 --center 5190", "--width: 30 not in {20,40,80,160,80+80}"},
      {"of --freq 5180 --width 40", "--width requires --center"},
      {"of --freq 5180 --center 5190", "--center requires --width"},
      {"of --freq 5180 --width 40 --center 5290", "not within primary segment"},
      {"of --freq 5180 --width 80 --center 5210 --secondary 5530", "--secondary requires --width 80+80"},
      {"of --freq 5180 --width 80+80 --center 5210", "--width 80+80 requires --secondary"},
      {"freq 116 256", "CHANNEL: Value 256"},
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
