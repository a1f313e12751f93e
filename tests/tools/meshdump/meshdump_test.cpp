#include "qel/core/vendor_oui.h"
#include "tests/support/testing.h"
#include "tests/tools/meshdump/meshdump_run.h"
#include "tools/meshdump/hex_text.h"

namespace meshdump {
namespace {

std::size_t count_of(const std::string& part, const std::string& text) {
  std::size_t count = 0;
  for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size()) {
    ++count;
  }
  return count;
}

TEST_F(Meshdump, ShowsTaggedFramesOfPcapng) {
  const Outcome outcome = run("--reencode " + TAGGED);
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(
      outcome.out,
      StartsWith(
          "frame 1  2026-01-02 03:04:05.250007  02:19:05:00:0C:01 > 01:80:C2:00:00:13\n"
          "Type: TOPOLOGY_DISCOVERY_MESSAGE version: IEEE1905_1 MID: 10774 FID: 0 LastFragment: true Relay: false\n"
          "\ttype: AL_MAC_ADDRESS mac: 02:19:05:00:0C:10\n"
          "\ttype: MAC_ADDRESS mac: 02:19:05:00:0C:11\n"
          "\ttype: END_OF_MESSAGE\n"
          "Re-encoded: the same 29 octets\n"
          "\n"
          "frame 2  2026-01-02 03:04:05.500014  02:19:05:00:0C:01 > 02:19:05:00:0C:02\n"));
  EXPECT_THAT(
      outcome.out,
      EndsWith("\nframe 8  2026-01-02 03:04:07.000056  02:19:05:00:0C:02 > 01:80:C2:00:00:13\n"
               "Rejected after 17 octets, in PUSH_BUTTON_EVENT_NOTIFICATION at offset 17: Unknown TLV type!"
               "PUSH_BUTTON_EVENT_NOTIFICATION\n"
               "Type: IEEE1905_PUSH_BUTTON_EVENT_NOTIFICATION_MESSAGE version: IEEE1905_1 MID: 10777 FID: 0 "
               "LastFragment: true "
               "Relay: true\n"
               "\ttype: AL_MAC_ADDRESS mac: 02:19:05:00:0C:10\n"
               "\ttype: PUSH_BUTTON_EVENT_NOTIFICATION offset: 17 octets: 010002\n"
               "\ttype: END_OF_MESSAGE\n"
               "\n"
               "frame 9  2026-01-02 03:04:07.250063  02:19:05:00:0C:01 > 01:80:C2:00:00:13  (the last 13 octets not "
               "captured)\n"
               "Rejected after 16 octets, in AL_MAC_ADDRESS at offset 8: Deserialization of type std::uint8_t failed.\n"
               "Type: TOPOLOGY_DISCOVERY_MESSAGE version: IEEE1905_1 MID: 10774 FID: 0 LastFragment: true Relay: "
               "false\n"
               "\toffset: 8 octets: 010006021905000c cut off\n"));
  EXPECT_EQ(outcome.err,
            "meshdump: 5 CMDUs: 3 decoded, 2 rejected; 3 re-encoded to the same octets, 0 differ, 0 not encodable; "
            "4 frames of other ethertypes skipped\n");
}

TEST_F(Meshdump, PrintsOneJsonObjectInOneLine) {
  const std::string foreign =
      R"(type: VENDOR_SPECIFIC Vendor OUI:  [ 0xa 0xb1 0x5 ]\n\ttype: VENDOR_UNKNOWN length: 2 Bytes)";
  const Outcome outcome = run("--json --reencode --hex -",
                              "# version\n\n0000 0004 0102 0080 0b0005 0ab105 0900 000000 ffff\n"
                              "00-00:70-31:00-07:00-80\n005a 7031 0007 0080 000000\n");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(
      outcome.out,
      R"({"ok":true,"type":"VENDOR_SPECIFIC_MESSAGE","mid":258,"text":"Type: VENDOR_SPECIFIC_MESSAGE version: )"
      R"(IEEE1905_1 MID: 258 FID: 0 LastFragment: true Relay: false\n\t)" +
          foreign +
          R"(\n\ttype: END_OF_MESSAGE","tlvs":[{"type":)"
          R"("VENDOR_SPECIFIC","text":")" +
          foreign +
          R"(","fields":{"vendor_specific_oui":"0ab105","vendor_specific":{"type":"VENDOR_UNKNOWN","octets":"0900"}}},)"
          R"({"type":"END_OF_MESSAGE","text":"type: END_OF_MESSAGE","fields":{}}],)"
          R"("qel_message_type":"INVALID","consumed":19,"reencoded":null,)"
          R"("reencode_error":"VendorSpecificUnknown is not serializable!"})"
          "\n"
          R"({"ok":false,"error":"Cannot peek TLV type!","consumed":8,"type":"28721","mid":7,"tlvs":[],)"
          R"("end":"MISSING_END"})"
          "\n"
          R"({"ok":true,"type":"28721","mid":7,"text":"Type: 28721 version: IEEE1905_1 MID: 7 FID: 0 LastFragment: )"
          R"(true Relay: false\n\ttype: END_OF_MESSAGE","tlvs":[{"type":"END_OF_MESSAGE","text":"type: )"
          R"(END_OF_MESSAGE","fields":{}}],"qel_message_type":"INVALID","consumed":11,"reencoded":"0000703100070080000000"})"
          "\n");
  EXPECT_EQ(outcome.err,
            "meshdump: 3 CMDUs: 2 decoded, 1 rejected; 0 re-encoded to the same octets, 1 differ, 1 not encodable\n");
  const std::string nested = "0b000c" + to_hex(qel::VENDOR_OUI) + "000b00050ab1050900";
  for (const std::string& tlv : {std::string("0b00050ab1050900"), nested}) {
    EXPECT_THAT(run("--hex -", "0000000401020080" + tlv + "000000\n").out,
                HasSubstr("type: VENDOR_UNKNOWN length: 2 Bytes\n\t\toctets: 0900\n\ttype: END_OF_MESSAGE\n"));
    EXPECT_THAT(run("--hex -", "0000000401020080" + tlv + "ff0000\n").out, HasSubstr("\n\t\toctets: 0900\n"));
  }
  EXPECT_THAT(run("--json --hex -", "0000000401020080 0b0008" + to_hex(qel::VENDOR_OUI) + "0900020001 000000\n").out,
              HasSubstr(R"("qel_message_type":"QEL_MESHD_VERSION_MESSAGE","consumed":22)"));
}

