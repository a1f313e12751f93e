#include "qel/ieee1905_1/reassembly.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "fuzz/round_trip.h"
#include "qel/ieee1905_1/fragmenter.h"
#include "qel/ieee1905_1/lenient.h"

/// Adds any sequence of fragments from any senders. Nothing may be kept beyond the limits, and a reassembled message
/// has a header and complete TLVs. Each record of the input is one octet of sender, one of time, one of length, and
/// that many octets of a CMDU. Each resulting message is split and reassembled once more, in reverse order.

namespace {

using qel::MACAddress;
using qel::fuzz::require;
using namespace qel::ieee1905_1;
using qel::serialization::SerializationContext;
using qel::serialization::SerializationException;

using Octets = std::vector<std::uint8_t>;

void check_whole(std::span<const std::uint8_t> octets, std::uint8_t size) {
  SerializationContext context;
  const LenientMessage lenient = decode_leniently(octets, context);
  require(!lenient.message.get_head().is_fragmented(), "a reassembled message is not a fragment");
  if (!lenient.is_whole()) {
    return;
  }
  Octets encoded;
  std::vector<Octets> fragments;
  try {
    qel::serialization::MemoryOStream out;
    encode(lenient.message, out, context);
    encoded.assign(out.octets().begin(), out.octets().end());
    Fragmenter fragmenter(std::size_t{11} + size);
    for (const auto fragment : fragmenter.split(lenient.message, context)) {
      require(fragment.size() <= std::size_t{11} + size, "fragments are as small as asked for");
      fragments.emplace_back(fragment.begin(), fragment.end());
    }
  } catch (const SerializationException&) {
    return;
  }
  Reassembly reassembly;
  for (auto fragment = fragments.rbegin(); fragment != fragments.rend(); ++fragment) {
    const auto message = reassembly.add(MACAddress(), *fragment, {});
    require(message.has_value() == (fragment + 1 == fragments.rend()), "the last fragment completes the message");
    require(!message || std::ranges::equal(*message, encoded), "what was split is put together again");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr Reassembly::Limits LIMITS{
      .messages = 4, .messages_of_a_sender = 2, .octets = 512, .age = std::chrono::milliseconds(100)};
  Reassembly reassembly(LIMITS);
  Reassembly::TimePoint now{};
  for (std::size_t at = 0; at + 3 <= size;) {
    const MACAddress sender({2, 0, 0, 0, 0, data[at]});
    now += std::chrono::milliseconds(data[at + 1]);
    const std::uint8_t step = data[at + 1];
    const std::size_t length = std::min<std::size_t>(data[at + 2], size - at - 3);
    try {
      const auto message = reassembly.add(sender, {data + at + 3, length}, now);
      if (message) {
        check_whole(*message, step);
      }
    } catch (const SerializationException&) {
      require(length < 8, "only a cut head is refused");
    }
    require(reassembly.count_octets() <= LIMITS.octets, "the octets kept are bounded");
    require(reassembly.count_messages() <= LIMITS.messages, "the messages begun are bounded");
    at += 3 + length;
  }
  reassembly.expire(now + std::chrono::seconds(1));
  require(reassembly.count_octets() == 0, "nothing stays for ever");
  return 0;
}
