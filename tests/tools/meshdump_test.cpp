#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "qel/core/vendor_oui.h"
#include "qel/ieee1905_1/vendor/vendor_specific.h"
#include "tests/tools/json.h"
#include "tools/meshdump/hex_text.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

const std::string DATA = QEL_TEST_DATA "/";
const std::string TWO_NODES = DATA + "captures/two-nodes-1905.pcap";
const std::string GATEWAY = DATA + "captures/gateway-and-repeater-multiap.pcap";
const std::string TAGGED = DATA + "captures/vlan-tagged.pcapng";

std::string read_file(const std::filesystem::path& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

struct Outcome {
  int status;
  std::string out;
  std::string err;
};

class Meshdump : public testing::Test {
 protected:
  Meshdump() { std::filesystem::create_directories(directory_); }
  ~Meshdump() override { std::filesystem::remove_all(directory_); }

  std::string write_file(const std::string& name, const std::string& contents) const {
    const std::filesystem::path path = directory_ / name;
    std::ofstream(path, std::ios::binary) << contents;
    return path;
  }

  /// Runs a shell command in a directory of its own; the tool is $MESHDUMP there.
  Outcome shell(const std::string& command, const std::string& input = "") const {
    write_file("in", input);
    const std::string script =
        "cd '" + directory_.string() + "' && MESHDUMP='" MESHDUMP "' && exec <in >out 2>err && " + command;
    const int status = std::system(script.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read_file(directory_ / "out"), read_file(directory_ / "err")};
  }

  Outcome run(const std::string& arguments, const std::string& input = "") const {
    return shell("$MESHDUMP " + arguments, input);
  }

 private:
  std::filesystem::path directory_ =
      std::filesystem::path(testing::TempDir()) / ("meshdump." + std::to_string(getpid()));
};

/// The CMDUs of a little-endian pcap file without VLAN tags, padding included.
std::vector<std::string> cmdus_of(const std::string& path) {
  const std::string file = read_file(path);
  const auto number = [&file](std::size_t offset) {
    std::size_t value = 0;
    for (std::size_t octet = 4; octet-- > 0;) {
      value = value << 8U | static_cast<unsigned char>(file.at(offset + octet));
    }
    return value;
  };
  std::vector<std::string> cmdus;
  for (std::size_t offset = 24; offset < file.size();) {
    const std::string frame = file.substr(offset + 16, number(offset + 8));
    offset += 16 + frame.size();
    if (frame.substr(12, 2) == "\x89\x3A") {
      cmdus.push_back(frame.substr(14));
    }
  }
  return cmdus;
}

std::string hex(const std::string& octets) {
  return meshdump::to_hex({reinterpret_cast<const std::uint8_t*>(octets.data()), octets.size()});
}

TEST_F(Meshdump, ShowsTaggedFramesOfPcapng) {
  const Outcome outcome = run("--reencode " + TAGGED);
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out,
            "frame 1  2026-01-02 03:04:05.250007  02:19:05:00:0C:01 > 01:80:C2:00:00:13\n"
            "Type: TOPOLOGY_DISCOVERY_MESSAGE version: IEEE1905_1 MID: 10774 FID: 0 LastFragment: true Relay: false\n"
            "\ttype: AL_MAC_ADDRESS mac: 02:19:05:00:0C:10\n"
            "\ttype: MAC_ADDRESS mac: 02:19:05:00:0C:11\n"
            "\ttype: END_OF_MESSAGE\n"
            "Re-encoded: the same 29 octets\n"
            "\n"
            "frame 2  2026-01-02 03:04:05.500014  02:19:05:00:0C:01 > 02:19:05:00:0C:02\n"
            "Type: TOPOLOGY_QUERY_MESSAGE version: IEEE1905_1 MID: 10775 FID: 0 LastFragment: true Relay: false\n"
            "\ttype: END_OF_MESSAGE\n"
            "Re-encoded: the same 11 octets\n"
            "\n"
            "frame 3  2026-01-02 03:04:05.750021  02:19:05:00:0C:02 > 02:19:05:00:0C:01\n"
            "Type: LINK_METRIC_QUERY_MESSAGE version: IEEE1905_1 MID: 10776 FID: 0 LastFragment: true Relay: false\n"
            "\ttype: LINK_METRIC_QUERY neighbors: SPECIFIC_NEIGHBOR MAC address: 02:19:05:00:0C:20 metric requested: "
            "TX_RX_LINK_METRY\n"
            "\ttype: END_OF_MESSAGE\n"
            "Re-encoded: the same 22 octets\n"
            "\n"
            "frame 8  2026-01-02 03:04:07.000056  02:19:05:00:0C:02 > 01:80:C2:00:00:13\n"
            "Type: IEEE1905_PUSH_BUTTON_EVENT_NOTIFICATION_MESSAGE\n"
            "Rejected after 17 octets: Unknown TLV type!PUSH_BUTTON_EVENT_NOTIFICATION\n"
            "\n"
            "frame 9  2026-01-02 03:04:07.250063  02:19:05:00:0C:01 > 01:80:C2:00:00:13  (the last 13 octets not "
            "captured)\n"
            "Type: TOPOLOGY_DISCOVERY_MESSAGE\n"
            "Rejected after 16 octets: Deserialization of type std::uint8_t failed.\n");
  EXPECT_EQ(outcome.err,
            "meshdump: 5 CMDUs: 3 decoded, 2 rejected; 3 re-encoded to the same octets, 0 differ, 0 not encodable; "
            "4 frames of other ethertypes skipped\n");
}

