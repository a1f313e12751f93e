#include "qel/ieee1905_1/lenient.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

#include "qel/core/serialization/serialization_exception.h"
#include "qel/ieee1905_1/tlv_factory.h"

namespace qel::ieee1905_1 {

namespace {

using serialization::SerializationContext;
using serialization::SerializationException;

LenientMessage::Entry decode_entry(const RawTLV& raw, std::span<const std::uint8_t> cmdu, MessageList& list,
                                   SerializationContext& context) {
  LenientMessage::Entry entry{raw, nullptr, {}, 0};
  std::unique_ptr<TLV> tlv = create_TLV(raw.type);
  if (tlv == nullptr) {
    return entry;
  }
  const std::span<const std::uint8_t> octets = cmdu.subspan(raw.offset, raw.end() - raw.offset);
  SerializationContext::InputLoan input(context, octets);
  try {
    tlv->deserialize_impl(input.stream(), context);
  } catch (const SerializationException& exception) {
    entry.error = exception.what();
    return entry;
  }
  entry.unread = octets.size() - input.stream().consumed();
  entry.tlv = tlv.get();
  list.add_TLV(std::move(tlv));
  return entry;
}

}  // namespace

bool LenientMessage::is_whole() const {
  return end == TLVWalkEnd::END_OF_MESSAGE &&
         std::all_of(entries.begin(), entries.end(), [](const Entry& entry) { return entry.tlv != nullptr; });
}

LenientMessage decode_leniently(std::span<const std::uint8_t> cmdu, SerializationContext& context) {
  LenientMessage result;
  {
    SerializationContext::InputLoan input(context, cmdu);
    result.message.get_head().deserialize_impl(input.stream(), context);
  }
  TLVWalk walk(cmdu);
  while (const std::optional<RawTLV> raw = walk.next()) {
    result.entries.push_back(decode_entry(*raw, cmdu, result.message.get_list(), context));
  }
  result.end = walk.end();
  result.end_offset = walk.offset();
  return result;
}

}  // namespace qel::ieee1905_1
