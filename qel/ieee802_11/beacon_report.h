#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <span>
#include <utility>
#include <vector>

#include "qel/channel/wlan_types.h"
#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/core/serialization/table.h"
#include "qel/ieee802_11/action_types.h"
#include "qel/ieee802_11/little_endian.h"

namespace qel::ieee802_11 {

/// The body of a measurement report of type BEACON (IEEE 802.11-2020, 9.4.2.21.7).
class QEL_EXPORT BeaconReport {
 public:
  std::uint8_t get_operating_class() const { return operating_class_; }
  void set_operating_class(std::uint8_t operating_class) { operating_class_ = operating_class; }
  std::uint8_t get_channel_number() const { return channel_number_; }
  void set_channel_number(std::uint8_t channel) { channel_number_ = channel; }
  /// TSF time of the measuring station, in microseconds.
  std::uint64_t get_measurement_start_time() const { return measurement_start_time_.value; }
  void set_measurement_start_time(std::uint64_t time) { measurement_start_time_.value = time; }
  /// In time units of 1024 microseconds.
  std::uint16_t get_measurement_duration() const { return measurement_duration_.value; }
  void set_measurement_duration(std::uint16_t duration) { measurement_duration_.value = duration; }

  /// Bits 0 to 6 are the condensed PHY type, bit 7 the kind of frame.
  std::uint8_t get_reported_frame_information() const { return reported_frame_information_; }
  void set_reported_frame_information(std::uint8_t information) { reported_frame_information_ = information; }
  PHYType get_phy_type() const { return static_cast<PHYType>(reported_frame_information_ & 0x7FU); }
  BeaconReportFrameType get_frame_type() const {
    return static_cast<BeaconReportFrameType>(reported_frame_information_ >> 7U);
  }

  std::uint8_t get_rcpi() const { return rcpi_; }
  void set_rcpi(std::uint8_t rcpi) { rcpi_ = rcpi; }
  std::uint8_t get_rsni() const { return rsni_; }
  void set_rsni(std::uint8_t rsni) { rsni_ = rsni; }
  const MACAddress& get_bssid() const { return bssid_; }
  void set_bssid(const MACAddress& bssid) { bssid_ = bssid; }
  /// 0 if unknown, 255 for several antennas.
  std::uint8_t get_antenna_id() const { return antenna_id_; }
  void set_antenna_id(std::uint8_t antenna) { antenna_id_ = antenna; }
  /// Low half of the measuring station's TSF time when the frame was received.
  std::uint32_t get_parent_tsf() const { return parent_tsf_.value; }
  void set_parent_tsf(std::uint32_t tsf) { parent_tsf_.value = tsf; }
  /// As on the wire, not parsed.
  const std::vector<std::uint8_t>& get_optional_subelements() const { return optional_subelements_; }
  void set_optional_subelements(std::vector<std::uint8_t> octets) { optional_subelements_ = std::move(octets); }

  void dbg_str(std::ostream& os) const;

  friend bool operator==(const BeaconReport& left, const BeaconReport& right) { return left.equals(right); }

  /// The fields before the optional subelements.
  static constexpr auto table() {
    using serialization::Field;
    using T = BeaconReport;
    return serialization::rows(
        Field{&T::operating_class_},         //
        Field{&T::channel_number_},          //
        Field{&T::measurement_start_time_},  //
        Field{&T::measurement_duration_},    //
        serialization::accessed_by<&T::get_phy_type, &T::get_frame_type>(Field{&T::reported_frame_information_}),
        Field{&T::rcpi_},        //
        Field{&T::rsni_},        //
        Field{&T::bssid_},       //
        Field{&T::antenna_id_},  //
        Field{&T::parent_tsf_});
  }

 private:
  bool equals(const BeaconReport& other) const;

  std::uint8_t operating_class_ = 0;
  std::uint8_t channel_number_ = 0;
  LittleEndian<std::uint64_t> measurement_start_time_;
  LittleEndian<std::uint16_t> measurement_duration_;
  std::uint8_t reported_frame_information_ = 0;
  std::uint8_t rcpi_ = 0;
  std::uint8_t rsni_ = 0;
  MACAddress bssid_;
  std::uint8_t antenna_id_ = 0;
  LittleEndian<std::uint32_t> parent_tsf_;
  std::vector<std::uint8_t> optional_subelements_;
};

QEL_EXPORT std::ostream& operator<<(std::ostream& os, const BeaconReport& report);

}  // namespace qel::ieee802_11
