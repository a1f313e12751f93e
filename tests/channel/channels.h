#pragma once

#include "qel/channel/channel_info.h"
#include "qel/core/serialization/json_serializable_type.h"
#include "tests/support/testing.h"

namespace qel {

constexpr auto W20 = ChannelWidth::WIDTH_20_MHZ;
constexpr auto W40 = ChannelWidth::WIDTH_40_MHZ;
constexpr auto W80 = ChannelWidth::WIDTH_80_MHZ;
constexpr auto W160 = ChannelWidth::WIDTH_160_MHZ;
constexpr auto W8080 = ChannelWidth::WIDTH_80_80_MHZ;
constexpr auto NO_WIDTH = ChannelWidth::INVALID;
constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();

/// Returns the result of a call, or the kind and text of the exception that it throws.
template <class Call>
std::string outcome_of(const Call& call) {
  try {
    return testing::PrintToString(call());
  } catch (const std::invalid_argument& error) {
    return std::string("invalid: ") + error.what();
  } catch (const std::logic_error& error) {
    return std::string("logic: ") + error.what();
  }
}

template <class T>
std::string json(const T& value) {
  std::ostringstream os;
  serialization::YAJLStream stream(os, serialization::YAJLIndentation::COMPACT);
  serialization::SerializationContext context;
  serialization::JSONSerializableType<T>::serialize(stream, context, value);
  return os.str();
}

inline LastChanged<kHz> frequency(long value, std::int64_t time) { return {kHz(value), time}; }
inline LastChanged<ChannelInfo::Segment> segment(long center, ChannelWidth width, std::int64_t time) {
  return {{kHz(center), width}, time};
}

}  // namespace qel
