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

/// Whether there are IEEE 802.1 bridges between two devices. The octet is kept unchanged; any value other than
/// IEEE802_1_BRIDGE and INVALID prints as "no bridge".
enum class IEEE802_1_Bridge : std::uint8_t { NO_IEEE802_1_BRIDGE = 0, IEEE802_1_BRIDGE = 0x80, INVALID = 255 };

QEL_EXPORT std::string enum_to_string(IEEE802_1_Bridge bridge);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, IEEE802_1_Bridge bridge);

/// Interfaces of a device that are bridged with each other.
class QEL_EXPORT DeviceBridgingTuple final : public serialization::Record<DeviceBridgingTuple> {
 public:
  const std::vector<MACAddress>& get_mac_address_vector() const { return mac_address_vector_; }
  void add_mac_address(const MACAddress& mac) { mac_address_vector_.push_back(mac); }

  void dbg_str(std::ostream& os) const;

  static constexpr auto table() {
    return serialization::rows(serialization::list8({}, &DeviceBridgingTuple::mac_address_vector_, {0, 255}));
  }

 private:
  std::vector<MACAddress> mac_address_vector_;
};

/// Device Bridging Capability TLV (type 4, IEEE 1905.1-2013, 6.4.6). Without a tuple, it decodes but does not encode.
class QEL_EXPORT DeviceBridgingCapabilityTLV final
    : public TableTLV<DeviceBridgingCapabilityTLV, TLVType::DEVICE_BRIDGING_CAPABILITY> {
 public:
  const std::vector<DeviceBridgingTuple>& get_bridging_tuple_vector() const { return bridging_tuple_vector_; }
  void add_bridging_tuple(const DeviceBridgingTuple& tuple) { bridging_tuple_vector_.push_back(tuple); }

  static constexpr auto table() {
    return serialization::rows(serialization::list8({.before = "", .prefix = "\n\t{", .suffix = "}"},
                                                    &DeviceBridgingCapabilityTLV::bridging_tuple_vector_, {1, 255}));
  }

 private:
  std::vector<DeviceBridgingTuple> bridging_tuple_vector_;
};

/// Non-1905 Neighbor Device List TLV (type 6, IEEE 1905.1-2013, 6.4.8): devices without 1905.1 that are visible on a
/// local interface. The list extends to the end of the body and may be empty.
class QEL_EXPORT NonIEEE1905NeighborDeviceListTLV final
    : public TableTLV<NonIEEE1905NeighborDeviceListTLV, TLVType::NON_IEEE1905_NEIGHBOR_DEVICE_LIST> {
 public:
  NonIEEE1905NeighborDeviceListTLV() = default;
  explicit NonIEEE1905NeighborDeviceListTLV(const MACAddress& local_mac) : local_MAC_(local_mac) {}

  const MACAddress& get_local_MAC() const { return local_MAC_; }
  void set_local_MAC(const MACAddress& local_mac) { local_MAC_ = local_mac; }
  const std::vector<MACAddress>& get_MAC_address_vector() const { return MAC_address_vector_; }
  void add_mac_address(const MACAddress& mac) { MAC_address_vector_.push_back(mac); }

  static constexpr auto table() {
    using T = NonIEEE1905NeighborDeviceListTLV;
    return serialization::rows(
        serialization::Field{" LOCAL MAC: ", &T::local_MAC_},
        serialization::rest_list({.before = "", .prefix = "\t{", .suffix = "}"}, &T::MAC_address_vector_,
                                 "Invalid length: must fit at least one MACAddress",
                                 "Invalid length: must fit at least a MACAddress"));
  }

 private:
  MACAddress local_MAC_;
  std::vector<MACAddress> MAC_address_vector_;
};

/// A neighbour in the 1905 Neighbor Device TLV.
class QEL_EXPORT ALMAC19051Neighbor final : public serialization::Record<ALMAC19051Neighbor> {
 public:
  ALMAC19051Neighbor() = default;
  ALMAC19051Neighbor(const MACAddress& al_mac, IEEE802_1_Bridge bridge) : AL_MAC_(al_mac), IEEE802_1_bridge_(bridge) {}

  const MACAddress& get_AL_MAC() const { return AL_MAC_; }
  void set_AL_MAC(const MACAddress& al_mac) { AL_MAC_ = al_mac; }
  IEEE802_1_Bridge get_IEEE802_1_bridge() const { return IEEE802_1_bridge_; }
  void set_IEEE802_1_bridge(IEEE802_1_Bridge bridge) { IEEE802_1_bridge_ = bridge; }

  static constexpr auto table() {
    using T = ALMAC19051Neighbor;
    return serialization::rows(serialization::Field{"AL_MAC: ", &T::AL_MAC_},
                               serialization::Field{" IEEE802_1_bridge: ", &T::IEEE802_1_bridge_});
  }

 private:
  MACAddress AL_MAC_;
  IEEE802_1_Bridge IEEE802_1_bridge_ = IEEE802_1_Bridge::NO_IEEE802_1_BRIDGE;
};

/// 1905 Neighbor Device TLV (type 7, IEEE 1905.1-2013, 6.4.9): 1905.1 devices that are visible on a local interface.
/// The list extends to the end of the body and may be empty.
class QEL_EXPORT IEEE1905NeighborDeviceTLV final
    : public TableTLV<IEEE1905NeighborDeviceTLV, TLVType::IEEE1905_NEIGHBOR_DEVICE> {
 public:
  IEEE1905NeighborDeviceTLV() = default;
  explicit IEEE1905NeighborDeviceTLV(const MACAddress& local_mac) : local_MAC_(local_mac) {}

  const MACAddress& get_local_MAC() const { return local_MAC_; }
  void set_local_MAC(const MACAddress& local_mac) { local_MAC_ = local_mac; }
  const std::vector<ALMAC19051Neighbor>& get_AL_MAC_neighbor_vector() const { return AL_MAC_neighbor_vector_; }
  void add_AL_MAC_neighbor(const ALMAC19051Neighbor& neighbor) { AL_MAC_neighbor_vector_.push_back(neighbor); }

  static constexpr auto table() {
    using T = IEEE1905NeighborDeviceTLV;
    return serialization::rows(serialization::Field{" LOCAL MAC: ", &T::local_MAC_},
                               serialization::rest_list({.before = "", .prefix = "\t"}, &T::AL_MAC_neighbor_vector_,
                                                        "Invalid length: must fit at least one MACAddress",
                                                        "Invalid length: must fit an IEEE1905Neighbor element"));
  }

 private:
  MACAddress local_MAC_;
  std::vector<ALMAC19051Neighbor> AL_MAC_neighbor_vector_;
};

}  // namespace qel::ieee1905_1
