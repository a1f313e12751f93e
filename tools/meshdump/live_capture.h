#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "tools/meshdump/capture_file.h"
#include "tools/meshdump/input.h"

namespace meshdump {

/// Captures frames of IEEE 1905.1 on an Ethernet interface, with or without VLAN tags, in both directions. SIGINT and
/// SIGTERM end the capture, not the process, while one lives; there may be one at a time.
class LiveCapture {
 public:
  /// Throws InputError, for an interface that is no Ethernet too.
  explicit LiveCapture(const std::string& interface);
  ~LiveCapture();

  /// Waits for a frame; nothing at the end. Throws InputError when the interface goes away.
  std::optional<CapturedFrame> next();

  /// How many frames were captured.
  std::size_t count() const { return count_; }

 private:
  struct Closer {
    void operator()(pcap* capture) const;
  };

  InputError error(const std::string& what) const;
  void check(int status) const;

  std::string interface_;
  std::unique_ptr<pcap, Closer> capture_;
  std::size_t count_ = 0;
};

}  // namespace meshdump
