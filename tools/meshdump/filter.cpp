#include "tools/meshdump/filter.h"

#include <algorithm>
#include <cstdint>
#include <iomanip>
#include <limits>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <type_traits>

#include "qel/core/text.h"
#include "qel/ieee1905_1/tlv_walk.h"
#include "tools/command_line.h"

namespace meshdump {

namespace {

using qel::ieee1905_1::MessageType;
using qel::ieee1905_1::RawTLV;
using qel::ieee1905_1::TLVType;
using qel::ieee1905_1::TLVWalk;
using qel::ieee1905_1::TLVWalkEnd;

/// `Number` is the width of the enumeration.
template <class Number>
std::optional<Number> parse_number(std::string_view text) {
  int base = 10;
  if (text.starts_with("0x") || text.starts_with("0X")) {
    text.remove_prefix(2);
    base = 16;
  }
  return tools::parse_number<Number>(text, base);
}

template <class E>
std::optional<E> parse_enum(const std::string& text, const std::string& suffix) {
  using Number = std::underlying_type_t<E>;
  if (const std::optional<Number> number = parse_number<Number>(text)) {
    return static_cast<E>(*number);
  }
  const std::string name = qel::to_upper(text);
  for (std::uint32_t value = 0; value <= std::numeric_limits<Number>::max(); ++value) {
    const std::string candidate = enum_to_string(static_cast<E>(value));
    if (candidate == name || candidate == name + suffix) {
      return static_cast<E>(value);
    }
  }
  return std::nullopt;
}

template <class E>
void list_enum(std::ostream& os, const char* option) {
  using Number = std::underlying_type_t<E>;
  for (std::uint32_t value = 0; value <= std::numeric_limits<Number>::max(); ++value) {
    const std::string name = enum_to_string(static_cast<E>(value));
    if (!parse_number<Number>(name)) {
      os << option << " 0x" << std::setw(2 * sizeof(Number)) << value << ' ' << name << '\n';
    }
  }
}

qel::MACAddress parse_address(const std::string& text) {
  qel::MACAddress address;
  if (!address.parse_string(text)) {
    throw std::invalid_argument("'" + text + "' is not a MAC address such as 02:00:5E:10:00:01");
  }
  return address;
}

template <class T>
bool holds(const std::vector<T>& values, const T& value) {
  return std::find(values.begin(), values.end(), value) != values.end();
}

bool has_tlv(const Cmdu& cmdu, const Decoding& decoding, const std::vector<TLVType>& types) {
  if (decoding.message) {
    const auto& tlvs = decoding.message->get_list().get_TLV_list();
    return std::any_of(tlvs.begin(), tlvs.end(), [&](const auto& tlv) { return holds(types, tlv->get_type()); });
  }
  TLVWalk walk(cmdu.octets);
  while (const std::optional<RawTLV> tlv = walk.next()) {
    if (holds(types, tlv->type)) {
      return true;
    }
  }
  // A TLV that is cut off still has a type.
  return walk.end() != TLVWalkEnd::END_OF_MESSAGE && walk.offset() < cmdu.octets.size() &&
         holds(types, static_cast<TLVType>(cmdu.octets[walk.offset()]));
}

}  // namespace

std::string list_types() {
  std::ostringstream os;
  os << std::hex << std::setfill('0');
  list_enum<MessageType>(os, "type");
  list_enum<TLVType>(os, "tlv");
  return os.str();
}

void Filter::add_message_type(const std::string& text) {
  const std::optional<MessageType> type = parse_enum<MessageType>(text, "_MESSAGE");
  if (!type) {
    throw std::invalid_argument("unknown message type '" + text + "'");
  }
  message_types_.push_back(*type);
}

void Filter::add_tlv_type(const std::string& text) {
  const std::optional<TLVType> type = parse_enum<TLVType>(text, "");
  if (!type) {
    throw std::invalid_argument("unknown TLV type '" + text + "'");
  }
  tlv_types_.push_back(*type);
}

void Filter::add_source(const std::string& text) { sources_.push_back(parse_address(text)); }

void Filter::add_destination(const std::string& text) { destinations_.push_back(parse_address(text)); }

bool Filter::matches_head(const Cmdu& cmdu) const {
  if (!sources_.empty() && !(cmdu.frame && holds(sources_, cmdu.frame->source))) {
    return false;
  }
  if (!destinations_.empty() &&
      !(cmdu.frame && cmdu.frame->destination && holds(destinations_, *cmdu.frame->destination))) {
    return false;
  }
  const std::optional<MessageType> type = message_type(cmdu.octets);
  return message_types_.empty() || (type && holds(message_types_, *type));
}

bool Filter::matches_tlvs(const Cmdu& cmdu, const Decoding& decoding) const {
  return tlv_types_.empty() || has_tlv(cmdu, decoding, tlv_types_);
}

}  // namespace meshdump
