#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include "qel/core/bit_field.h"
#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/core/serialization/record.h"
#include "qel/ieee1905_1/table_tlv.h"

namespace qel::ieee1905_1 {

/// The reason for a preference (Multi-AP Specification, 17.2.13).
enum class ChannelPreferenceReasonCode : std::uint8_t {
  UNSPECIFIED = 0,
  PROXIMATE_NON_80211_INTERFERER = 1,
  INTRA_NETWORK_80211_OBSS_INTERFERENCE_MANAGEMENT = 2,
  EXTERNAL_NETWORK_80211_OBSS_INTERFERENCE_MANAGEMENT = 3,
  REDUCED_COVERAGE = 4,
  REDUCED_THROUGHPUT = 5,
  INDEVICE_INTERFERER_WITHIN_AP = 6,
  OPERATION_DISALLOWED_RADAR_DFS_CHANNEL = 7,
  OPERATION_WOULD_PREVENT_BACKHAUL_OPERATION = 8,
  IMMEDIATE_OPERATION_POSSIBLE_ON_DFS_CHANNEL = 9,
  DFS_CHANNEL_STATE_UNKNOWN = 10,
  CONTROLLER_DFS_CHANNEL_CLEAR_INDICATION = 11,
  RESERVED_BIT_12 = 12,
  RESERVED_BIT_13 = 13,
  RESERVED_BIT_14 = 14,
  RESERVED_BIT_15 = 15,
  INVALID_MAX = 16  ///< sentinel; does not fit into the four bits on the wire
};

QEL_EXPORT std::string enum_to_string(ChannelPreferenceReasonCode reason);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, ChannelPreferenceReasonCode reason);

/// How much a radio prefers some channels of an operating class, and why. Decoding replaces everything, or nothing if
/// it fails.
class QEL_EXPORT ChannelPreference final : public serialization::Record<ChannelPreference> {
 public:
  std::uint8_t get_operating_class() const { return operating_class_; }
  void set_operating_class(std::uint8_t operating_class) { operating_class_ = operating_class; }
  /// Empty for all channels of the operating class.
  const std::vector<std::uint8_t>& get_channel_vector() const { return channel_vector_; }
  void add_channel(std::uint8_t channel) { channel_vector_.push_back(channel); }
  /// From 0 (non-operable) to 15 (most preferred). Setting keeps the low four bits.
  std::uint8_t get_preference_score() const { return static_cast<std::uint8_t>(get_bits(preference_, SCORE)); }
  void set_preference_score(std::uint8_t score) { set_bits(preference_, SCORE, score); }
  /// Setting keeps the low four bits.
  ChannelPreferenceReasonCode get_reason_code() const {
    return static_cast<ChannelPreferenceReasonCode>(get_bits(preference_, REASON));
  }
  void set_reason_code(ChannelPreferenceReasonCode reason) {
    set_bits(preference_, REASON, static_cast<unsigned int>(reason));
  }

  void deserialize_impl(std::istream& is, serialization::SerializationContext& context) override;
  void dbg_str(std::ostream& os) const;

  static constexpr auto table() {
    using serialization::Field;
    using T = ChannelPreference;
    return serialization::rows(
        Field{"Channel Preference Operating Class: ", &T::operating_class_},
        serialization::list8({" Channels: [ ", "", " ", "]"}, &T::channel_vector_, {0, 255}),
        serialization::accessed_by<&T::get_preference_score, &T::get_reason_code>(Field{&T::preference_}));
  }

 private:
  static constexpr BitField SCORE{4, 4};
  static constexpr BitField REASON{0, 4};

  std::uint8_t operating_class_ = 0;
  std::uint8_t preference_ = 0;  // an octet, since a bit set takes a word
  std::vector<std::uint8_t> channel_vector_;
};

/// Channel Preference TLV (type 139, Multi-AP Specification, 17.2.13). Unlike other channel lists, the list may be
/// empty: the radio has no preferences.
class QEL_EXPORT ChannelPreferenceTLV final : public TableTLV<ChannelPreferenceTLV, TLVType::CHANNEL_PREFERENCE> {
 public:
  ChannelPreferenceTLV() = default;
  explicit ChannelPreferenceTLV(const MACAddress& radio) : radio_identifier_(radio) {}

  const MACAddress& get_radio_identifier() const { return radio_identifier_; }
  void set_radio_identifier(const MACAddress& radio) { radio_identifier_ = radio; }
  const std::vector<ChannelPreference>& get_channel_preference_vector() const { return channel_preference_vector_; }
  void add_channel_preference(const ChannelPreference& preference) { channel_preference_vector_.push_back(preference); }

