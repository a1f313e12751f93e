#include "qel/channel/nss_table.h"

#include <algorithm>
#include <ostream>

#include "qel/core/serialization/json_member.h"
#include "qel/core/serialization/yajl_wrappers.h"
#include "qel/core/text.h"

namespace qel {

namespace {

/// By index, and in ascending order.
constexpr std::array WIDTHS{ChannelWidth::WIDTH_20_MHZ, ChannelWidth::WIDTH_40_MHZ, ChannelWidth::WIDTH_80_MHZ,
                            ChannelWidth::WIDTH_160_MHZ, ChannelWidth::WIDTH_80_80_MHZ};

constexpr std::size_t index_of(ChannelWidth width) { return static_cast<std::size_t>(width); }

}  // namespace

NSSTable::NSSTable(ChannelWidth width, unsigned char streams) { update_num_streams(width, streams, true, false); }

std::uint8_t NSSTable::get_num_streams(ChannelWidth width) const { return num_streams_.at(index_of(width)); }

void NSSTable::update_num_streams(ChannelWidth width, unsigned char streams, bool fill_narrower, bool force) {
  std::uint8_t* const widest = &num_streams_.at(index_of(width));
  for (std::uint8_t* count = fill_narrower ? num_streams_.data() : widest; count <= widest; ++count) {
    *count = force ? streams : std::max<std::uint8_t>(*count, streams);
  }
  num_streams_[0] = std::max<std::uint8_t>(num_streams_[0], 1);
}

NSSTable NSSTable::intersect(const NSSTable& other) const {
  NSSTable result;
  std::transform(num_streams_.begin(), num_streams_.end(), other.num_streams_.begin(), result.num_streams_.begin(),
                 [](std::uint8_t mine, std::uint8_t theirs) { return std::min(mine, theirs); });
  return result;
}

NSSTable NSSTable::merge(const NSSTable& other) const {
  NSSTable result;
  std::transform(num_streams_.begin(), num_streams_.end(), other.num_streams_.begin(), result.num_streams_.begin(),
                 [](std::uint8_t mine, std::uint8_t theirs) { return std::max(mine, theirs); });
  return result;
}

ChannelWidth NSSTable::get_max_channel_width() const {
  const auto widest =
      std::find_if(WIDTHS.rbegin(), WIDTHS.rend(), [this](ChannelWidth width) { return get_num_streams(width) != 0; });
  return widest == WIDTHS.rend() ? ChannelWidth::INVALID : *widest;
}

std::uint8_t NSSTable::get_max_streams() const { return *std::max_element(num_streams_.begin(), num_streams_.end()); }

std::ostream& operator<<(std::ostream& os, const NSSTable& table) {
  const char* separator = "";
  for (const ChannelWidth width : WIDTHS) {
    os << separator << width << ": " << Decimal(table.get_num_streams(width));
    separator = ", ";
  }
  return os;
}

void serialization::JSONSerializableType<NSSTable>::serialize(YAJLStream& stream, SerializationContext& context,
                                                              const NSSTable& table) {
  wrap_in_yajl_object(stream, [&] {
    for (const ChannelWidth width : WIDTHS) {
      write_member(stream, context, enum_to_string(width), table.get_num_streams(width));
    }
  });
}

}  // namespace qel
