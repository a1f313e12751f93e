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

/// Makes three objects, updates the first from the second, and checks that it then equals the third and that the
/// comparisons agree. NaN differs from itself.
template <class Fields>
void expect_update(const Fields& own, const Fields& from, const Fields& updated) {
  auto object = own.object();
  const auto other = from.object();
  SCOPED_TRACE(Fields::contents(object) + " from " + Fields::contents(other));
  const bool numbers = Fields::values(object).find("nan") == std::string::npos;
  EXPECT_EQ(object == other, Fields::contents(object) == Fields::contents(other) && numbers);
  EXPECT_EQ(object.equivalent_to(other), Fields::values(object) == Fields::values(other) && numbers);
  EXPECT_EQ(object.can_update_from(other), Fields::contents(object) != Fields::contents(updated.object()));
  object.update(other);
  EXPECT_EQ(Fields::contents(object), Fields::contents(updated.object()));
}

/// Checks that an object with default fields takes over the fields of `taken` and none of `left`.
template <class Fields>
void expect_taken(const std::vector<Fields>& taken, const std::vector<Fields>& left) {
  std::ranges::for_each(taken, [](const Fields& other) { expect_update<Fields>({}, other, other); });
  std::ranges::for_each(left, [](const Fields& other) { expect_update<Fields>({}, other, {}); });
}

inline LastChanged<kHz> frequency(long value, std::int64_t time) { return {kHz(value), time}; }
inline LastChanged<ChannelInfo::Segment> segment(long center, ChannelWidth width, std::int64_t time) {
  return {{kHz(center), width}, time};
}

}  // namespace qel