/// Every message of both live links: those that decode must encode to the same octets, unless they contain another
/// vendor's TLV. The expected numbers were counted by types and lengths alone. The rejected messages contain a TLV type
/// without a class, except two in the second capture: a link metric query of 2 octets instead of 8, and a steering
/// request that ends before the number of its targets.
TEST_F(Meshdump, ReproducesLiveTraffic) {
  const struct {
    std::string capture, summary;
    std::map<std::string, std::size_t> rejected;
  } rows[] = {
      {TWO_NODES,
       "36 CMDUs: 26 decoded, 10 rejected; 22 re-encoded to the same octets, 0 differ, 4 not encodable; "
       "4 frames of other ethertypes skipped",
       {{"Unknown TLV type!PUSH_BUTTON_EVENT_NOTIFICATION", 2},
        {"Unknown TLV type!26", 4},
        {"Unknown TLV type!27", 4}}},
      {GATEWAY,
       "114 CMDUs: 103 decoded, 11 rejected; 69 re-encoded to the same octets, 0 differ, 34 not encodable",
       {{"Unknown TLV type!WSC", 8},
        {"Unknown TLV type!CHANNEL_SCAN_REQUEST", 1},
        {"Deserialization of type std::uint8_t failed.", 1},
        {"Deserialization of type std::uint16_t failed.", 1}}},
  };
  for (const auto& row : rows) {
    const Outcome outcome = run("--reencode " + row.capture);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "meshdump: " + row.summary + "\n");
    for (const auto& [reason, count] : row.rejected) {
      EXPECT_EQ(count_of(": " + reason + "\nType: ", outcome.out), count) << reason;
    }
  }
  EXPECT_THAT(run("--reencode --tlv VENDOR_SPECIFIC " + TWO_NODES).out,
              HasSubstr("\nNot encodable: VendorSpecificUnknown is not serializable!\n"));
  EXPECT_THAT(run("-q --json --src 02:19:05:00:0A:00 --type 9 " + GATEWAY).out,
              StartsWith(R"({"ok":false,"error":"Unknown TLV type!WSC","consumed":17,"error_tlv":"WSC",)"
                         R"("error_offset":17,"type":"AP_AUTOCONFIGURATION_WSC_MESSAGE","mid":16,"tlvs":[)"));
}

