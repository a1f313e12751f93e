#include "tests/soak/seeds.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string_view>

#include "qel/core/serialization/serialization_exception.h"
#include "qel/ieee1905_1/message.h"
#include "qel/ieee1905_1/tlv_factory.h"
#include "qel/ieee1905_1/vendor/vendor_factory.h"
#include "qel/ieee1905_1/vendor/vendor_specific_tlv.h"
#include "tools/meshd/entity/frame.h"

namespace soak {

namespace {

using namespace qel::ieee1905_1;  // NOLINT(google-build-using-namespace): all of this file is about it

constexpr std::size_t FLAGS = meshd::ETHER_HEADER_SIZE + 7;
constexpr std::uint8_t LAST_FRAGMENT = 0x80;
constexpr std::size_t LONGEST = 1514;  // on a link with the usual MTU

/// Files of the corpus that a node must reject: they are cut off or contain a TLV without a class.
constexpr std::string_view DAMAGED[] = {"multiap-frame-10",   "multiap-frame-15",  "multiap-frame-34",
                                        "multiap-frame-71",   "multiap-frame-90",  "two-nodes-frame-9",
                                        "two-nodes-frame-16", "two-nodes-frame-21"};

Octets read_file(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    throw std::runtime_error("cannot read " + path.string());
  }
  return {std::istreambuf_iterator<char>(file), {}};
}

/// Reads the frames of a capture in the little-endian form of pcap-savefile(5).
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

/// Adds a frame unless it is longer than a link takes. Returns the reason why it is invalid; nothing if it was left out
/// for its length.
std::string add(Seeds& seeds, Octets frame) {
  if (frame.size() <= FLAGS || frame.size() > LONGEST) {
    return {};
  }
  frame[FLAGS - 1] = 0;  // the fragment number
  frame[FLAGS] |= LAST_FRAGMENT;
  meshd::Codec codec;
  const std::optional<meshd::Frame> parsed = codec.parse(frame);
  if (!parsed) {
    return "no frame";
  }
  try {
    const qel::ieee1905_1::Message message = codec.decode(*parsed);
    for (const auto& tlv : message.get_list().get_TLV_list()) {
      seeds.tlv_types.insert(static_cast<unsigned int>(tlv->get_type()));
      if (tlv->get_type() == TLVType::VENDOR_SPECIFIC) {
        const auto& payload = *static_cast<const VendorSpecificTLV&>(*tlv).get_vendor_specific();
        seeds.payload_types.insert(static_cast<unsigned int>(payload.get_type()));
      }
    }
    seeds.well_formed.push_back(std::move(frame));
    return {};
  } catch (const qel::serialization::SerializationException& exception) {
    seeds.others.push_back(std::move(frame));
    return exception.what();
  }
}

/// Requires that all types that have a class are among those seen.
template <class Type, class Create>
void require_all(const std::set<unsigned int>& seen, Create create) {
  for (unsigned int number = 0; number <= 0xFF; ++number) {
    const auto type = static_cast<Type>(number);
    if (create(type) != nullptr && !seen.contains(number)) {
      throw std::runtime_error("no well-formed frame has a " + enum_to_string(type));
    }
  }
}

std::vector<std::uint16_t> known_message_types() {
  std::vector<std::uint16_t> known;
  for (unsigned int number = 0; number <= 0xFFFF; ++number) {
    if (enum_to_string(static_cast<MessageType>(number)) != std::to_string(number)) {
      known.push_back(static_cast<std::uint16_t>(number));
    }
  }
  return known;
}

}  // namespace

Seeds read_seeds(const std::string& test_data, const Octets& source) {
  Seeds seeds;
  seeds.message_types = known_message_types();
  const std::filesystem::path folder(test_data);
  const auto& group = qel::ieee1905_1::CMDU_MULTICAST_ADDRESS.octets();
  for (const auto& entry : std::filesystem::directory_iterator(folder / "corpus" / "message")) {
    Octets frame(group.begin(), group.end());
    frame.insert(frame.end(), source.begin(), source.end());
    frame.insert(frame.end(), {qel::ieee1905_1::CMDU_ETHERTYPE >> 8U, qel::ieee1905_1::CMDU_ETHERTYPE & 0xFFU});
    const Octets message = read_file(entry.path());
    frame.insert(frame.end(), message.begin(), message.end());
    const std::string fault = add(seeds, std::move(frame));
    const std::string name = entry.path().filename().string();
    if (fault.empty() == (std::find(std::begin(DAMAGED), std::end(DAMAGED), name) != std::end(DAMAGED))) {
      throw std::runtime_error("the frame " + name + ": " + (fault.empty() ? "it should be damaged" : fault));
    }
  }
  for (const char* capture : {"two-nodes-1905.pcap", "gateway-and-repeater-multiap.pcap"}) {
    for (Octets& frame : frames_of_capture(folder / "captures" / capture)) {
      if (frame.size() > FLAGS) {
        std::copy(group.begin(), group.end(), frame.begin());  // its original destination is not here
        add(seeds, std::move(frame));
      }
    }
  }
  require_all<TLVType>(seeds.tlv_types, create_TLV);
  require_all<QELVendorTLVType>(seeds.payload_types, create_vendor_specific);
  return seeds;
}

}  // namespace soak
