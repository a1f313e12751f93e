#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/core/serialization/record.h"
#include "qel/ieee1905_1/table_tlv.h"

namespace qel::ieee1905_1 {

/// Transmit Power Limit TLV (type 141, Multi-AP Specification, 17.2.15).
class QEL_EXPORT TransmitPowerLimitTLV final : public TableTLV<TransmitPowerLimitTLV, TLVType::TRANSMIT_POWER_LIMIT> {
 public:
  TransmitPowerLimitTLV() = default;
  TransmitPowerLimitTLV(const MACAddress& radio, std::uint8_t limit) : radio_identifier_(radio), power_limit_(limit) {}

  const MACAddress& get_radio_identifier() const { return radio_identifier_; }
  void set_radio_identifier(const MACAddress& radio) { radio_identifier_ = radio; }
  /// Maximum EIRP, in dBm.
  std::uint8_t get_power_limit() const { return power_limit_; }
  void set_power_limit(std::uint8_t limit) { power_limit_ = limit; }

  static constexpr auto table() {
    using serialization::Field;
    using T = TransmitPowerLimitTLV;
    return serialization::rows(Field{" Radio Identifier: ", &T::radio_identifier_},
                               Field{" Power Limit: ", &T::power_limit_});
  }

 private:
  MACAddress radio_identifier_;
  std::uint8_t power_limit_ = 0;
};

/// Multi-AP Specification, 17.2.16; the names are spelt in this system's own way. Other values are kept.
enum class ChannelSelectionResponseCode : std::uint8_t {
  ACCEPT = 0,
  DECLINE_VIOLATES_CHANGED_PREFERED = 1,   ///< preferences that have changed since they were reported
  DECLINE_VIOLATES_REPORTED_PREFERED = 2,  ///< preferences as last reported
  DECLINE_BREAKS_BACKHAUL_LINK = 3,
  INVALID = 255
};

QEL_EXPORT std::string enum_to_string(ChannelSelectionResponseCode code);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, ChannelSelectionResponseCode code);

/// Channel Selection Response TLV (type 142, Multi-AP Specification, 17.2.16).
class QEL_EXPORT ChannelSelectionResponseTLV final
    : public TableTLV<ChannelSelectionResponseTLV, TLVType::CHANNEL_SELECTION_RESPONSE> {
 public:
  ChannelSelectionResponseTLV() = default;
  ChannelSelectionResponseTLV(const MACAddress& radio, ChannelSelectionResponseCode code)
      : radio_identifier_(radio), selection_response_code_(code) {}

  const MACAddress& get_radio_identifier() const { return radio_identifier_; }
  void set_radio_identifier(const MACAddress& radio) { radio_identifier_ = radio; }
  ChannelSelectionResponseCode get_selection_response_code() const { return selection_response_code_; }
  void set_selection_response_code(ChannelSelectionResponseCode code) { selection_response_code_ = code; }

  static constexpr auto table() {
    using serialization::Field;
    using T = ChannelSelectionResponseTLV;
    return serialization::rows(Field{" Radio Identifier: ", &T::radio_identifier_},
                               Field{" Response Code: ", &T::selection_response_code_});
  }

 private:
  MACAddress radio_identifier_;
  ChannelSelectionResponseCode selection_response_code_ = ChannelSelectionResponseCode::ACCEPT;
};

/// A channel on which a radio operates.
class QEL_EXPORT OperatingClassChannel final : public serialization::Record<OperatingClassChannel> {
 public:
  OperatingClassChannel() = default;
  OperatingClassChannel(std::uint8_t operating_class, std::uint8_t channel)
      : operating_class_(operating_class), channel_(channel) {}

  std::uint8_t get_operating_class() const { return operating_class_; }
  void set_operating_class(std::uint8_t operating_class) { operating_class_ = operating_class; }
  std::uint8_t get_channel() const { return channel_; }
  void set_channel(std::uint8_t channel) { channel_ = channel; }

  static constexpr auto table() {
    using serialization::Field;
    using T = OperatingClassChannel;
    return serialization::rows(Field{"OperatingClass: ", &T::operating_class_},  //
                               Field{" on Channel: ", &T::channel_});
  }

 private:
  std::uint8_t operating_class_ = 0;
  std::uint8_t channel_ = 0;
};

/// Operating Channel Report TLV (type 143, Multi-AP Specification, 17.2.17): one channel, listed under all operating
/// classes that contain it. Without an entry, it decodes but does not encode.
class QEL_EXPORT OperatingChannelReportTLV final
    : public TableTLV<OperatingChannelReportTLV, TLVType::OPERATING_CHANNEL_REPORT> {
 public:
  OperatingChannelReportTLV() = default;
  explicit OperatingChannelReportTLV(const MACAddress& radio) : radio_identifier_(radio) {}

  const MACAddress& get_radio_identifier() const { return radio_identifier_; }
  void set_radio_identifier(const MACAddress& radio) { radio_identifier_ = radio; }
  const std::vector<OperatingClassChannel>& get_operating_class_channel_vector() const {
    return operating_class_channel_vector_;
  }
  void add_operating_class_channel(const OperatingClassChannel& channel) {
    operating_class_channel_vector_.push_back(channel);
  }
  /// In dBm.
  signed char get_transmit_power_eirp() const { return transmit_power_eirp_; }
  void set_transmit_power_eirp(signed char power) { transmit_power_eirp_ = power; }

  /// Prints the power before the channels, unlike the wire order.
  void dbg_str(std::ostream& os) const override;

  static constexpr auto table() {
    using serialization::Field;
    using T = OperatingChannelReportTLV;
    return serialization::rows(Field{&T::radio_identifier_},                                             //
                               serialization::list8({}, &T::operating_class_channel_vector_, {1, 255}),  //
                               Field{&T::transmit_power_eirp_});
  }

 private:
  MACAddress radio_identifier_;
  std::vector<OperatingClassChannel> operating_class_channel_vector_;
  signed char transmit_power_eirp_ = 0;
};

}  // namespace qel::ieee1905_1
