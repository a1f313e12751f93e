#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>

#include "tools/capabilities.h"
#include "tools/meshdump/capture_file.h"
#include "tools/meshdump/cmdu.h"
#include "tools/meshdump/decoder.h"
#include "tools/meshdump/ethernet_frame.h"
#include "tools/meshdump/hex_file.h"
#include "tools/meshdump/input.h"
#include "tools/meshdump/json_output.h"
#include "tools/meshdump/live_capture.h"
#include "tools/meshdump/options.h"
#include "tools/meshdump/summary.h"
#include "tools/meshdump/text_output.h"

namespace meshdump {

namespace {

enum ExitStatus : int { ALL_DECODED = 0, SOME_REJECTED = 1, FAILED = 2 };

void complain(const std::string& text) { std::fprintf(stderr, "meshdump: %s\n", text.c_str()); }

void check_written(bool written) {
  if (!written) {
    throw std::runtime_error(std::string("cannot write the output: ") + std::strerror(errno));
  }
}

void write(const std::string& text) { check_written(std::fwrite(text.data(), 1, text.size(), stdout) == text.size()); }

void flush() { check_written(std::fflush(stdout) == 0); }

/// One run over one input.
class Dump {
 public:
  explicit Dump(const Options& options)
      : options_(options),
        decoder_(options.reencode),
        live_(!options.interface.empty() || is_standard_input(options.hex.empty() ? options.capture : options.hex)) {
    if (options.json) {
      output_ = std::make_unique<JsonOutput>();
    } else {
      output_ = std::make_unique<TextOutput>();
    }
  }

  ExitStatus run() {
    try {
      if (!options_.interface.empty()) {
        dump_frames(LiveCapture(options_.interface));
      } else if (options_.hex.empty()) {
        dump_frames(CaptureFile(options_.capture));
      } else {
        dump_hex();
      }
    } catch (const InputError& error) {
      fail(error.what());
    }
    flush();
    if (opened_ && !options_.quiet) {
      complain(summary_.text(options_.reencode));
    }
    return failed_ ? FAILED : summary_.any_rejected() ? SOME_REJECTED : ALL_DECODED;
  }

 private:
  /// In step with what was printed before.
  void fail(const std::string& text) {
    flush();
    complain(text);
    failed_ = true;
  }

  /// The input is open; what it holds may be anybody's.
  void begin() {
    opened_ = true;
    if (const std::error_code error = tools::keep_capabilities({})) {
      complain("cannot give up capabilities: " + error.message());
    }
  }

  template <class Capture>
  void dump_frames(Capture&& capture) {
    begin();
    while (const std::optional<CapturedFrame> captured = capture.next()) {
      const std::optional<EthernetFrame> frame = parse_ethernet(captured->octets);
      if (frame && frame->ethertype == ETHERTYPE_IEEE1905) {
        dump({frame->payload, capture.count(),
              FrameInfo{captured->time, frame->source, frame->destination, captured->missing}});
      } else {
        summary_.count_skipped_frame();
      }
    }
  }

  void dump_hex() {
    HexFile file(options_.hex);
    begin();
    while (const std::optional<HexLine> line = file.next()) {
      if (line->error.empty()) {
        dump({line->octets, line->number, std::nullopt});
      } else {
        summary_.count_bad_line();
        fail(input_error(options_.hex, "line " + std::to_string(line->number) + ": " + line->error).what());
      }
    }
  }

  void dump(const Cmdu& cmdu) {
    const Decoding decoding = decoder_.decode(cmdu.octets);
    if (!options_.filter.matches(cmdu, decoding)) {
      summary_.count_filtered_out();
      return;
    }
    summary_.count(cmdu, decoding);
    text_.clear();
    output_->print(cmdu, decoding, text_);
    write(text_);
    if (live_) {
      flush();
    }
  }

  const Options& options_;
  Decoder decoder_;
  std::unique_ptr<Output> output_;
  std::string text_;
  Summary summary_;
  bool live_;  // somebody may be waiting for the answer to what was sent a moment ago
  bool opened_ = false;
  bool failed_ = false;
};

int run(int argc, const char* const* argv) {
  const Options options = parse_options(argc, argv);
  if (!options.notice.empty()) {
    write(options.notice);
    flush();
    return EXIT_SUCCESS;
  }
  return Dump(options).run();
}

}  // namespace

}  // namespace meshdump

int main(int argc, char** argv) {
  try {
    return meshdump::run(argc, argv);
  } catch (const meshdump::UsageError& error) {
    meshdump::complain(std::string(error.what()) + " (see 'meshdump --help')");
  } catch (const std::exception& error) {
    meshdump::complain(error.what());
  }
  return meshdump::FAILED;
}
