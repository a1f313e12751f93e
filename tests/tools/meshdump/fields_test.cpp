#include <type_traits>

#include "qel/core/vendor_oui.h"
#include "qel/ieee1905_1/tlv_classes_impl.h"
#include "qel/ieee1905_1/vendor/vendor_classes_impl.h"
#include "tests/support/testing.h"
#include "tests/tools/meshdump/meshdump_run.h"
#include "tools/meshdump/hex_text.h"

namespace meshdump {
namespace {

/// Returns the octets of a TLV inside `levels` vendor-specific ones.
std::string nested(int levels, const std::string& tlv) {
  if (levels == 0) {
    return tlv;
  }
  const std::string payload = to_hex(qel::VENDOR_OUI) + "00" + nested(levels - 1, tlv);
  const std::size_t size = payload.size() / 2;
  return "0b" + to_hex(std::array{static_cast<std::uint8_t>(size >> 8U), static_cast<std::uint8_t>(size)}) + payload;
}

/// Each row has a TLV and the end of its fields.
TEST_F(Meshdump, ShowsFields) {
  const std::string ours = to_hex(qel::VENDOR_OUI);
  const std::pair<std::string, std::string> rows[] = {
      {"8f 000a 021905000b20 01 809b ec",
       R"({"radio_identifier":"02:19:05:00:0B:20","operating_class_channel":[{"operating_class":128,"channel":155}],)"
       R"("transmit_power_eirp":-20})"},
      {"86 0007 021a2b3c4d5e 9a", R"("number_tx_spatial_streams":3,"number_rx_spatial_streams":2,)"
                                  R"("flags":{"short_gi_20_mhz":true,"short_gi_40_mhz":false,"ht_40_mhz":true}})"},
      {"8b 000c 021a2b3c4d5e 01 73 02 2428 9d",
       R"([{"operating_class":115,"channel":[36,40],"preference_score":9,"reason_code":"RESERVED BIT 13"}]})"},
      {"0d 0001 07", R"({"role":"7"})"},
      {"a0 0003 01 00ff", R"({"protocol":"TR181_TRANSPORT_PROTOCOL","payload":"00ff"})"},
      {"83 0016 01 021a2b3c4d5e 01 06f1e2d3c4b5 07 636166c3a9ff21",
       "\"ssid\":\"caf\xC3\xA9\xEF\xBF\xBD!\",\"ssid_octets\":\"636166c3a9ff21\"}]}]}"},
      {"9a 0027 021a2b3c4d5e 00 01 271d 07 04 05 7324 c5ffffffffffffff 6400 89 a0 20 06f1e2d3c4b5 01 78563412",
       R"([{"measurement_token":7,"measurement_report_mode":[2],"measurement_type":"BEACON","beacon_report":)"
       R"({"operating_class":115,"channel_number":36,"measurement_start_time":18446744073709551557,)"
       R"("measurement_duration":100,"phy_type":"VHT","frame_type":"MEASUREMENT_PILOT","rcpi":160,"rsni":32,)"
       R"("bssid":"06:F1:E2:D3:C4:B5","antenna_id":1,"parent_tsf":305419896,"optional_subelements":""},)"
       R"("opaque_body":null}]})"},
      {"9c 000d 021a2b3c4d5e 06f1e2d3c4b5 03", R"("btm_status_code":3,"target_bssid":null})"},
      {"91 000f 00 1104 0a00 0004 48616c6c 3002 0100",
       R"("capability_information":[0,4,10],"listen_interval":10,"current_ap_address":null,"elements":)"
       R"([{"id":0,"body":"48616c6c","rsn":null},{"id":48,"body":"0100","rsn":{"group_data":null,)"
       R"("pairwise_cipher_list":null,"akm_suite_list":null,"rsn_capabilities":null,"pmkid_list":null,)"
       R"("group_management_cipher":null}}],"rest":""}})"},
      {"0b 000d " + ours + "0b 0007 021a2b3c4d5e 9c",
       R"({"type":"QEL_AP_ANPI_TLV","fields":{"bssid_mac":"02:1A:2B:3C:4D:5E","anpi":156}}})"},
      {nested(1, "0b00040ab10509"),
       R"({"type":"QEL_TLV_TYPE","fields":{"tlv":{"type":"VENDOR_SPECIFIC","fields":)"
       R"({"vendor_specific_oui":"0ab105","vendor_specific":{"type":"VENDOR_UNKNOWN","octets":"09"}}}}}})"},
      {nested(100, "000000"), R"({"tlv":{"type":"VENDOR_SPECIFIC","fields":null)" + std::string(4 * 21, '}')},
      {"01 0007 021a2b3c4d5e", R"({"mac":"02:1A:2B:3C:4D:5E"})"},
      {"01 0007 021a2b3c4d5e 0b 0004 0ab105 09", R"("type":"VENDOR_UNKNOWN","octets":null}})"},
  };
  std::string input;
  for (const auto& [tlv, fields] : rows) {
    input += "0000 8000 1234 0080" + tlv + "000000\n";
  }
  std::istringstream output(run("--json -q --hex -", input).out);
  for (const auto& [tlv, fields] : rows) {
    std::string line;
    std::getline(output, line);
    EXPECT_THAT(line, HasSubstr(fields + R"(},{"type":"END_OF_MESSAGE",)")) << tlv;
  }
}

/// Returns the text between two lines of a manual, without its indentation.
std::vector<std::string> blocks(const std::string& page, const std::string& section) {
  std::vector<std::string> found;
  std::istringstream text(read_file(DATA + "../../man/" + page));
  std::string line;
  while (std::getline(text, line) && line != ".Sh " + section) {
  }
  bool inside = false;
  while (std::getline(text, line) && line.find(".Sh ") != 0) {
    if (line == ".Bd -literal") {
      found.emplace_back();
    }
    inside = line == ".Bd -literal" || (inside && line != ".Ed");
    if (inside && line[0] != '.') {
      found.back() += line + "\n";
    }
  }
  return found;
}

/// The fuzzer's corpus has every field of every class.
TEST_F(Meshdump, NamesFieldsAsInItsManual) {
  std::set<std::filesystem::path> files;
  for (const auto& file : std::filesystem::directory_iterator(DATA + "corpus/message")) {
    files.insert(file.path());
  }
  std::string input;
  for (const auto& file : files) {
    const std::string octets = read_file(file);
    input += to_hex(std::vector<std::uint8_t>(octets.begin(), octets.end())) + "\n";
  }
  // The shape of the objects of each type, one line per type.
  write_file("shape.jq", R"(
    def shape: . as $all | to_entries
      | map(select(.key as $key | $all | has($key + "[]") | not)
            | .key + (.value | if . then "{" + shape + "}" else "" end)) | join(" ");
    reduce (inputs | .. | objects | select(has("fields"))) as $tlv ({};
      reduce ($tlv.fields | paths(type != "object" and type != "array" or length == 0)) as $path (.;
        ([$tlv.type] | reduce ($path + ($tlv.fields | getpath($path) | if . == [] then [0] else [] end))[] as $step (.;
          if $step | type == "number" then .[-1] += "[]" else . + [$step] end)) as $keys
        | if ($keys | index("fields")) or ($keys[-1] | endswith("_octets"))
          then . else setpath($keys; getpath($keys)) end))
    | to_entries[] | .key + " " + (.value | shape))");
  std::istringstream output(shell("$MESHDUMP --json -q --hex - | jq -nr -f shape.jq", input).out);
  std::set<std::string> shapes{"END_OF_MESSAGE"};
  std::set<std::string> types{"END_OF_MESSAGE"};
  for (std::string line; std::getline(output, line);) {
    shapes.insert(line);
    types.insert(line.substr(0, line.find(' ')));
  }

  std::set<std::string> documented{"END_OF_MESSAGE"};
  for (const std::string& block : blocks("meshdump-fields.5", "KEYS")) {
    std::istringstream lines(block);
    std::string entry;
    for (std::string line; std::getline(lines, line);) {
      if (line[0] != ' ') {
        documented.insert(std::exchange(entry, line));
      } else {
        entry += line.substr(3);
      }
    }
    documented.insert(entry);
  }
  documented.erase("");
  EXPECT_THAT(shapes, testing::ContainerEq(documented));

  const auto names = []<class... T>(std::type_identity<std::tuple<T...>>) {
    return std::set<std::string>{enum_to_string(T::TYPE)...};
  };
  auto classes = names(std::type_identity<qel::ieee1905_1::TLVClasses>());
  classes.merge(names(std::type_identity<qel::ieee1905_1::VendorClasses>()));
  EXPECT_THAT(types, testing::ContainerEq(classes));
}

TEST_F(Meshdump, AnswersTheQuestionsOfItsManual) {
  const std::pair<std::string, std::string> answers[] = {
      {"", "02:19:05:00:0A:00\n"},
      {"02:19:05:AA:00:01 02:19:05:00:01:01 GIGABIT_ETHERNET\n02:19:05:AA:00:02 02:19:05:00:02:01 GIGABIT_ETHERNET\n",
       "02:19:05:00:0B:00 02:19:05:00:0B:01 GIGABIT_ETHERNET\n02:19:05:00:0B:00 02:19:05:00:0B:10 N_2_4_GHZ\n"
       "02:19:05:00:0B:00 02:19:05:00:0B:20 N_5_GHZ\n"},
      {"02:19:05:00:01:01 02:19:05:AA:00:02\n02:19:05:00:02:01 02:19:05:AA:00:01\n", ""},
      {"02:19:05:AA:00:01 02:19:05:AA:00:02 10000\n02:19:05:AA:00:02 02:19:05:AA:00:01 10000\n",
       "02:19:05:00:0B:00 02:AA:BB:CC:DD:01 65535\n"},
      {"", R"(["02:19:05:00:0B:10",83,1,0])"
           "\n"
           R"(["02:19:05:00:0B:10",83,1,20])"
           "\n"
           R"(["02:19:05:00:0B:20",128,155,0])"
           "\n"
           R"(["02:19:05:00:0B:20",128,155,20])"
           "\n"},
      {"", R"(["02:19:05:00:0B:10",81,[12,13]])"
           "\n"
           R"(["02:19:05:00:0B:20",123,[134,138]])"
           "\n"
           R"(["02:19:05:00:0B:20",125,[169]])"
           "\n"},
      {"", "02:19:05:00:0B:10 DECLINE_VIOLATES_REPORTED_PREFERED\n"},
      {"",
       "2026-11-21T01:57:04Z 02:AA:BB:CC:DD:01 02:19:05:00:0A:10 joined\n"
       "2026-11-21T01:57:08Z 02:AA:BB:CC:DD:01 02:19:05:00:0B:10 joined\n"
       "2026-11-21T01:57:44Z 02:AA:BB:CC:DD:01 02:19:05:00:0A:10 left\n"
       "2026-11-21T01:57:48Z 02:AA:BB:CC:DD:01 02:19:05:00:0B:10 left\n"},
      {"", "02:AA:BB:CC:DD:01 02:19:05:00:0B:20\n"},
      {"      4 00256d 11\n",
       "      6 000347 19\n      6 000347 20\n      3 000347 25\n      2 000347 27\n      1 000347 349\n"
       "      4 000347 56\n      4 000347 63\n      8 000347 664\n      8 000347 69\n"},
  };
  const std::vector<std::string> questions = blocks("meshdump.1", "QUESTIONS");
  ASSERT_EQ(questions.size(), std::size(answers));
  for (std::size_t i = 0; i < questions.size(); ++i) {
    const std::string prompt = "$ meshdump -q --json capture |";
    ASSERT_EQ(questions[i].find(prompt), 0U) << questions[i];
    const std::string filter = questions[i].substr(prompt.size());
    for (const auto& [capture, answer] : {std::pair(TWO_NODES, answers[i].first), {GATEWAY, answers[i].second}}) {
      const Outcome outcome = shell("$MESHDUMP -q --json " + capture + " |" + filter);
      EXPECT_EQ(outcome.out, answer) << filter;
      EXPECT_EQ(outcome.err, "") << filter;
    }
  }
}

}  // namespace
}  // namespace meshdump
