#include "tools/meshd/frame.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstring>

#include "qel/core/serialization/serialization_exception.h"
#include "qel/net/ether_header.h"

namespace meshd {

namespace {

using qel::EtherHeader;
using qel::MACAddress;
using qel::ieee1905_1::Message;
using qel::ieee1905_1::TLVType;
using qel::serialization::SerializationException;

constexpr std::size_t MESSAGE_HEAD_SIZE = 8;
constexpr std::size_t TLV_HEADER_SIZE = 3;
constexpr std::size_t MAC_SIZE = 6;

MACAddress address_at(std::span<const std::uint8_t> octets, std::size_t offset) {
  MACAddress address;
  std::copy_n(octets.begin() + static_cast<std::ptrdiff_t>(offset), MAC_SIZE, address.octets().begin());
  return address;
}

unsigned int number_at(std::span<const std::uint8_t> octets, std::size_t offset) {
  return static_cast<unsigned int>(octets[offset]) << 8U | octets[offset + 1];
}

}  // namespace

std::optional<Frame> Codec::parse(std::span<const std::uint8_t> octets) {
  if (octets.size() < ETHER_HEADER_SIZE + MESSAGE_HEAD_SIZE || octets.size() > MAX_FRAME_SIZE) {
    return std::nullopt;
  }
  EtherHeader header;
  std::memcpy(&header, octets.data(), sizeof(header));
  if (header.get_ethertype() != htons(ETHERTYPE_IEEE1905) ||
      !is_non_zero_individual_mac_address(header.get_src_addr())) {
    return std::nullopt;
  }
  Frame frame{header.get_dest_addr(), header.get_src_addr(), {}, octets};
  in_.reset(octets.subspan(ETHER_HEADER_SIZE));
  frame.head.deserialize_impl(in_, context_);
  return frame;
}

Message Codec::decode(const Frame& frame) {
  Message message;
  in_.reset(frame.octets.subspan(ETHER_HEADER_SIZE));
  message.deserialize_impl(in_, context_);
  return message;
}

std::span<const std::uint8_t> Codec::encode(const MACAddress& destination, const MACAddress& source,
                                            const Message& message) {
  EtherHeader header;
  header.set_dest_addr(destination);
  header.set_src_addr(source);
  header.set_ethertype(htons(ETHERTYPE_IEEE1905));
  out_.reset();
  out_.write(reinterpret_cast<const char*>(&header), sizeof(header));
  message.serialize_impl(out_, context_);
  if (out_.octets().size() > MAX_FRAME_SIZE) {
    throw SerializationException("The message does not fit a frame");
  }
  return out_.octets();
}

MACAddress originator(const Frame& frame) {
  std::size_t offset = ETHER_HEADER_SIZE + MESSAGE_HEAD_SIZE;
  while (offset + TLV_HEADER_SIZE <= frame.octets.size()) {
    const auto type = static_cast<TLVType>(frame.octets[offset]);
    const std::size_t length = number_at(frame.octets, offset + 1);
    offset += TLV_HEADER_SIZE;
    if (type == TLVType::END_OF_MESSAGE) {
      break;
    }
    if (type == TLVType::AL_MAC_ADDRESS && length == MAC_SIZE && offset + length <= frame.octets.size()) {
      return address_at(frame.octets, offset);
    }
    offset += length;
  }
  return frame.source;
}

}  // namespace meshd