/// Makes a capture of frames one second apart (pcap, microseconds, little-endian).
std::string capture_of(const std::vector<std::string>& frames, std::size_t link_type = 1) {
  const auto number = [](std::size_t value) {
    return std::string{static_cast<char>(value), static_cast<char>(value >> 8U), 0, 0};
  };
  std::string capture =
      std::string("\xD4\xC3\xB2\xA1\2\0\4\0", 8) + number(0) + number(0) + number(65535) + number(link_type);
  for (std::size_t frame = 0; frame < frames.size(); ++frame) {
    const auto octets = parse_hex_line(frames[frame], 1)->octets;
    capture += number(frame) + number(0) + number(octets.size()) + number(octets.size());
    capture.append(octets.begin(), octets.end());
  }
  return capture;
}

const std::string ETHER = "0180C2000013 021905000C01 893A ", AL_MAC = "01 0006 021A2B3C4D5E";
const std::string COOKED = "893A 0000 00000007 0001 01 06 021905000C01 ABCD";
const std::string QUERY = "0000 0002 1001 0080 000000";

TEST_F(Meshdump, PutsFragmentsTogetherAndFilters) {
  const std::string first = ETHER + "0000 0003 1234 0000" + AL_MAC, other = ETHER + "0000 0003 1235 0000" + AL_MAC;
  const std::string last = ETHER + "0000 0003 1234 0180 02 0006 06F1E2D3C4B5 00 0000";
  write_file("first", capture_of({first}));
  write_file("last", capture_of({last}));
  write_file("whole", capture_of({first, last}));
  write_file("late", capture_of({other, ETHER + QUERY, ETHER + QUERY}));
  write_file("mixed", capture_of({last, first, other}));
  EXPECT_THAT(run("--json mixed").out, HasSubstr(R"("consumed":29,"reassembled":true,"time":1.000000,)"));
  EXPECT_THAT(run("mixed").out,
              HasSubstr("frame 2  1970-01-01 00:00:01.000000  02:19:05:00:0C:01 > 01:80:C2:00:00:13  (reassembled)\n"
                        "Type: TOPOLOGY_RESPONSE_MESSAGE version: IEEE1905_1 MID: 4660 FID: 0 LastFragment: "
                        "true Relay: false\n\ttype: AL_MAC_ADDRESS"));
  const std::pair<std::string, std::string> rows[] = {
      {"mixed", "1 CMDU: 1 decoded, 0 rejected; 3 fragments, 1 message incomplete"},
      {"--no-reassembly mixed", "3 CMDUs: 1 decoded, 2 rejected"},
      {"first last", "0 CMDUs: 0 decoded, 0 rejected; 2 fragments, 2 messages incomplete"},
      {"--src 02:19:05:00:0C:02 first", "0 CMDUs: 0 decoded, 0 rejected; 1 filtered out"},
      {"-c 1 whole whole", "1 CMDU: 1 decoded, 0 rejected; 2 fragments"},
      {"-c 1 late", "1 CMDU: 1 decoded, 0 rejected; 1 fragment"},
      {"-q -w o --tlv MAC_ADDRESS whole && $MESHDUMP o", "1 CMDU: 1 decoded, 0 rejected; 2 fragments"},
      {"--type 3 --src 02:19:05:aa:00:01 " + TWO_NODES,
       "2 CMDUs: 0 decoded, 2 rejected; 4 frames of other ethertypes skipped; 34 filtered out"},
      {"--dst 01:80:C2:00:00:13 " + TWO_NODES,
       "12 CMDUs: 10 decoded, 2 rejected; 4 frames of other ethertypes skipped; 24 filtered out"},
      {"--filter 'ether src 02:19:05:aa:00:01 and not ether proto 0x88cc' -c 3 " + TWO_NODES,
       "3 CMDUs: 3 decoded, 0 rejected"},
  };
  for (const auto& [arguments, summary] : rows) {
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.err, "meshdump: " + summary + "\n") << arguments;
    const bool is_whole = count_of("incomplete", summary) == 0 && count_of(" 0 rejected", summary) == 1;
    EXPECT_EQ(outcome.status, is_whole ? 0 : 1) << arguments;
  }
}

