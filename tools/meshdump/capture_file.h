#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

struct pcap;

namespace meshdump {

struct CapturedFrame {
  std::chrono::microseconds time;        ///< since 1970-01-01T00:00:00Z
  std::span<const std::uint8_t> octets;  ///< borrowed until the next frame is read
  std::size_t missing;                   ///< octets at the frame's end that the capture left out
};

/// Reads a pcap or pcapng capture of Ethernet frames.
class CaptureFile {
 public:
  /// Throws InputError for what is no such capture; "-" is standard input.
  explicit CaptureFile(const std::string& path);

  /// Nothing at the end. Throws InputError for a capture that ends within a frame or is damaged.
  std::optional<CapturedFrame> next();

  /// How many frames were read.
  std::size_t count() const { return count_; }

 private:
  struct Closer {
    void operator()(pcap* capture) const;
  };

  std::string path_;
  std::unique_ptr<pcap, Closer> capture_;
  std::size_t count_ = 0;
};

}  // namespace meshdump
