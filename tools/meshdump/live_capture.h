#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "qel/net/file_descriptor.h"
#include "tools/meshdump/captured_frame.h"
#include "tools/meshdump/input.h"
#include "tools/meshdump/pcap.h"

namespace meshdump {

/// Captures frames of IEEE 1905.1 on Ethernet interfaces, with or without VLAN tags, in both directions; "any" stands
/// for all interfaces. SIGINT and SIGTERM end the capture, not the process, while one lives; there may be one at a
/// time.
class LiveCapture {
 public:
  /// Throws InputError, for an interface that is no Ethernet too. An empty filter lets all frames through.
  LiveCapture(const std::vector<std::string>& interfaces, const std::string& filter);
  LiveCapture(const LiveCapture&) = delete;
  LiveCapture& operator=(const LiveCapture&) = delete;
  ~LiveCapture();

  /// Waits for a frame; nothing at the end. Throws InputError when an interface goes away.
  std::optional<CapturedFrame> next();

 private:
  struct Source {
    std::string interface;
    Pcap capture;
    LinkType link_type = LinkType::ETHERNET;
  };

  static Source open(const std::string& interface, const std::string& filter);
  static std::optional<CapturedFrame> take(Source& source, std::size_t number);
  bool has_ended() const;
  void wait() const;

  std::vector<Source> sources_;
  qel::FileDescriptor signals_;
  std::size_t turn_ = 0;  // the source to be asked first, so that a busy one keeps no other waiting
  std::size_t count_ = 0;
};

}  // namespace meshdump