/// Fragments at the ends of the range of a 64-bit count of seconds (pcapng).
TEST_F(Meshdump, SurvivesAnyTime) {
  std::string capture =
      "0A0D0D0A0000001C1A2B3C4D00010000FFFFFFFFFFFFFFFF0000001C"
      "0000000100000020000100000000000000090001000000000000000000000020";
  for (const char* time : {"7FFFFFFFFFFFFFFF", "0000000000000001", "8000000000000000"}) {
    capture += std::string("000000060000004000000000") + time + "0000001F0000001F" + ETHER + "0000 0003 1234 0000" +
               AL_MAC + "00 00000040";
  }
  const auto octets = parse_hex_line(capture, 1)->octets;
  EXPECT_THAT(
      run("--time relative -", std::string(octets.begin(), octets.end())).out,
      // The shorter times are those of a libpcap with 32 bits for a time.
      MatchesRegex("frame 1  \\+0\\.0.*\nframe 2  (-4294967295|\\+2)\\.0.*\nframe 3  (-8589934592|\\+1)\\.0.*"));
}

TEST_F(Meshdump, CountsAndStyles) {
  const Outcome tables = run("--summary --type 5 --type 14 " + TWO_NODES);
  EXPECT_EQ(tables.out,
            "types\n       4  14\n       4  LINK_METRIC_QUERY_MESSAGE\n"
            "senders\n       4  02:19:05:AA:00:01\n       4  02:19:05:AA:00:02\n"
            "refusals\n       4  Unknown TLV type!26\n");
  EXPECT_EQ(run("--summary --json --type 5 --type 14 " + TWO_NODES).out,
            R"({"types":{"14":4,"LINK_METRIC_QUERY_MESSAGE":4},"senders":{"02:19:05:AA:00:01":4,)"
            R"("02:19:05:AA:00:02":4},"refusals":{"Unknown TLV type!26":4}})"
            "\n");
  write_file("f", capture_of({ETHER + QUERY, ETHER + QUERY, ETHER + QUERY}));
  write_file("cooked", capture_of({COOKED + QUERY}, 276));
  const std::pair<const char*, const char*> rows[] = {
      {"--time relative f", "frame 3  +2.000000  02:19:05:00:0C:01"},
      {"--time delta f", "frame 3  +1.000000  02:19:05:00:0C:01"},
      {"--color always f", "\x1B[1mframe 1  1970-"},
      {"f f", "frame 1  f  1970-"},
      {"--json f f", R"("dst":"01:80:C2:00:00:13","origin":"f"})"},
      {"cooked", "frame 1  interface 7  1970-"},
      {"--json cooked", R"("src":"02:19:05:00:0C:01","interface":"7"})"},
  };
  for (const auto& [arguments, shown] : rows) {
    EXPECT_THAT(run(arguments).out, HasSubstr(shown)) << arguments;
  }
}

TEST_F(Meshdump, WritesWhatTheFiltersLetThrough) {
  const Outcome written = run("-w out.pcapng --type 5 --type 14 " + TWO_NODES);
  EXPECT_EQ(written.out, "");
  EXPECT_THAT(shell("cat out.pcapng").out, HasSubstr("14 MID: 24782; AL_MAC_ADDRESS, 26, DEVICE_IDENTIFICATION_TYPE, "
                                                     "22, 23, 24, END_OF_MESSAGE; rejected in 26 at "
                                                     "offset 17: Unknown TLV type!26"));
  EXPECT_EQ(shell("$MESHDUMP --json -q out.pcapng").out, run("--json -q --type 5 --type 14 " + TWO_NODES).out);
}