TEST_F(Meshdump, PrintsOneJsonObjectInOneLine) {
  const std::string type_9 = meshdump::to_hex(qel::VENDOR_OUI) + "0900020001";
  const Outcome outcome =
      run("--json --reencode --hex -", "# version\n\n0000 0004 0102 0080 0b0008" + type_9 +
                                           "000000 ffff\n00-00:70-31:00-07:00-80\n" + "005a 7031 0007 0080 000000\n");
  EXPECT_EQ(outcome.status, 1);
  const std::string head = "type: VENDOR_SPECIFIC Vendor OUI:  [ ";
  const std::vector<std::string> lines = lines_of(outcome.out);
  ASSERT_EQ(lines.size(), 3U);
  const Json vendor(lines[0]);
  EXPECT_THAT(vendor.keys(),
              ElementsAre("ok", "type", "mid", "text", "tlvs", "qel_message_type", "consumed", "reencoded"));
  EXPECT_EQ(vendor["qel_message_type"].text(), "QEL_MESHD_VERSION_MESSAGE");
  EXPECT_EQ(vendor["mid"].number(), "258");
  EXPECT_EQ(vendor["consumed"].number(), "22");
  EXPECT_EQ(vendor["reencoded"].text(), "00000004010200800b0008" + type_9 + "000000");
  EXPECT_THAT(vendor["text"].text(), StartsWith("Type: VENDOR_SPECIFIC_MESSAGE version: IEEE1905_1 MID: 258 "));
  ASSERT_EQ(vendor["tlvs"].size(), 2U);
  EXPECT_THAT(vendor["tlvs"].element(0).keys(), ElementsAre("type", "text"));
  EXPECT_EQ(vendor["tlvs"].element(0)["type"].text(), "VENDOR_SPECIFIC");
  EXPECT_THAT(vendor["tlvs"].element(0)["text"].text(), StartsWith(head));
  EXPECT_EQ(vendor["tlvs"].element(1)["text"].text(), "type: END_OF_MESSAGE");
  EXPECT_EQ(lines[1], R"({"ok":false,"error":"Cannot peek TLV type!","consumed":8})");
  EXPECT_EQ(lines[2],
            R"({"ok":true,"type":"28721","mid":7,"text":"Type: 28721 version: IEEE1905_1 MID: 7 FID: 0 LastFragment: )"
            R"(true Relay: false\n\ttype: END_OF_MESSAGE","tlvs":[{"type":"END_OF_MESSAGE","text":"type: )"
            R"(END_OF_MESSAGE"}],"qel_message_type":"INVALID","consumed":11,"reencoded":"0000703100070080000000"})");
  EXPECT_EQ(outcome.err,
            "meshdump: 3 CMDUs: 2 decoded, 1 rejected; 1 re-encoded to the same octets, 1 differ, 0 not encodable\n");
}

