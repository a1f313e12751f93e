#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/meshdump/filter.h"
#include "tools/meshdump/text_output.h"

namespace meshdump {

class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Options {
  std::vector<std::string> captures;    ///< either this
  std::string hex;                      ///< or this
  std::vector<std::string> interfaces;  ///< or this is not empty, unless there is a notice
  bool json = false;
  bool reencode = false;
  bool quiet = false;
  bool reassemble = true;
  bool summary = false;
  std::uint64_t most = 0;      ///< messages to be shown; 0 for all
  std::string write;           ///< the capture to be written; empty for none
  std::string capture_filter;  ///< in the language of libpcap
  TextStyle style;
  Filter filter;
  std::string notice;  ///< the help or the version when it was asked for: nothing else is to be done
};

/// Throws UsageError.
Options parse_options(int argc, const char* const* argv);

}  // namespace meshdump
