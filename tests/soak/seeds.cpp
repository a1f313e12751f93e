#include "tests/soak/seeds.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>

#include "qel/core/serialization/serialization_exception.h"
#include "qel/ieee1905_1/message.h"
#include "tests/support/captures.h"
#include "tools/meshd/entity/frame.h"

namespace soak {

namespace {

using qel::ieee1905_1::MessageType;

constexpr std::size_t FLAGS = meshd::ETHER_HEADER_SIZE + 7;
constexpr std::uint8_t LAST_FRAGMENT = 0x80;
constexpr std::size_t LONGEST = 1514;  // on a link with the usual MTU

/// Adds a frame unless it is longer than a link takes.
void add(Seeds& seeds, Octets frame) {
  if (frame.size() <= FLAGS || frame.size() > LONGEST) {
    return;
  }
  frame[FLAGS - 1] = 0;  // the fragment number
  frame[FLAGS] |= LAST_FRAGMENT;
  meshd::Codec codec;
  const std::optional<meshd::Frame> parsed = codec.parse(frame);
  if (!parsed) {
    return;  // of another ethertype
  }
  try {
    codec.decode(*parsed);
    seeds.well_formed.push_back(std::move(frame));
  } catch (const qel::serialization::SerializationException&) {
    seeds.others.push_back(std::move(frame));
  }
}

}  // namespace

Seeds read_seeds(const std::string& test_data, const Octets& source) {
  Seeds seeds;
  for (unsigned int number = 0; number <= 0xFFFF; ++number) {
    if (enum_to_string(static_cast<MessageType>(number)) != std::to_string(number)) {
      seeds.message_types.push_back(static_cast<std::uint16_t>(number));
    }
  }
  const auto& group = qel::ieee1905_1::CMDU_MULTICAST_ADDRESS.octets();
  for (const auto& entry : std::filesystem::directory_iterator(test_data + "/corpus/message")) {
    Octets frame(group.begin(), group.end());
    frame.insert(frame.end(), source.begin(), source.end());
    frame.insert(frame.end(), {qel::ieee1905_1::CMDU_ETHERTYPE >> 8U, qel::ieee1905_1::CMDU_ETHERTYPE & 0xFFU});
    std::ifstream file(entry.path(), std::ios::binary);
    frame.insert(frame.end(), std::istreambuf_iterator<char>(file), {});
    add(seeds, std::move(frame));
  }
  for (const char* capture : {"two-nodes-1905.pcap", "gateway-and-repeater-multiap.pcap"}) {
    for (Octets& frame : qel::test::frames_of_capture(test_data + "/captures/" + capture)) {
      std::copy(group.begin(), group.end(), frame.begin());  // its original destination is not here
      add(seeds, std::move(frame));
    }
  }
  if (seeds.well_formed.empty()) {
    throw std::runtime_error("no frames in " + test_data);
  }
  return seeds;
}

}  // namespace soak
