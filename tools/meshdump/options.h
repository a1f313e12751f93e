#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/meshdump/filter.h"
#include "tools/meshdump/text_output.h"

namespace meshdump {

struct Options {
  std::vector<std::string> captures;    ///< exactly one of these
  std::string hex;                      ///< three is
  std::vector<std::string> interfaces;  ///< nonempty, unless there is a notice
  bool json = false;
  bool reencode = false;
  bool quiet = false;
  bool reassemble = true;
  bool summary = false;
  std::uint64_t most = 0;      ///< messages to show; 0 for all
  std::string write;           ///< the capture to write; empty for none
  std::string capture_filter;  ///< in libpcap's filter language
  TextStyle style;
  Filter filter;
  std::string notice;  ///< the help or the version if it was requested; nothing else is to be done
};

/// Throws tools::UsageError.
Options parse_options(int argc, const char* const* argv);

}  // namespace meshdump