/// Every message of both live links: those that decode come out again as they came in, unless they hold another
/// vendor's TLV. The numbers are those of a count by types and lengths alone: the rejected ones hold a TLV type without
/// a class but for three in the second capture. Those are a link metric query of 2 octets instead of 8, a client
/// capability report without the four fixed octets of the association request, and a steering request that ends before
/// the number of its targets.
TEST_F(Meshdump, ReproducesLiveTraffic) {
  const struct {
    std::string capture;
    std::size_t reproduced, with_other_vendor;
    std::map<std::string, std::size_t> rejected;
  } rows[] = {
      {TWO_NODES,
       22,
       4,
       {{"Unknown TLV type!PUSH_BUTTON_EVENT_NOTIFICATION", 2},
        {"Unknown TLV type!26", 4},
        {"Unknown TLV type!27", 4}}},
      {GATEWAY,
       68,
       34,
       {{"Unknown TLV type!WSC", 8},
        {"Unknown TLV type!CHANNEL_SCAN_REQUEST", 1},
        {"Deserialization of type std::uint8_t failed.", 2},
        {"Deserialization of type std::uint16_t failed.", 1}}},
  };
  for (const auto& row : rows) {
    const Outcome outcome = run("--json --reencode --quiet " + row.capture);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "");
    const std::vector<std::string> cmdus = cmdus_of(row.capture);
    const std::vector<std::string> lines = lines_of(outcome.out);
    ASSERT_EQ(lines.size(), cmdus.size());
    std::size_t reproduced = 0;
    std::size_t with_other_vendor = 0;
    std::map<std::string, std::size_t> rejected;
    for (std::size_t index = 0; index < lines.size(); ++index) {
      SCOPED_TRACE(lines[index]);
      const Json json(lines[index]);
      EXPECT_THAT(json["time"].number(), MatchesRegex("179522[0-9]{4}\\.[0-9]{6}"));
      EXPECT_THAT(json["src"].text(), StartsWith("02:19:05:"));
      if (!json["ok"].boolean()) {
        EXPECT_THAT(json.keys(), ElementsAre("ok", "error", "consumed", "time", "src", "dst"));
        ++rejected[json["error"].text()];
      } else if (json["reencoded"].is_null()) {
        EXPECT_THAT(json.keys(), ElementsAre("ok", "type", "mid", "text", "tlvs", "qel_message_type", "consumed",
                                             "reencoded", "reencode_error", "time", "src", "dst"));
        EXPECT_EQ(json["reencode_error"].text(), "VendorSpecificUnknown is not serializable!");
        EXPECT_THAT(json["text"].text(), HasSubstr("type: VENDOR_UNKNOWN length: "));
        ++with_other_vendor;
      } else {
        const std::string reencoded = json["reencoded"].text();
        EXPECT_EQ(json["consumed"].number(), std::to_string(reencoded.size() / 2));
        EXPECT_EQ(reencoded, hex(cmdus[index]).substr(0, reencoded.size()));
        ++reproduced;
      }
    }
    EXPECT_EQ(reproduced, row.reproduced);
    EXPECT_EQ(with_other_vendor, row.with_other_vendor);
    EXPECT_EQ(rejected, row.rejected);
  }
}

