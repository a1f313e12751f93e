#pragma once

#include <bitset>
#include <cstdint>
#include <iosfwd>
#include <string>

#include "qel/core/export.h"
#include "qel/core/serialization/record.h"
#include "qel/core/serialization/table.h"
#include "qel/ieee1905_1/message_type.h"

namespace qel::ieee1905_1 {

/// IEEE 1905.1-2013, 6.2.
enum class MessageVersion : std::uint8_t { IEEE1905_1 = 0, INVALID = 255 };

QEL_EXPORT std::string enum_to_string(MessageVersion version);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, MessageVersion version);

/// The header of a CMDU: 8 octets on the wire (IEEE 1905.1-2013, 6.2).
class QEL_EXPORT MessageHead final : public serialization::Record<MessageHead> {
 public:
  MessageHead() = default;
  MessageHead(MessageVersion version, MessageType type, std::uint16_t message_id, std::uint8_t fragment_id,
              bool last_fragment_indicator, bool relay_indicator);

  MessageVersion get_message_version() const { return message_version_; }
  void set_message_version(MessageVersion version) { message_version_ = version; }
  MessageType get_message_type() const { return message_type_; }
  void set_message_type(MessageType type) { message_type_ = type; }
  std::uint16_t get_message_id() const { return message_id_; }
  void set_message_id(std::uint16_t message_id) { message_id_ = message_id; }
  std::uint8_t get_fragment_id() const { return fragment_id_; }
  void set_fragment_id(std::uint8_t fragment_id) { fragment_id_ = fragment_id; }
  bool get_last_fragment_indicator() const { return flags_[LAST_FRAGMENT_BIT]; }
  void set_last_fragment_indicator(bool set) { flags_[LAST_FRAGMENT_BIT] = set; }
  bool get_relay_indicator() const { return flags_[RELAY_BIT]; }
  void set_relay_indicator(bool set) { flags_[RELAY_BIT] = set; }

  /// False only for a fragment that is both the first and the last.
  bool is_fragmented() const { return !get_last_fragment_indicator() || fragment_id_ != 0; }

  void dbg_str(std::ostream& os) const;

  static constexpr auto table() {
    using serialization::Field;
    using T = MessageHead;
    return serialization::rows(Field{&T::message_version_},  //
                               serialization::Reserved{},    //
                               Field{&T::message_type_},     //
                               Field{&T::message_id_},       //
                               Field{&T::fragment_id_},      //
                               Field{&T::flags_});
  }

 private:
  static constexpr std::size_t LAST_FRAGMENT_BIT = 7;
  static constexpr std::size_t RELAY_BIT = 6;

  MessageVersion message_version_ = MessageVersion::IEEE1905_1;
  MessageType message_type_ = MessageType::TOPOLOGY_DISCOVERY_MESSAGE;
  std::uint16_t message_id_ = 0;
  std::uint8_t fragment_id_ = 0;
  std::bitset<8> flags_;  // bits 5 to 0 are not yet defined and are kept
};

}  // namespace qel::ieee1905_1
