#include "tools/meshdump/options.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "tools/command_line.h"
#include "tools/meshdump/input.h"

namespace meshdump {

namespace {

constexpr const char* DESCRIPTION = "Decodes IEEE 1905.1 and Multi-AP messages and prints them.";
constexpr const char* FOOTER =
    "Values of one filter are alternatives; different filters must all match. \"-\" is standard input.\n"
    "Exit status: 0 if every message was decoded, 1 if some were not, 2 for wrong usage or bad input.";

/// Adds a repeatable option with one value. The values are passed to the filter as they are read.
const CLI::Option* add_filter(CLI::App& app, const std::string& name, const std::string& value,
                              const std::string& description, const std::function<void(const std::string&)>& add) {
  const auto add_all = [name, add](const std::vector<std::string>& texts) {
    for (const std::string& text : texts) {
      try {
        add(text);
      } catch (const std::invalid_argument& exception) {
        throw tools::UsageError(name + ": " + exception.what());
      }
    }
  };
  return app.add_option_function<std::vector<std::string>>(name, add_all, description)
      ->type_name(value)
      ->allow_extra_args(false);
}

std::uint64_t parse_count(const std::string& text) {
  const std::uint64_t count = tools::parse_number<std::uint64_t>(text).value_or(0);
  if (count == 0) {
    throw tools::UsageError("--count: '" + text + "' is not a whole number from 1 to " +
                            std::to_string(std::numeric_limits<std::uint64_t>::max()));
  }
  return count;
}

}  // namespace

Options parse_options(int argc, const char* const* argv) {
  Options options;
  CLI::App app(DESCRIPTION, "meshdump");
  app.footer(FOOTER);
  app.set_help_flag("-h,--help", "Print this help and exit");
  app.set_version_flag("--version", "meshdump " MESHDUMP_VERSION, "Print the version and exit");
  app.add_flag_callback(
      "--types", [&options] { options.notice = list_types(); }, "Print the message and TLV types by name and exit");
  app.add_option("FILE", options.captures, "Captures of Ethernet or Linux cooked frames, pcap or pcapng")
      ->type_name("");
  app.add_option("--hex", options.hex, "Read messages in hexadecimal instead, one per line")->type_name("FILE");
  app.add_option("-i,--interface", options.interfaces,
                 "Capture on this interface instead, or on \"any\", until SIGINT or SIGTERM; repeatable")
      ->type_name("IF")
      ->allow_extra_args(false);
  const CLI::Option* capture_filter =
      app.add_option("--filter", options.capture_filter, "Read only frames that match this pcap filter")
          ->type_name("EXPRESSION");
  app.add_option_function<std::string>(
         "-c,--count", [&options](const std::string& text) { options.most = parse_count(text); },
         "Exit after N messages; fragments do not count")
      ->type_name("N");
  const CLI::Option* write =
      app.add_option("-w,--write", options.write, "Write the frames of the messages as pcapng instead of printing them")
          ->type_name("FILE");
  app.add_flag("--json", options.json, "Print one JSON object per line for each message");
  app.add_flag("--reencode", options.reencode, "Encode each decoded message again and compare the octets");
  bool no_reassembly = false;
  app.add_flag("--no-reassembly", no_reassembly, "Do not reassemble fragmented messages");
  app.add_flag("--summary", options.summary, "Print counts by type, sender and reason for rejection instead");
  std::string color = "auto";
  app.add_option("--color", color, "Colour the text: auto (on a terminal), always or never")
      ->check(CLI::IsMember({"auto", "always", "never"}));
  std::string time = "absolute";
  app.add_option("--time", time, "Times: absolute, relative to the first message, or delta to the previous one")
      ->check(CLI::IsMember({"absolute", "relative", "delta"}));
  app.add_flag("-q,--quiet", options.quiet, "Do not print a summary");
  Filter& filter = options.filter;
  add_filter(app, "--type", "NAME|NUMBER", "Only messages of this type",
             [&filter](const std::string& text) { filter.add_message_type(text); });
  add_filter(app, "--tlv", "NAME|NUMBER", "Only messages that contain a TLV of this type",
             [&filter](const std::string& text) { filter.add_tlv_type(text); });
  const CLI::Option* source =
      add_filter(app, "--src", "MAC", "Only messages in frames from this address (captures only)",
                 [&filter](const std::string& text) { filter.add_source(text); });
  const CLI::Option* destination =
      add_filter(app, "--dst", "MAC", "Only messages in frames to this address (captures only)",
                 [&filter](const std::string& text) { filter.add_destination(text); });
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    options.notice = app.help();
  } catch (const CLI::CallForVersion& version) {
    options.notice = std::string(version.what()) + '\n';
  } catch (const CLI::ParseError& error) {
    throw tools::UsageError(error.what());
  }
  if (!options.notice.empty()) {
    return options;
  }
  options.reassemble = !no_reassembly;
  options.style.time = time == "relative" ? TimeMode::RELATIVE : time == "delta" ? TimeMode::DELTA : TimeMode::ABSOLUTE;
  options.style.color = color == "always" || (color == "auto" && isatty(STDOUT_FILENO) != 0);
  const int inputs =
      (options.captures.empty() ? 0 : 1) + (options.hex.empty() ? 0 : 1) + (options.interfaces.empty() ? 0 : 1);
  if (inputs == 0) {
    throw tools::UsageError("no input: name a capture, or use --hex or --interface");
  }
  if (inputs > 1) {
    throw tools::UsageError("captures, --hex and --interface cannot be combined");
  }
  if (std::count_if(options.captures.begin(), options.captures.end(), is_standard_input) > 1) {
    throw tools::UsageError("standard input can be read only once");
  }
  for (const CLI::Option* option : {source, destination, capture_filter, write}) {
    if (!options.hex.empty() && option->count() != 0) {
      throw tools::UsageError("--" + option->get_lnames().front() +
                              " cannot be combined with --hex: hexadecimal messages have no frame");
    }
  }
  if (!options.write.empty() && (options.json || options.summary)) {
    throw tools::UsageError("--write cannot be combined with --json or --summary");
  }
  return options;
}

}  // namespace meshdump
