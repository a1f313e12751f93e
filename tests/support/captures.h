#pragma once

#include <cstdint>
#include <fstream>
#include <iterator>
#include <span>
#include <string>
#include <vector>

namespace qel::test {

/// Returns the frames of a capture in the little-endian form of pcap-savefile(5), none of them over 65535 octets.
inline std::vector<std::vector<std::uint8_t>> frames_of_capture(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<std::uint8_t> octets{std::istreambuf_iterator<char>(file), {}};
  std::vector<std::vector<std::uint8_t>> frames;
  for (std::size_t at = 24 + 16; at < octets.size(); at += frames.back().size() + 16) {
    const std::size_t size = octets[at - 8] | std::size_t{octets[at - 7]} << 8U;
    const std::span frame = std::span(octets).subspan(at, size);
    frames.emplace_back(frame.begin(), frame.end());
  }
  return frames;
}

}  // namespace qel::test