/// The TLVs of the fuzzer's seeds in one message: all payloads of the vendor-specific TLV.
TEST_F(Meshdump, ReproducesEverySubtypeInOneMessage) {
  std::string tlvs;
  for (const char* seed :
       {"nested-tlv", "message-type-and-version", "device-information", "ieee1905-neighbors", "non-ieee1905-neighbors",
        "receiver-link-metric", "transmitter-link-metric", "wlan-opmode", "non-operational-bss", "btm-query",
        "sta-idle-state", "ap-anpi", "link-state", "blocked-interfaces", "wlan-security", "psq19-neighbors"}) {
    const std::string message = hex(read_file(DATA + "corpus/message/vendor-" + seed));
    tlvs += message.substr(16, message.size() - 16 - 6);  // between head and end of message
  }
  for (std::size_t at = 0; (at = tlvs.find("02514c", at)) != std::string::npos; at += 6) {
    tlvs.replace(at, 6, meshdump::to_hex(qel::VENDOR_OUI));
  }
  const std::string wire = "0000000424680080" + tlvs + "000000";
  const Json message(run("--json --reencode --hex -", wire + "\n").out);
  EXPECT_EQ(message["reencoded"].text(), wire);
  const std::string text = message["text"].text();
  for (int subtype = 0; subtype <= 16; ++subtype) {
    EXPECT_THAT(text, HasSubstr("type: " + enum_to_string(qel::ieee1905_1::QELVendorTLVType(subtype))));
  }
}

TEST_F(Meshdump, RejectsMessagesWithTypesThatHaveNoClass) {
  const Outcome outcome = run("--reencode " + TWO_NODES);
  EXPECT_EQ(outcome.err,
            "meshdump: 36 CMDUs: 26 decoded, 10 rejected; 22 re-encoded to the same octets, 0 differ, "
            "4 not encodable; 4 frames of other ethertypes skipped\n");
  EXPECT_THAT(outcome.out, HasSubstr("\nType: 14\nRejected after 17 octets: Unknown TLV type!26\n"));
  EXPECT_THAT(outcome.out, HasSubstr("\nNot encodable: VendorSpecificUnknown is not serializable!\n"));
  EXPECT_THAT(run("-q --json --src 02:19:05:00:0A:00 --type 9 " + GATEWAY).out,
              StartsWith(R"({"ok":false,"error":"Unknown TLV type!WSC","consumed":17,"time":1795226186.606320,)"
                         R"("src":"02:19:05:00:0A:00","dst":"02:19:05:00:0B:00"})"
                         "\n"));
}

TEST_F(Meshdump, Filters) {
  const struct {
    std::string arguments;
    std::string summary;
    int status;
  } rows[] = {
      {"--type TOPOLOGY_QUERY", "4 CMDUs: 4 decoded, 0 rejected; 4 frames of other ethertypes skipped; 32 filtered out",
       0},
      {"--type 2 --type 0x3", "8 CMDUs: 4 decoded, 4 rejected; 4 frames of other ethertypes skipped; 28 filtered out",
       1},
      {"--type 3 --src 02:19:05:aa:00:01",
       "2 CMDUs: 0 decoded, 2 rejected; 4 frames of other ethertypes skipped; 34 filtered out", 1},
      {"--tlv MAC_ADDRESS", "8 CMDUs: 8 decoded, 0 rejected; 4 frames of other ethertypes skipped; 28 filtered out", 0},
      {"--tlv 27 --tlv 26", "8 CMDUs: 0 decoded, 8 rejected; 4 frames of other ethertypes skipped; 28 filtered out", 1},
      {"--tlv wsc", "0 CMDUs: 0 decoded, 0 rejected; 4 frames of other ethertypes skipped; 36 filtered out", 0},
  };
  for (const auto& row : rows) {
    const Outcome outcome = run(row.arguments + " " + TWO_NODES);
    EXPECT_EQ(outcome.err, "meshdump: " + row.summary + "\n") << row.arguments;
    EXPECT_EQ(outcome.status, row.status) << row.arguments;
  }
}

