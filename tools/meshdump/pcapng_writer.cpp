#include "tools/meshdump/pcapng_writer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <utility>

namespace meshdump {

namespace {

constexpr std::uint32_t SECTION_HEADER = 0x0A0D0D0A;
constexpr std::uint32_t INTERFACE_DESCRIPTION = 1;
constexpr std::uint32_t ENHANCED_PACKET = 6;
constexpr std::uint32_t BYTE_ORDER_MAGIC = 0x1A2B3C4D;
constexpr std::uint16_t OPTION_END = 0;
constexpr std::uint16_t OPTION_COMMENT = 1;
constexpr std::uint16_t OPTION_NAME = 2;  // of an interface
constexpr std::size_t LONGEST_OPTION = std::numeric_limits<std::uint16_t>::max();

/// A block in the machine's byte order, which the section header indicates.
class Block {
 public:
  explicit Block(std::uint32_t type) {
    put(type);
    put(std::uint32_t{0});  // the length
  }

  template <class Number>
  void put(Number number) {
    const auto* octets = reinterpret_cast<const std::uint8_t*>(&number);
    octets_.insert(octets_.end(), octets, octets + sizeof(number));
  }

  /// Appends octets, padded to a multiple of four.
  void put_padded(std::span<const std::uint8_t> octets) {
    octets_.insert(octets_.end(), octets.begin(), octets.end());
    octets_.resize((octets_.size() + 3) / 4 * 4);
  }

  void put_option(std::uint16_t code, std::string_view text) {
    text = text.substr(0, LONGEST_OPTION);
    put(code);
    put(static_cast<std::uint16_t>(text.size()));
    put_padded({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
  }

  std::vector<std::uint8_t> finish() {
    const auto length = static_cast<std::uint32_t>(octets_.size() + sizeof(std::uint32_t));
    put(length);
    std::memcpy(octets_.data() + sizeof(std::uint32_t), &length, sizeof(length));
    return std::move(octets_);
  }

 private:
  std::vector<std::uint8_t> octets_;
};

}  // namespace

PcapngWriter::PcapngWriter(const std::string& path)
    : path_(path), file_(path == "-" ? stdout : std::fopen(path.c_str(), "wb")) {
  check(file_ != nullptr);
  Block header(SECTION_HEADER);
  header.put(BYTE_ORDER_MAGIC);
  header.put(std::uint16_t{1});  // version 1.0
  header.put(std::uint16_t{0});
  header.put(std::int64_t{-1});  // length not specified
  write(header.finish());
}

void PcapngWriter::write(const CapturedFrame& frame, const std::string& comment) {
  const std::uint32_t interface = interface_of(frame);
  const auto time = static_cast<std::uint64_t>(frame.time.count());
  const auto size = static_cast<std::uint32_t>(frame.octets.size());
  Block packet(ENHANCED_PACKET);
  packet.put(interface);
  packet.put(static_cast<std::uint32_t>(time >> 32U));
  packet.put(static_cast<std::uint32_t>(time));
  packet.put(size);
  packet.put(static_cast<std::uint32_t>(frame.octets.size() + frame.missing));
  packet.put_padded(frame.octets);
  packet.put_option(OPTION_COMMENT, comment);
  packet.put_option(OPTION_END, {});
  write(packet.finish());
}

void PcapngWriter::flush() { check(std::fflush(file_.get()) == 0); }

/// Returns the number of the interface or file; describes it when its first frame is written.
std::uint32_t PcapngWriter::interface_of(const CapturedFrame& frame) {
  const auto number = static_cast<std::uint32_t>(interfaces_.size());
  const auto [place, is_new] = interfaces_.try_emplace(std::string(frame.origin), number);
  if (is_new) {
    Block description(INTERFACE_DESCRIPTION);
    description.put(static_cast<std::uint16_t>(frame.link_type));
    description.put(std::uint16_t{0});
    description.put(std::uint32_t{0});  // no limit on the frame size
    description.put_option(OPTION_NAME, frame.origin);
    description.put_option(OPTION_END, {});
    write(description.finish());
  }
  return place->second;
}

void PcapngWriter::write(const std::vector<std::uint8_t>& block) {
  check(std::fwrite(block.data(), 1, block.size(), file_.get()) == block.size());
}

void PcapngWriter::check(bool succeeded) const {
  if (!succeeded) {
    throw std::runtime_error("cannot write " + (path_ == "-" ? "the output" : path_) + ": " + std::strerror(errno));
  }
}

}  // namespace meshdump
