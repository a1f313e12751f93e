#include <net/if.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "qel/ieee1905_1/cmdu.h"
#include "qel/ieee1905_1/reassembly.h"
#include "qel/ieee1905_1/tlv_walk.h"
#include "tools/capabilities.h"
#include "tools/command_line.h"
#include "tools/console.h"
#include "tools/meshdump/capture_file.h"
#include "tools/meshdump/cmdu.h"
#include "tools/meshdump/decoder.h"
#include "tools/meshdump/hex_file.h"
#include "tools/meshdump/input.h"
#include "tools/meshdump/json_output.h"
#include "tools/meshdump/link_frame.h"
#include "tools/meshdump/live_capture.h"
#include "tools/meshdump/options.h"
#include "tools/meshdump/pcapng_writer.h"
#include "tools/meshdump/summary.h"
#include "tools/meshdump/tally.h"
#include "tools/meshdump/text_output.h"
#include "tools/safe_text.h"

namespace meshdump {

namespace {

using qel::ieee1905_1::CMDU_ETHERTYPE;
using qel::ieee1905_1::MessageHead;
using qel::ieee1905_1::RawTLV;
using qel::ieee1905_1::Reassembly;
using qel::ieee1905_1::TLVWalk;

enum ExitStatus : int { ALL_DECODED = 0, SOME_REJECTED = 1, FAILED = 2 };

void complain(const std::string& text) { tools::complain("meshdump", text); }

/// The comment on a message in a capture.
std::string comment_of(const Cmdu& cmdu, const Decoding& decoding) {
  const auto type = message_type(cmdu.octets);
  std::string text = type ? enum_to_string(*type) : "";
  if (const MessageHead* head = decoding.head()) {
    text += " MID: " + std::to_string(head->get_message_id());
  }
  const char* separator = "; ";  // there are TLVs only after a header
  TLVWalk walk(cmdu.octets);
  while (const std::optional<RawTLV> tlv = walk.next()) {
    text += separator + enum_to_string(tlv->type);
    separator = ", ";
  }
  if (!decoding.message) {
    text += (text.empty() ? "" : "; ") + ("rejected " + decoding.place) + ": " + tools::to_utf8(decoding.error);
  }
  return text;
}

/// A run over all inputs.
class Dump {
 public:
  explicit Dump(const Options& options)
      : options_(options),
        decoder_(options.reencode),
        live_(!options.interfaces.empty() || is_standard_input(options.hex) ||
              std::any_of(options.captures.begin(), options.captures.end(), is_standard_input)) {
    const bool several = options.captures.size() > 1 || options.interfaces.size() > 1;
    if (options.json) {
      json_ = std::make_unique<JsonOutput>(several);
    } else {
      TextStyle style = options.style;
      style.origin = several;
      text_output_ = std::make_unique<TextOutput>(style);
    }
  }

  ExitStatus run() {
    if (!options_.interfaces.empty()) {
      guard([&] {
        LiveCapture capture(options_.interfaces, options_.capture_filter);
        begin(capture.link_types());
        dump_frames(capture);
      });
      end_capture();
    } else if (!options_.hex.empty()) {
      guard([&] { dump_hex(); });
    } else {
      dump_captures();
    }
    if (options_.summary) {
      tools::write_output(json_ ? json_->summary(tally_) : tally_.text());
    }
    flush();
    if (opened_ && !options_.quiet) {
      complain(summary_.text(options_.reencode));
    }
    return failed_ ? FAILED : summary_.any_fault() ? SOME_REJECTED : ALL_DECODED;
  }

 private:
  /// Runs `action`; if an input fails, the next one is still read.
  template <class Action>
  void guard(const Action& action) {
    try {
      action();
    } catch (const InputError& error) {
      fail(error.what());
    }
  }

  /// Flushes first, so that the error appears after the output that precedes it.
  void fail(const std::string& text) {
    flush();
    complain(text);
    failed_ = true;
  }

  bool is_enough() const { return options_.most != 0 && shown_ >= options_.most; }

  /// Called when all input is open; its contents cannot be trusted. `link_types` are those of its frames.
  void begin(const std::set<LinkType>& link_types) {
    opened_ = true;
    if (!options_.write.empty()) {
      if (link_types.size() > 1) {  // pcapng has room for several, but libpcap does not read them
        throw std::runtime_error("cannot write frames of several link types into one capture");
      }
      writer_.emplace(options_.write);  // replaces the file, so not before everything else can be read
    }
    if (const std::error_code error = tools::keep_capabilities({})) {
      complain("cannot drop capabilities: " + error.message());
    }
  }

  void dump_captures() {
    std::vector<CaptureFile> captures;
    for (const std::string& path : options_.captures) {
      guard([&] { captures.emplace_back(path, options_.capture_filter); });
    }
    std::set<LinkType> link_types;
    for (const CaptureFile& capture : captures) {
      link_types.insert(capture.link_type());
      if (!options_.write.empty() && capture.reads(options_.write)) {
        throw std::runtime_error((options_.write == "-" ? "the output" : options_.write) +
                                 " is an input: write to another file");
      }
    }
    if (!captures.empty()) {
      begin(link_types);
    }
    for (CaptureFile& capture : captures) {
      guard([&] { dump_frames(capture); });
      end_capture();
    }
  }