TEST_F(Meshdump, SparesInputsAndOtherFiles) {
  const std::string ethernet = capture_of({ETHER + QUERY});
  write_file("cooked", capture_of({COOKED + QUERY}, 276));
  const struct {
    std::string arguments, complaint;
  } rows[] = {
      {"-w ether ether", "ether is an input: write to another file"},
      {"-w link ether", "link is an input: write to another file"},
      {"-w - ether >> ether", "the output is an input: write to another file"},
      {"-w kept missing", "missing: No such file or directory"},
      {"-w kept ether cooked", "cannot write frames of several link types into one capture"},
  };
  for (const auto& row : rows) {
    write_file("ether", ethernet);
    write_file("kept", "kept");
    const Outcome outcome = shell("ln -sf ether link && $MESHDUMP " + row.arguments);
    EXPECT_EQ(outcome.err, "meshdump: " + row.complaint + "\n") << row.arguments;
    EXPECT_EQ(outcome.status, 2) << row.arguments;
    EXPECT_EQ(shell("cat ether kept").out, ethernet + "kept") << row.arguments;
  }
  write_file("cut", capture_of({ETHER + "0000"}));
  EXPECT_THAT(shell("$MESHDUMP -q -w out cut; cat out").out,
              AllOf(HasSubstr("rejected in the head"), Not(HasSubstr("; rejected"))));
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
  EXPECT_EQ(outcome.out,
            "line 3\n" + query + "Re-encoded: the same 11 octets\n\n" +
                "line 4\nRejected after 2 octets, in the head: Deserialization of type std::uint16_t failed.\n\n" +
                "line 7\n" + query + "Re-encoded: differs from offset 1, 00 instead of 5a\n\n" + "line 8\n" + query +
                "Re-encoded: the same 11 octets\n");
  EXPECT_EQ(outcome.err,
            "meshdump: standard input: line 5: not a hexadecimal digit in column 1\n"
            "meshdump: standard input: line 6: odd number of hexadecimal digits (3)\n"
            "meshdump: 4 CMDUs: 3 decoded, 1 rejected; 2 re-encoded to the same octets, 1 differ, 0 not encodable; "
            "2 lines not hexadecimal\n");
  const std::string file = write_file("lines", lines);
  EXPECT_EQ(run("--reencode --hex " + file).out, outcome.out);
}

TEST_F(Meshdump, ReadsWrappedHexadecimal) {
  for (const auto& [name, octets] :
       {std::pair("topology_response", 114), {"topology_response_large", 1394}, {"link_metric_response", 197}}) {
    const std::string path = DATA + "vectors/" + name + ".hex";
    const Outcome outcome = run("--reencode --hex " + path);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("\nRe-encoded: the same " + std::to_string(octets) + " octets\n"));
    EXPECT_THAT(outcome.err, StartsWith("meshdump: 1 CMDU: 1 decoded, 0 rejected; 1 re-encoded to the same octets, "));
    EXPECT_THAT(run("--hex -", read_file(path)).err, HasSubstr(": 0 decoded, ")) << "standard input is not joined";
  }
}

/// Friendly name: ESC, C1 and DEL characters, a truncated character, a line feed and a tab.
TEST_F(Meshdump, CleansTextFromTheAir) {
  std::string names = "1b5b324ac285c3bc7f22e2820a0942";
  names.resize(3 * 64 * 2, '0');
  const std::string cmdu = "00000003000100801500c0" + names + "000000\n";
  EXPECT_THAT(run("--hex -", cmdu).out, HasSubstr("Friendly Name: \\x1b[2J\\x85\xC3\xBC\\x7f\"\xEF\xBF\xBD\n\tB\n"));
  EXPECT_THAT(run("--json --hex -", cmdu).out,
              HasSubstr("Friendly Name: \\u001B[2J\\u0085\xC3\xBC\\u007f\\\"\xEF\xBF\xBD\\n\\tB\\n"));
}

TEST_F(Meshdump, ReportsBrokenCaptures) {
  const std::string whole = read_file(TWO_NODES);
  const Outcome cut = run("--json -", whole.substr(0, 3000));
  EXPECT_EQ(cut.status, 2);
  EXPECT_EQ(count_of("\n", cut.out), 29U);
  EXPECT_EQ(
      cut.err,
      "meshdump: standard input: truncated dump file; tried to read 60 captured bytes, only got 52 after frame 31\n"
      "meshdump: 29 CMDUs: 21 decoded, 8 rejected; 2 frames of other ethertypes skipped\n");
  std::string cooked = whole;
  cooked[20] = 105;  // the link type
  const Outcome other = run("-", cooked);
  EXPECT_EQ(other.status, 2);
  EXPECT_EQ(other.err,
            "meshdump: standard input: unsupported link type IEEE802_11; only Ethernet and Linux cooked frames are "
            "supported\n");
  EXPECT_EQ(run("-", "\x1F\x8B\x08").err, "meshdump: standard input: compressed; try zcat FILE | meshdump -\n");
  const Outcome next = run("--summary missing.pcap " + TWO_NODES);  // one bad file does not hide the next
  EXPECT_EQ(next.status, 2);
  EXPECT_THAT(next.err,
              EndsWith("meshdump: 36 CMDUs: 26 decoded, 10 rejected; 4 frames of other ethertypes skipped\n"));
  EXPECT_EQ(run("-", whole.substr(0, 24)).err, "meshdump: 0 CMDUs: 0 decoded, 0 rejected\n");
}