  static constexpr auto table() {
    using T = ChannelPreferenceTLV;
    return serialization::rows(serialization::Field{" Radio Identifier: ", &T::radio_identifier_},
                               serialization::list8({.before = " Preferences: [", .prefix = "\n\t", .after = "]"},
                                                    &T::channel_preference_vector_, {0, 255}));
  }

 private:
  MACAddress radio_identifier_;
  std::vector<ChannelPreference> channel_preference_vector_;
};

/// A channel that a radio can use only at some distance from the channels of its agent's other radios.
class QEL_EXPORT RestrictedChannel final : public serialization::Record<RestrictedChannel> {
 public:
  RestrictedChannel() = default;
  RestrictedChannel(std::uint8_t channel, std::uint8_t frequency_separation)
      : channel_(channel), frequency_separation_(frequency_separation) {}

  std::uint8_t get_channel() const { return channel_; }
  void set_channel(std::uint8_t channel) { channel_ = channel; }
  /// Minimum distance between the centre frequencies, in units of 10 MHz.
  std::uint8_t get_frequency_separation() const { return frequency_separation_; }
  void set_frequency_separation(std::uint8_t separation) { frequency_separation_ = separation; }

  static constexpr auto table() {
    using serialization::Field;
    using T = RestrictedChannel;
    return serialization::rows(Field{"Resticted Channel: ", &T::channel_},
                               Field{" Freq Separation: ", &T::frequency_separation_});
  }

 private:
  std::uint8_t channel_ = 0;
  std::uint8_t frequency_separation_ = 0;
};

/// The restricted channels of one operating class. Without a channel, it decodes but does not encode.
class QEL_EXPORT RestrictedOperatingClass final : public serialization::Record<RestrictedOperatingClass> {
 public:
  RestrictedOperatingClass() = default;
  explicit RestrictedOperatingClass(std::uint8_t operating_class) : operating_class_(operating_class) {}

  std::uint8_t get_operating_class() const { return operating_class_; }
  void set_operating_class(std::uint8_t operating_class) { operating_class_ = operating_class; }
  const std::vector<RestrictedChannel>& get_restricted_channel_vector() const { return restricted_channel_vector_; }
  void add_restricted_channel(const RestrictedChannel& channel) { restricted_channel_vector_.push_back(channel); }

  static constexpr auto table() {
    using T = RestrictedOperatingClass;
    return serialization::rows(serialization::Field{"Resticted Operating Class: ", &T::operating_class_},
                               serialization::list8({.before = " [", .prefix = "\n\t\t", .after = "]"},
                                                    &T::restricted_channel_vector_, {1, 255}));
  }

 private:
  std::uint8_t operating_class_ = 0;
  std::vector<RestrictedChannel> restricted_channel_vector_;
};

/// Radio Operation Restriction TLV (type 140, Multi-AP Specification, 17.2.14). Without an operating class, it decodes
/// but does not encode.
class QEL_EXPORT RadioOperationRestrictionTLV final
    : public TableTLV<RadioOperationRestrictionTLV, TLVType::RADIO_OPERATION_RESTRICTION> {
 public:
  RadioOperationRestrictionTLV() = default;
  explicit RadioOperationRestrictionTLV(const MACAddress& radio) : radio_identifier_(radio) {}

  const MACAddress& get_radio_identifier() const { return radio_identifier_; }
  void set_radio_identifier(const MACAddress& radio) { radio_identifier_ = radio; }
  const std::vector<RestrictedOperatingClass>& get_restricted_operating_class_vector() const {
    return restricted_operating_class_vector_;
  }
  void add_restricted_operating_class(const RestrictedOperatingClass& operating_class) {
    restricted_operating_class_vector_.push_back(operating_class);
  }

  static constexpr auto table() {
    using T = RadioOperationRestrictionTLV;
    return serialization::rows(
        serialization::Field{" Radio Unique Identifier:", &T::radio_identifier_},
        serialization::list8({.before = " Operating Classes with Restriction: [", .prefix = "\n\t", .after = "]"},
                             &T::restricted_operating_class_vector_, {1, 255}));
  }

 private:
  MACAddress radio_identifier_;
  std::vector<RestrictedOperatingClass> restricted_operating_class_vector_;
};

}  // namespace qel::ieee1905_1
