#include "tests/soak/seeds.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>

#include "qel/core/serialization/serialization_exception.h"
#include "tools/meshd/frame.h"

namespace soak {

namespace {

constexpr std::size_t FLAGS = meshd::ETHER_HEADER_SIZE + 7;
constexpr std::uint8_t LAST_FRAGMENT = 0x80;
constexpr std::size_t LONGEST = 1514;  // of a link with the usual MTU

Octets read_file(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    throw std::runtime_error("cannot read " + path.string());
  }
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The frames of a capture in the little-endian form of pcap-savefile(5).
std::vector<Octets> frames_of_capture(const std::filesystem::path& path) {
  constexpr std::size_t FILE_HEADER = 24;
  constexpr std::size_t RECORD_HEADER = 16;
  const Octets file = read_file(path);
  std::vector<Octets> frames;
  for (std::size_t at = FILE_HEADER; at + RECORD_HEADER <= file.size();) {
    const std::size_t size = file[at + 8] | static_cast<std::size_t>(file[at + 9]) << 8U;
    at += RECORD_HEADER;
    if (size > file.size() - at) {
      throw std::runtime_error(path.string() + " ends within a frame");
    }
    const auto begin = file.begin() + static_cast<std::ptrdiff_t>(at);
    frames.emplace_back(begin, begin + static_cast<std::ptrdiff_t>(size));
    at += size;
  }
  return frames;
}

void add(Seeds& seeds, Octets frame) {
  if (frame.size() <= FLAGS || frame.size() > LONGEST) {
    return;
  }
  frame[FLAGS - 1] = 0;  // the number of the fragment
  frame[FLAGS] |= LAST_FRAGMENT;
  meshd::Codec codec;
  const std::optional<meshd::Frame> parsed = codec.parse(frame);
  if (!parsed) {
    return;
  }
  try {
    const qel::ieee1905_1::Message message = codec.decode(*parsed);
    seeds.message_types.insert(static_cast<unsigned int>(parsed->head.get_message_type()));
    for (const auto& tlv : message.get_list().get_TLV_list()) {
      seeds.tlv_types.insert(static_cast<unsigned int>(tlv->get_type()));
    }
    seeds.well_formed.push_back(std::move(frame));
  } catch (const qel::serialization::SerializationException&) {
    seeds.others.push_back(std::move(frame));
  }
}

}  // namespace

Seeds read_seeds(const std::string& test_data, const Octets& source) {
  Seeds seeds;
  const std::filesystem::path folder(test_data);
  const auto& group = meshd::MULTICAST_ADDRESS.octets();
  for (const auto& entry : std::filesystem::directory_iterator(folder / "corpus" / "message")) {
    Octets frame(group.begin(), group.end());
    frame.insert(frame.end(), source.begin(), source.end());
    frame.insert(frame.end(), {meshd::ETHERTYPE_IEEE1905 >> 8U, meshd::ETHERTYPE_IEEE1905 & 0xFFU});
    const Octets message = read_file(entry.path());
    frame.insert(frame.end(), message.begin(), message.end());
    add(seeds, std::move(frame));
  }
  for (const char* capture : {"two-nodes-1905.pcap", "gateway-and-repeater-multiap.pcap"}) {
    for (Octets& frame : frames_of_capture(folder / "captures" / capture)) {
      if (frame.size() > FLAGS) {
        std::copy(group.begin(), group.end(), frame.begin());  // the device that it was for is not here
        add(seeds, std::move(frame));
      }
    }
  }
  if (seeds.well_formed.empty()) {
    throw std::runtime_error("there is nothing well-formed in " + test_data);
  }
  return seeds;
}

}  // namespace soak