TEST_F(Meshdump, RefusesWrongUsage) {
  const std::string usage = " (see 'meshdump --help')";
  const std::string count = " is not a whole number from 1 to 18446744073709551615";
  const struct {
    std::string arguments, complaint;
  } rows[] = {
      {"", "no input: name a capture, or use --hex or --interface" + usage},
      {TWO_NODES + " --hex -", "captures, --hex and --interface cannot be combined" + usage},
      {"--src 02:19:05:00:0A:00 --hex -",
       "--src cannot be combined with --hex: hexadecimal messages have no frame" + usage},
      {"-w out --hex -", "--write cannot be combined with --hex: hexadecimal messages have no frame" + usage},
      {"-w out --json " + TWO_NODES, "--write cannot be combined with --json or --summary" + usage},
      {"-w /dev/full " + TWO_NODES, "cannot write /dev/full: No space left on device"},
      {"--filter 'tcp or' " + TWO_NODES, TWO_NODES + ": filter 'tcp or': can't parse filter expression: syntax error"},
      {"--type FOO " + TWO_NODES, "--type: unknown message type 'FOO'" + usage},
      {"--tlv 256 " + TWO_NODES, "--tlv: unknown TLV type '256'" + usage},
      {"--src 1:2 " + TWO_NODES, "--src: '1:2' is not a MAC address such as 02:00:5E:10:00:01" + usage},
      {"- -", "standard input can be read only once" + usage},
      {"-c 0 -", "--count: '0'" + count + usage},
      {"missing.pcap", "missing.pcap: No such file or directory"},
      {"\"$(printf 'a\\033b')\"", "a\\x1bb: No such file or directory"},
      {"--hex /", "/: Is a directory"},
      {"in", "in: truncated dump file; tried to read 4 file header bytes, only got 0"},
      {TWO_NODES + " >/dev/full", "cannot write the output: No space left on device"},
      {"--json -q --hex - >/dev/full", "cannot write the output: No space left on device"},
  };
  for (const auto& row : rows) {
    const Outcome outcome = run(row.arguments, row.arguments.find("--json -q") == 0 ? "00\n" : "");
    EXPECT_EQ(outcome.status, 2) << row.arguments;
    EXPECT_EQ(outcome.out, "") << row.arguments;
    EXPECT_EQ(outcome.err, "meshdump: " + row.complaint + "\n");
  }
  for (const char* arguments : {"--bogus", "--color maybe", "--type", "--interface"}) {
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.status, 2) << arguments;
    EXPECT_THAT(outcome.err, MatchesRegex("meshdump: [^\n]+ \\(see 'meshdump --help'\\)\n"));
  }
  const Outcome outcome = run("--interface nosuch0");
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, MatchesRegex("meshdump: interface nosuch0: [^\n]+\n"));
  EXPECT_LE(count_of("No such device", outcome.err), 1U);
}

/// The writer keeps its end open until the reader has received the answer.
TEST_F(Meshdump, AnswersEachLineOfAPipeAtOnce) {
  const Outcome outcome = shell(
      "mkfifo answered && { echo 00; timeout 10 cat answered || echo late >&2; } | $MESHDUMP --json -q --hex - | "
      "{ read -r answer; echo \"$answer\"; timeout 10 sh -c 'echo > answered'; }");
  EXPECT_EQ(outcome.out, "{\"ok\":false,\"error\":\"Deserialization of type std::uint8_t failed.\",\"consumed\":1}\n");
  EXPECT_EQ(outcome.err, "");
}

}  // namespace
}  // namespace meshdump