TEST_F(Meshdump, ReadsHexadecimalLineByLine) {
  const std::string lines =
      "# first\n\n00:00:00:02-10 01 00 80 00 00 00\r\n0000\nxx\n012\n005a 0002 1001 0080 "
      "000000\n0000000210010081000000";
  const Outcome outcome = run("--reencode --hex -", lines);
  EXPECT_EQ(outcome.status, 2);
  const std::string query =
      "Type: TOPOLOGY_QUERY_MESSAGE version: IEEE1905_1 MID: 4097 FID: 0 LastFragment: true "
      "Relay: false\n\ttype: END_OF_MESSAGE\n";
  EXPECT_EQ(outcome.out, "line 3\n" + query + "Re-encoded: the same 11 octets\n\n" +
                             "line 4\nRejected after 2 octets: Deserialization of type std::uint16_t failed.\n\n" +
                             "line 7\n" + query + "Re-encoded: differs from offset 1 on, 00 instead of 5a\n\n" +
                             "line 8\n" + query + "Re-encoded: the same 11 octets\n");
  EXPECT_EQ(outcome.err,
            "meshdump: standard input: line 5: no hexadecimal digit in column 1\n"
            "meshdump: standard input: line 6: odd number of hexadecimal digits (3)\n"
            "meshdump: 4 CMDUs: 3 decoded, 1 rejected; 2 re-encoded to the same octets, 1 differ, 0 not encodable; "
            "2 lines not hexadecimal\n");
  const std::string file = write_file("lines", lines);
  EXPECT_EQ(run("--reencode --hex " + file).out, outcome.out);
}

TEST_F(Meshdump, ReadsWrappedHexadecimal) {
  const struct {
    const char* name;
    const char* result;
  } rows[] = {
      {"topology_response", "\nRe-encoded: the same 114 octets\n"},
      {"topology_response_large", "\nRe-encoded: the same 1394 octets\n"},
      {"link_metric_response", "\nRe-encoded: the same 197 octets\n"},
  };
  for (const auto& row : rows) {
    const std::string path = DATA + "vectors/" + row.name + ".hex";
    const Outcome outcome = run("--reencode --hex " + path);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr(row.result));
    EXPECT_THAT(outcome.err, StartsWith("meshdump: 1 CMDU: 1 decoded, 0 rejected; 1 re-encoded to the same octets, "));
    EXPECT_THAT(run("--hex -", read_file(path)).err, HasSubstr(": 0 decoded, ")) << "standard input is not joined";
  }
}

/// Friendly name: ESC, C1 and DEL characters, a letter cut short, a line feed and a tab.
TEST_F(Meshdump, CleansTextFromTheAir) {
  std::string names = "1b5b324ac285c3bc7f22e2820a0942";
  names.resize(3 * 64 * 2, '0');
  const std::string cmdu = "00000003000100801500c0" + names + "000000\n";
  EXPECT_THAT(run("--hex -", cmdu).out, HasSubstr("Friendly Name: \\x1b[2J\\x85\xC3\xBC\\x7f\"\xEF\xBF\xBD\n\tB\n"));
  const Outcome outcome = run("--json --hex -", cmdu);
  EXPECT_THAT(outcome.out, HasSubstr("Friendly Name: \\u001B[2J\\u0085\xC3\xBC\\u007f\\\"\xEF\xBF\xBD\\n\\tB\\n"));
  EXPECT_THAT(Json(outcome.out)["tlvs"].element(0)["text"].text(),
              HasSubstr("Friendly Name: \x1B[2J\xC2\x85\xC3\xBC\x7F\"\xEF\xBF\xBD\n\tB\n"));
}

TEST_F(Meshdump, ReportsBrokenCaptures) {
  const std::string whole = read_file(TWO_NODES);
  const Outcome cut = run("--json -", whole.substr(0, 3000));
  EXPECT_EQ(cut.status, 2);
  EXPECT_EQ(lines_of(cut.out).size(), 29U);
  EXPECT_EQ(
      cut.err,
      "meshdump: standard input: truncated dump file; tried to read 60 captured bytes, only got 52 after frame 31\n"
      "meshdump: 29 CMDUs: 21 decoded, 8 rejected; 2 frames of other ethertypes skipped\n");
  std::string cooked = whole;
  cooked[20] = 113;  // the link type
  const Outcome other = run("-", cooked);
  EXPECT_EQ(other.status, 2);
  EXPECT_EQ(other.err, "meshdump: standard input: a capture of link type LINUX_SLL, not of Ethernet\n");
  const Outcome empty = run("-", whole.substr(0, 24));
  EXPECT_EQ(empty.status, 0);
  EXPECT_EQ(empty.err, "meshdump: 0 CMDUs: 0 decoded, 0 rejected\n");
}