  template <class Capture>
  void dump_frames(Capture& capture) {
    while (!is_enough()) {
      const std::optional<CapturedFrame> captured = capture.next();
      if (!captured) {
        return;
      }
      const std::optional<LinkFrame> frame = parse_link_frame(captured->link_type, captured->octets);
      if (frame && frame->ethertype == CMDU_ETHERTYPE) {
        dump({frame->payload, captured->number,
              FrameInfo{frame->source, frame->destination, *captured, interface_text(frame->interface)}});
      } else {
        summary_.count_skipped_frame();
      }
    }
  }

  /// In a live capture the name; otherwise, the index belongs to another machine. Empty for no interface.
  std::string interface_text(std::uint32_t index) const {
    std::array<char, IF_NAMESIZE> name{};
    if (index == 0) {
      return {};
    }
    const bool is_named = !options_.interfaces.empty() && if_indextoname(index, name.data()) != nullptr;
    return is_named ? name.data() : std::to_string(index);
  }

  void dump_hex() {
    HexFile file(options_.hex);
    begin({});
    while (!is_enough()) {
      const std::optional<HexLine> line = file.next();
      if (!line) {
        return;
      }
      if (line->error.empty()) {
        dump({line->octets, line->number, std::nullopt});
      } else {
        summary_.count_bad_line();
        fail(input_error(options_.hex, "line " + std::to_string(line->number) + ": " + line->error).what());
      }
    }
  }

  /// Drops unfinished messages, because those of another capture have nothing to do with them. They count as incomplete
  /// unless the run ended before the capture, when their fragments might still have come.
  void end_capture() {
    const bool is_live = !options_.interfaces.empty();
    for (auto& [origin, reassembly] : reassemblies_) {
      if (is_live) {
        reassembly.expire(Reassembly::TimePoint(std::chrono::system_clock::now().time_since_epoch()));
      }
      const Reassembly::Counts& counts = reassembly.counts();
      summary_.count_incomplete(is_live || is_enough() ? counts.spoiled + counts.expired + counts.displaced
                                                       : reassembly.count_incomplete());
    }
    reassemblies_.clear();
  }

  void dump(const Cmdu& cmdu) {
    if (!options_.filter.matches_head(cmdu)) {
      summary_.count_filtered_out();
      return;
    }
    const Decoding decoding = decoder_.decode(cmdu.octets);
    const bool is_fragment = options_.reassemble && cmdu.frame && decoding.head() && decoding.head()->is_fragmented();
    show(cmdu, decoding, is_fragment);
    if (is_fragment) {
      // Captures record the time of day; only the time between frames matters here.
      const Reassembly::TimePoint time(cmdu.frame->captured.time);
      Reassembly& reassembly = reassemblies_[std::string(cmdu.frame->captured.origin)];
      if (const auto octets = reassembly.add(cmdu.frame->source, cmdu.octets, time)) {
        const Cmdu whole{*octets, cmdu.number, cmdu.frame, true};
        show(whole, decoder_.decode(whole.octets), false);
      }
    }
  }

  void show(const Cmdu& cmdu, const Decoding& decoding, bool is_fragment) {
    // The TLV asked for may be in another fragment, and the capture that is written needs all of them.
    const bool is_written_anyway = is_fragment && writer_;
    if (!is_written_anyway && !options_.filter.matches_tlvs(cmdu, decoding)) {
      summary_.count_filtered_out();
      return;
    }
    if (is_fragment) {
      summary_.count_fragment();
    } else {
      summary_.count(cmdu, decoding);
      tally_.count(cmdu, decoding);
      ++shown_;
    }
    if (writer_) {
      if (!cmdu.reassembled) {  // its fragments have been written already
        writer_->write(cmdu.frame->captured, comment_of(cmdu, decoding));
      }
    } else if (!options_.summary) {
      print(cmdu, decoding);
    }
    if (live_) {
      flush();
    }
  }

  void print(const Cmdu& cmdu, const Decoding& decoding) {
    text_.clear();
    Output& output = json_ ? static_cast<Output&>(*json_) : *text_output_;
    output.print(cmdu, decoding, text_);
    tools::write_output(text_);
  }

  void flush() {
    if (writer_) {
      writer_->flush();
    }
    tools::flush_output();
  }

  const Options& options_;
  Decoder decoder_;
  std::unique_ptr<JsonOutput> json_;         // exactly one of these
  std::unique_ptr<TextOutput> text_output_;  // is set
  std::optional<PcapngWriter> writer_;
  std::string text_;
  Summary summary_;
  Tally tally_;
  std::map<std::string, Reassembly> reassemblies_;  // by file or interface, of the captures being read
  std::uint64_t shown_ = 0;                         // messages, without fragments
  bool live_;                                       // somebody may be waiting for the answer to what they just sent
  bool opened_ = false;
  bool failed_ = false;
};

int run(int argc, const char* const* argv) {
  const Options options = parse_options(argc, argv);
  if (!options.notice.empty()) {
    tools::write_output(options.notice);
    tools::flush_output();
    return EXIT_SUCCESS;
  }
  return Dump(options).run();
}

}  // namespace

}  // namespace meshdump

int main(int argc, char** argv) {
  try {
    return meshdump::run(argc, argv);
  } catch (const tools::UsageError& error) {
    meshdump::complain(std::string(error.what()) + " (see 'meshdump --help')");
  } catch (const std::exception& error) {
    meshdump::complain(error.what());
  }
  return meshdump::FAILED;
}
