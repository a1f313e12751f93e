#include "qel/ieee1905_1/tlv_walk.h"

#include <algorithm>
#include <ostream>

#include "qel/core/enum_text.h"

namespace qel::ieee1905_1 {

namespace {

constexpr EnumText ENDS[] = {
    {TLVWalkEnd::END_OF_MESSAGE, "END_OF_MESSAGE"},
    {TLVWalkEnd::MISSING_END, "MISSING_END"},
    {TLVWalkEnd::CUT_HEADER, "CUT_HEADER"},
    {TLVWalkEnd::CUT_BODY, "CUT_BODY"},
};

}  // namespace

std::string enum_to_string(TLVWalkEnd end) { return enum_text(ENDS, end); }
std::ostream& operator<<(std::ostream& os, TLVWalkEnd end) { return print_enum(os, ENDS, end); }

TLVWalk::TLVWalk(std::span<const std::uint8_t> cmdu) : cmdu_(cmdu), offset_(std::min(MESSAGE_HEAD_SIZE, cmdu.size())) {}

std::optional<RawTLV> TLVWalk::next() {
  const std::span<const std::uint8_t> rest = cmdu_.subspan(offset_);
  if (end_ == TLVWalkEnd::END_OF_MESSAGE || rest.empty()) {
    return std::nullopt;
  }
  if (rest.size() < TLV_HEADER_SIZE) {
    end_ = TLVWalkEnd::CUT_HEADER;
    return std::nullopt;
  }
  const std::size_t length = static_cast<std::size_t>(rest[1]) << 8U | rest[2];
  if (rest.size() - TLV_HEADER_SIZE < length) {
    end_ = TLVWalkEnd::CUT_BODY;
    return std::nullopt;
  }
  const RawTLV tlv{static_cast<TLVType>(rest[0]), offset_, rest.subspan(TLV_HEADER_SIZE, length)};
  offset_ = tlv.end();
  if (tlv.type == TLVType::END_OF_MESSAGE) {
    end_ = TLVWalkEnd::END_OF_MESSAGE;
  }
  return tlv;
}

}  // namespace qel::ieee1905_1
