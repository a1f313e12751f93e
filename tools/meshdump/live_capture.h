#pragma once

#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "qel/net/file_descriptor.h"
#include "tools/meshdump/captured_frame.h"
#include "tools/meshdump/input.h"
#include "tools/meshdump/pcap.h"

namespace meshdump {

/// Captures IEEE 1905.1 frames on Ethernet interfaces, with or without VLAN tags, in both directions; "any" means all
/// interfaces. While it exists, SIGINT and SIGTERM end the capture instead of the process. Only one may exist at a
/// time.
class LiveCapture {
 public:
  /// An empty filter passes all frames. Throws InputError, also if an interface is not Ethernet.
  LiveCapture(const std::vector<std::string>& interfaces, const std::string& filter);
  LiveCapture(const LiveCapture&) = delete;
  LiveCapture& operator=(const LiveCapture&) = delete;
  ~LiveCapture();

  /// Those of its frames.
  std::set<LinkType> link_types() const;

  /// Waits for a frame; returns nothing at the end. Throws InputError if an interface disappears.
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
  std::size_t turn_ = 0;  // the source to check first, so that a busy one does not starve the others
  std::size_t count_ = 0;
};

}  // namespace meshdump