TEST_F(Meshdump, RefusesWrongUsage) {
  const std::string usage = " (see 'meshdump --help')";
  const struct {
    std::string arguments, complaint;
  } rows[] = {
      {"", "no input: name a capture or use --hex or --interface" + usage},
      {"--json --reencode", "no input: name a capture or use --hex or --interface" + usage},
      {TWO_NODES + " --hex -", "a capture, --hex and --interface exclude each other" + usage},
      {TWO_NODES + " --interface lo", "a capture, --hex and --interface exclude each other" + usage},
      {"--src 02:19:05:00:0A:00 --hex -", "--src needs a capture: messages in hexadecimal have no source" + usage},
      {"--type FOO " + TWO_NODES, "--type: unknown message type 'FOO'" + usage},
      {"--tlv 256 " + TWO_NODES, "--tlv: unknown TLV type '256'" + usage},
      {"--src 1:2 " + TWO_NODES, "--src: '1:2' is no MAC address of the form 02:00:5E:10:00:01" + usage},
      {"missing.pcap", "missing.pcap: No such file or directory"},
      {"--hex missing.hex", "missing.hex: No such file or directory"},
      {"--hex /", "/: Is a directory"},
      {"in", "in: truncated dump file; tried to read 4 file header bytes, only got 0"},
      {"/bin/sh", "/bin/sh: unknown file format"},
      {TWO_NODES + " >/dev/full", "cannot write the output: No space left on device"},
      {"--json -q --hex - >/dev/full", "cannot write the output: No space left on device"},
      {"--help >/dev/full", "cannot write the output: No space left on device"},
  };
  for (const auto& row : rows) {
    const Outcome outcome = run(row.arguments, row.arguments.find("--json -q") == 0 ? "00\n" : "");
    EXPECT_EQ(outcome.status, 2) << row.arguments;
    EXPECT_EQ(outcome.out, "") << row.arguments;
    EXPECT_EQ(outcome.err, "meshdump: " + row.complaint + "\n");
  }
  for (const char* arguments : {"--bogus", "a b", "--type", "--interface"}) {
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.status, 2) << arguments;
    EXPECT_THAT(outcome.err, MatchesRegex("meshdump: [^\n]+ \\(see 'meshdump --help'\\)\n"));
  }
  const Outcome outcome = run("--interface nosuch0");
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, MatchesRegex("meshdump: interface nosuch0: [^\n]+\n"));
}

TEST_F(Meshdump, TellsAboutItself) {
  const Outcome help = run("--help");
  EXPECT_EQ(help.status, 0);
  EXPECT_THAT(help.out, HasSubstr("meshdump [OPTIONS] [FILE]"));
  const Outcome version = run("--version");
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.out, "meshdump " MESHDUMP_VERSION "\n");
  EXPECT_EQ(help.err + version.err, "");
}

/// The writer keeps its end open until the reader has the answer.
TEST_F(Meshdump, AnswersEachLineOfAPipeAtOnce) {
  const Outcome outcome = shell(
      "mkfifo answered && { echo 00; timeout 10 cat answered || echo late >&2; } | $MESHDUMP --json -q --hex - | "
      "{ read -r answer; echo \"$answer\"; timeout 10 sh -c 'echo > answered'; }");
  EXPECT_EQ(outcome.out, "{\"ok\":false,\"error\":\"Deserialization of type std::uint8_t failed.\",\"consumed\":1}\n");
  EXPECT_EQ(outcome.err, "");
}

}  // namespace
