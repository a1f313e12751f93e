#include "tools/meshd/entity/frame.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstring>

#include "qel/ieee1905_1/tlv_walk.h"
#include "qel/net/ether_header.h"

namespace meshd {

namespace {

using qel::EtherHeader;
using qel::MACAddress;
using qel::ieee1905_1::CMDU_ETHERTYPE;
using qel::ieee1905_1::Fragmenter;
using qel::ieee1905_1::LenientMessage;
using qel::ieee1905_1::Message;
using qel::ieee1905_1::MESSAGE_HEAD_SIZE;

}  // namespace

std::optional<Frame> Codec::parse(std::span<const std::uint8_t> octets) {
  if (octets.size() < ETHER_HEADER_SIZE + MESSAGE_HEAD_SIZE || octets.size() > MAX_FRAME_SIZE) {
    return std::nullopt;
  }
  EtherHeader header;
  std::memcpy(&header, octets.data(), sizeof(header));
  if (header.get_ethertype() != htons(CMDU_ETHERTYPE) || !is_non_zero_individual_mac_address(header.get_src_addr())) {
    return std::nullopt;
  }
  Frame frame{header.get_dest_addr(), header.get_src_addr(), {}, octets};
  in_.reset(frame.cmdu());
  frame.head.deserialize_impl(in_, context_);
  return frame;
}

Message Codec::decode(const Frame& frame) { return qel::ieee1905_1::decode(frame.cmdu(), context_); }

LenientMessage Codec::decode_leniently(std::span<const std::uint8_t> cmdu) {
  return qel::ieee1905_1::decode_leniently(cmdu, context_);
}

const Codec::Frames& Codec::encode(const MACAddress& destination, const MACAddress& source, const Message& message) {
  EtherHeader header;
  header.set_dest_addr(destination);
  header.set_src_addr(source);
  header.set_ethertype(htons(CMDU_ETHERTYPE));
  const auto* const octets = reinterpret_cast<const std::uint8_t*>(&header);
  const Fragmenter::Fragments& fragments = fragmenter_.split(message, context_);
  out_.clear();
  for (const auto& fragment : fragments) {
    out_.insert(out_.end(), octets, octets + sizeof(header));
    out_.insert(out_.end(), fragment.begin(), fragment.end());
  }
  frames_.clear();
  std::span<const std::uint8_t> rest = out_;
  for (const auto& fragment : fragments) {
    frames_.push_back(rest.first(sizeof(header) + fragment.size()));
    rest = rest.subspan(frames_.back().size());
  }
  return frames_;
}

MACAddress originator(const Frame& frame) {
  qel::ieee1905_1::TLVWalk walk(frame.cmdu());
  while (const std::optional<qel::ieee1905_1::RawTLV> tlv = walk.next()) {
    MACAddress al_mac;
    if (tlv->type == qel::ieee1905_1::TLVType::AL_MAC_ADDRESS && tlv->body.size() == al_mac.octets().size()) {
      std::copy(tlv->body.begin(), tlv->body.end(), al_mac.octets().begin());
      return al_mac;
    }
  }
  return frame.source;
}

}  // namespace meshd
