#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "tools/meshdump/captured_frame.h"
#include "tools/meshdump/pcap.h"

namespace meshdump {

/// Reads a pcap or pcapng capture.
class CaptureFile {
 public:
  /// "-" is standard input. An empty filter passes all frames. Throws InputError if the file is not a supported
  /// capture.
  CaptureFile(const std::string& path, const std::string& filter);

  LinkType link_type() const { return link_type_; }
  /// True if `path` names the file that is read; "-" is standard output.
  bool reads(const std::string& path) const;

  /// Returns nothing at the end. Throws InputError if the capture ends within a frame or is damaged.
  std::optional<CapturedFrame> next();

 private:
  std::string path_;
  Pcap capture_;
  LinkType link_type_ = LinkType::ETHERNET;
  std::size_t count_ = 0;
};

}  // namespace meshdump
