#include "tests/tools/meshdump/meshdump_run.h"

namespace {

class MeshctlOpclass : public meshdump::Meshdump {
 protected:
  /// Runs it without a message bus; what it says is in `out`.
  meshdump::Outcome opclass(const std::string& arguments) const {
    return shell("QELIPC_BUS_ADDRESS=unix:path=/nonexistent '" + qel::test::program("meshctl") + "' opclass " +
                 arguments + " 2>&1");
  }
};

TEST_F(MeshctlOpclass, NamesTheClassesOfAChannel) {
  EXPECT_EQ(opclass("of --freq 2484").out,
            "operating class: 82\nband: 2.4 GHz\nwidth: 20 MHz\nchannel: 14 (2484 MHz)\nchannels of the class: 14\n");
  EXPECT_EQ(opclass("of --freq 5180 --width 80").out,
            "operating class: 128\nband: 5 GHz\nwidth: 80 MHz\nchannel: 42 (5210 MHz)\n"
            "channels of the class: 42 58 106 122 138 155 171\n");
  const std::pair<const char*, const char*> rows[] = {
      {"--freq 05180 --region europe", "operating class: 1\nband: 5 GHz\nwidth: 20 MHz\nchannel: 36 (5180 MHz)\n"},
      {"--freq 5200 --width 40 --center 5190 --region global", "class: 117\nband: 5 GHz\nwidth: 40 MHz\nchannel: 40 ("},
      {"--freq 5200 --width 40", "class: 117\nband: 5 GHz\nwidth: 40 MHz\nchannel: 40 (5200 MHz)\n"},
      {"--freq 2412 --width 40", "class: 83\nband: 2.4 GHz\nwidth: 40 MHz\nchannel: 1 (2412 MHz)\n"},
      {"--freq 5935 --width 20", "class: 136\nband: 6 GHz\nwidth: 20 MHz\nchannel: 2 (5935 MHz)\n"},
  };
  for (const auto& [arguments, text] : rows) {
    EXPECT_THAT(opclass(std::string("of ") + arguments).out, HasSubstr(text)) << arguments;
  }
  const std::string two_segments = "of --freq 5180 --width 80+80 --center 5210 --secondary 5530";
  const meshdump::Outcome outcome = opclass(two_segments);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, MatchesRegex("operating class: 128\n.*width: 80 MHz\nchannel: 42 .*\n\n"
                                        "operating class: 130\n.*width: 80\\+80 MHz\nchannel: 106 .*171\n"));
  EXPECT_EQ(opclass("of --freq 5180 --width 80+80 --secondary 5530").out, outcome.out);
  EXPECT_EQ(opclass(two_segments + " --json").out,
            R"({"region":"GLOBAL","channel_info":{"primary_freq":5180000,"primary_center":5210000,)"
            R"("channel_width":"80+80 MHz","secondary_center":5530000,"max_power":null},"opclasses":[128,130],)"
            R"("classes":[{"opclass":128,"band":"5 GHz","channel_width":"80 MHz","channel":42,)"
            R"("channels":[42,58,106,122,138,155,171]},{"opclass":130,"band":"5 GHz","channel_width":"80+80 MHz",)"
            R"("channel":106,"channels":[42,58,106,122,138,155,171]}]})"
            "\n");
}

TEST_F(MeshctlOpclass, TellsWhereAChannelLies) {
  EXPECT_EQ(opclass("freq 0116 36").out,
            "frequency: 5180 MHz\nsegment center: 5190 MHz\nlisted in the class: yes\n"
            "capabilities: HT20 HT40 PRIMARY_LOWER_BEHAVIOR\nsecondary segment: no\n");
  EXPECT_THAT(opclass("freq 13 184 --region europe").out,
              AllOf(StartsWith("frequency: 5922.5 MHz\n"), HasSubstr("\ncapabilities: none\n")));
  EXPECT_THAT(opclass("freq 130 1").out, HasSubstr("segment center: none\nlisted in the class: no\n"));
  EXPECT_EQ(opclass("freq 130 1 --json").out,
            R"({"region":"GLOBAL","opclass":130,"channel":1,"frequency":5005000,"segment_center":null,"listed":false,)"
            R"("capability_flags":71,"secondary_segment":true})"
            "\n");
}

TEST_F(MeshctlOpclass, PrintsTheTable) {
  EXPECT_THAT(opclass("table").out, HasSubstr("\n  Opclass: 129\n    Channel List: [50, 114, 163]\n"));
  EXPECT_THAT(opclass("table --region europe --json").out,
              AllOf(StartsWith(R"({"region":"EUROPE","opclasses":[{"opclass":1,)"),
                    EndsWith(R"({"opclass":130,"channels":[42,58,106,122],"frequencies":[5210000,5290000,5530000,)"
                             R"(5610000],"capability_flags":71,"secondary_segment":true}]})"
                             "\n")));
}

TEST_F(MeshctlOpclass, RefusesWhatMakesNoSenseInOneLine) {
  const std::pair<const char*, const char*> rows[] = {
      {"", "a command is required"},
      {"bogus", "unknown command 'bogus'"},
      {"table --region 'ja\npan'", "--region: ja\\x0apan not in"},
      {"of", "--freq is required"},
      {"of --freq 0", "--freq: Value 0 is not an integer from 1 to 100000"},
      {"of --freq 5180.5", "--freq: Value 5180.5"},
      {"of --freq 5000", "No mapping available for primary segment of channel info primary frequency: 5000000 kHz"},
      {"of --freq 5180 --width 30 --center 5190", "--width: 30 not in {20,40,80,160,80+80}"},
      {"of --freq 2437 --width 40", "the center may be 2427 or 2447 MHz; choose one with --center"},
      {"of --freq 2437 --width 80", "no operating class has a channel of 80 MHz around 2437 MHz"},
      {"of --freq 5180 --center 5190", "--center requires --width"},
      {"of --freq 5180 --width 40 --center 5290", "not within primary segment"},
      {"of --freq 5180 --width 80 --center 5210 --secondary 5530", "--secondary requires --width 80+80"},
      {"of --freq 5180 --width 80+80 --center 5210", "--width 80+80 requires --secondary"},
      {"freq 116 256", "CHANNEL: Value 256"},
      {"freq 124 36", "Provided opclass 124 not valid!"},
  };
  for (const auto& [arguments, complaint] : rows) {
    const meshdump::Outcome outcome = opclass(arguments);
    EXPECT_EQ(outcome.status, 2) << arguments;
    EXPECT_THAT(outcome.out, AllOf(StartsWith("meshctl: "), HasSubstr(complaint))) << arguments;
    EXPECT_EQ(outcome.out.find('\n') + 1, outcome.out.size()) << arguments;
  }
}

}  // namespace
