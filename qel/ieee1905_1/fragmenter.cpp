#include "qel/ieee1905_1/fragmenter.h"

#include <limits>
#include <stdexcept>
#include <string>

#include "qel/core/serialization/memory_stream.h"
#include "qel/core/serialization/serialization_exception.h"
#include "qel/ieee1905_1/cmdu.h"

namespace qel::ieee1905_1 {

namespace {

using serialization::MemoryOStream;
using serialization::SerializationContext;
using serialization::SerializationException;

constexpr std::size_t MOST_FRAGMENTS = std::numeric_limits<std::uint8_t>::max() + std::size_t{1};

}  // namespace

Fragmenter::Fragmenter(std::size_t largest) : largest_(largest) {
  if (largest < MESSAGE_HEAD_SIZE + TLV_HEADER_SIZE) {
    throw std::invalid_argument("a fragment of " + std::to_string(largest) + " octets has no room for a TLV");
  }
}

/// Encodes all TLVs and decides which go into which fragment.
std::vector<Fragmenter::Run> Fragmenter::plan(const Message& message, MemoryOStream& tlvs,
                                              SerializationContext& context) const {
  const std::size_t room = largest_ - MESSAGE_HEAD_SIZE;
  std::vector<Run> runs(1);
  for (const std::unique_ptr<TLV>& tlv : message.get_list().get_TLV_list()) {
    const std::size_t begin = tlvs.octets().size();
    tlv->serialize_impl(tlvs, context);
    const std::size_t end = tlvs.octets().size();
    if (end - begin > room) {
      throw SerializationException("TLV " + enum_to_string(tlv->get_type()) + " of " + std::to_string(end - begin) +
                                   " octets does not fit a fragment with room for " + std::to_string(room));
    }
    if (end - runs.back().begin > room) {
      runs.push_back({begin, begin});
    }
    runs.back().end = end;
  }
  if (runs.size() > MOST_FRAGMENTS) {
    throw SerializationException("The message takes " + std::to_string(runs.size()) + " fragments, more than 256");
  }
  if (runs.size() > 1 && message.get_head().is_fragmented()) {
    serialization::fail("A fragment cannot be split again");
  }
  return runs;
}

const Fragmenter::Fragments& Fragmenter::split(const Message& message, SerializationContext& context) {
  SerializationContext::Loan loan(context);
  const std::vector<Run> runs = plan(message, loan.stream(), context);
  const std::span<const std::uint8_t> tlvs = loan.stream().octets();

  octets_.clear();
  octets_.reserve(tlvs.size() + runs.size() * MESSAGE_HEAD_SIZE);
  fragments_.clear();
  SerializationContext::Loan head_loan(context);
  MessageHead head = message.get_head();
  for (const Run& run : runs) {
    if (runs.size() > 1) {
      head.set_fragment_id(static_cast<std::uint8_t>(fragments_.size()));
      head.set_last_fragment_indicator(fragments_.size() + 1 == runs.size());
    }
    head_loan.stream().reset();
    head.serialize_impl(head_loan.stream(), context);
    const std::span<const std::uint8_t> head_octets = head_loan.stream().octets();
    const std::span<const std::uint8_t> body = tlvs.subspan(run.begin, run.end - run.begin);
    const std::size_t begin = octets_.size();
    octets_.insert(octets_.end(), head_octets.begin(), head_octets.end());
    octets_.insert(octets_.end(), body.begin(), body.end());
    fragments_.emplace_back(octets_.data() + begin, octets_.size() - begin);
  }
  return fragments_;
}

}  // namespace qel::ieee1905_1
