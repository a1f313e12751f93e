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
  /// Throws InputError for what is no such capture; "-" is standard input. An empty filter lets all frames through.
  CaptureFile(const std::string& path, const std::string& filter);

  /// Nothing at the end. Throws InputError for a capture that ends within a frame or is damaged.
  std::optional<CapturedFrame> next();

 private:
  std::string path_;
  Pcap capture_;
  LinkType link_type_ = LinkType::ETHERNET;
  std::size_t count_ = 0;
};

}  // namespace meshdump
