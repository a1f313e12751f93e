#pragma once

#include <stdexcept>
#include <string>

#include "tools/meshdump/filter.h"

namespace meshdump {

class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Options {
  std::string capture;    ///< either this
  std::string hex;        ///< or this
  std::string interface;  ///< or this is not empty, unless there is a notice
  bool json = false;
  bool reencode = false;
  bool quiet = false;
  bool reassemble = true;
  Filter filter;
  std::string notice;  ///< the help or the version when it was asked for: nothing else is to be done
};

/// Throws UsageError.
Options parse_options(int argc, const char* const* argv);

}  // namespace meshdump
