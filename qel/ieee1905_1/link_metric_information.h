#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>

#include "qel/core/export.h"
#include "qel/core/serialization/record.h"
#include "qel/core/serialization/table.h"
#include "qel/ieee1905_1/media_type.h"

namespace qel::ieee1905_1 {

/// Whether there are IEEE 802.1 bridges on the link.
enum class TransmitterLinkMetricBridgeFlags : std::uint8_t {
  NO_IEEE802_1_BRIDGE = 0,
  INCLUDED_IEEE802_1_BRIDGE = 1,
  INVALID = 255
};

QEL_EXPORT std::string enum_to_string(TransmitterLinkMetricBridgeFlags flags);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, TransmitterLinkMetricBridgeFlags flags);

/// Measurements at the transmitting end of a link (IEEE 1905.1-2013, 6.4.11).
class QEL_EXPORT TransmitterLinkMetricInformation final
    : public serialization::Record<TransmitterLinkMetricInformation> {
 public:
  InterfaceType get_interface_type() const { return interface_type_; }
  void set_interface_type(InterfaceType type) { interface_type_ = type; }
  _InterfaceMode get_interface_mode() const { return interface_mode_; }
  void set_interface_mode(_InterfaceMode mode) { interface_mode_ = mode; }
  TransmitterLinkMetricBridgeFlags get_bridge_flag() const { return bridge_flag_; }
  void set_bridge_flag(TransmitterLinkMetricBridgeFlags flag) { bridge_flag_ = flag; }
  std::uint32_t get_packet_erros() const { return packet_errors_; }
  void set_packet_errors(std::uint32_t errors) { packet_errors_ = errors; }
  std::uint32_t get_transmitted_packets() const { return transmitted_packets_; }
  void set_transmitted_packets(std::uint32_t packets) { transmitted_packets_ = packets; }
  /// In Mb/s.
  std::uint16_t get_mac_throughput_capacity() const { return mac_throughput_capacity_; }
  void set_mac_throughput_capacity(std::uint16_t capacity) { mac_throughput_capacity_ = capacity; }
  /// In percent of the time.
  std::uint16_t get_link_availability() const { return link_availability_; }
  void set_link_availability(std::uint16_t availability) { link_availability_ = availability; }
  /// In Mb/s.
  std::uint16_t get_phy_rate() const { return phy_rate_; }
  void set_phy_rate(std::uint16_t rate) { phy_rate_ = rate; }

  void dbg_str(std::ostream& os) const;

  static constexpr auto table() {
    using serialization::accessed_by;
    using serialization::Field;
    using T = TransmitterLinkMetricInformation;
    return serialization::rows(Field{&T::interface_type_},  //
                               Field{&T::interface_mode_},  //
                               Field{&T::bridge_flag_},     //
                               accessed_by<&T::get_packet_erros>(Field{&T::packet_errors_}),
                               Field{&T::transmitted_packets_},      //
                               Field{&T::mac_throughput_capacity_},  //
                               Field{&T::link_availability_},        //
                               Field{&T::phy_rate_});
  }

 private:
  InterfaceType interface_type_ = InterfaceType::ETHERNET;
  _InterfaceMode interface_mode_ = 0;
  TransmitterLinkMetricBridgeFlags bridge_flag_ = TransmitterLinkMetricBridgeFlags::NO_IEEE802_1_BRIDGE;
  std::uint32_t packet_errors_ = 0;
  std::uint32_t transmitted_packets_ = 0;
  std::uint16_t mac_throughput_capacity_ = 0;
  std::uint16_t link_availability_ = 0;
  std::uint16_t phy_rate_ = 0;
};

/// Measurements at the receiving end of a link (IEEE 1905.1-2013, 6.4.12).
class QEL_EXPORT ReceiverLinkMetricInformation final : public serialization::Record<ReceiverLinkMetricInformation> {
 public:
  InterfaceType get_interface_type() const { return interface_type_; }
  void set_interface_type(InterfaceType type) { interface_type_ = type; }
  _InterfaceMode get_interface_mode() const { return interface_mode_; }
  void set_interface_mode(_InterfaceMode mode) { interface_mode_ = mode; }
  std::uint32_t get_packet_erros() const { return packet_errors_; }
  void set_packet_errors(std::uint32_t errors) { packet_errors_ = errors; }
  std::uint32_t get_packets_received() const { return packets_received_; }
  void set_packets_received(std::uint32_t packets) { packets_received_ = packets; }
  /// Received channel power indicator (IEEE 802.11-2020, 9.4.2.37); 255 if there is none.
  std::uint8_t get_RCPI() const { return RCPI_; }
  void set_RCPI(std::uint8_t rcpi) { RCPI_ = rcpi; }

  void dbg_str(std::ostream& os) const;

  static constexpr auto table() {
    using serialization::accessed_by;
    using serialization::Field;
    using T = ReceiverLinkMetricInformation;
    return serialization::rows(Field{&T::interface_type_},  //
                               Field{&T::interface_mode_},  //
                               accessed_by<&T::get_packet_erros>(Field{&T::packet_errors_}),
                               Field{&T::packets_received_},  //
                               Field{&T::RCPI_});
  }

 private:
  InterfaceType interface_type_ = InterfaceType::ETHERNET;
  _InterfaceMode interface_mode_ = 0;
  std::uint32_t packet_errors_ = 0;
  std::uint32_t packets_received_ = 0;
  std::uint8_t RCPI_ = 0;
};

}  // namespace qel::ieee1905_1
