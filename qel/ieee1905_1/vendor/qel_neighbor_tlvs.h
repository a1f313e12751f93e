#pragma once

#include <cstdint>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/neighbor_tlvs.h"
#include "qel/ieee1905_1/vendor/body_rest.h"
#include "qel/ieee1905_1/vendor/vendor_payload.h"

namespace qel::ieee1905_1 {

/// The neighbours seen on a local interface: the interface's address and name, then neighbours up to the end of the
/// body. The sub-length is checked against what was read. Derived defines the texts of the refusals and the accessor of
/// the neighbours. The list may be empty.
template <class Derived, QELVendorTLVType TYPE, class Neighbor>
class QEL_EXPORT QELNeighborList : public VendorPayload<Derived, TYPE> {
 public:
  const MACAddress& get_local_MAC() const { return local_MAC_; }
  void set_local_MAC(const MACAddress& local_mac) { local_MAC_ = local_mac; }
  /// A name over 255 characters cannot be encoded.
  const std::string& get_local_interface_name() const { return local_interface_name_; }
  void set_local_interface_name(const std::string& name) { local_interface_name_ = name; }

  static constexpr auto table() {
    using serialization::Field;
    using T = QELNeighborList;
    return serialization::rows(
        Field{" local mac: ", &T::local_MAC_}, serialization::string8(" (", &T::local_interface_name_, {0, 255}),
        serialization::accessed_by<Derived::NEIGHBORS>(serialization::rest_list<Derived, Neighbor>(
            Derived::NEIGHBORS_TEXT, &T::neighbors_, Derived::TOO_SHORT, Derived::UNEVEN)));
  }

 protected:
  QELNeighborList() = default;
  QELNeighborList(const MACAddress& local_mac, std::string local_interface_name)
      : local_MAC_(local_mac), local_interface_name_(std::move(local_interface_name)) {}

  const std::vector<Neighbor>& neighbors() const { return neighbors_; }
  void add(const Neighbor& neighbor) { neighbors_.push_back(neighbor); }

 private:
  friend Derived;
  friend serialization::BodyAccess;
  /// Fields read before a failure are kept, but the neighbours are replaced only as a whole.
  inline void decode_body(serialization::Reader& in, std::uint16_t length);

  MACAddress local_MAC_;
  std::string local_interface_name_;
  std::vector<Neighbor> neighbors_;
};

/// The 1905.1 devices seen on an interface (subtype 2).
class QEL_EXPORT QELIEEE1905NeighborDeviceTLV final
    : public QELNeighborList<QELIEEE1905NeighborDeviceTLV, QELVendorTLVType::QEL_IEEE1905_NEIGHBOR_DEVICE_TLV,
                             ALMAC19051Neighbor> {
 public:
  QELIEEE1905NeighborDeviceTLV() = default;
  QELIEEE1905NeighborDeviceTLV(const MACAddress& local_mac, const std::string& local_interface_name)
      : QELNeighborList(local_mac, local_interface_name) {}

  const std::vector<ALMAC19051Neighbor>& get_AL_MAC_neighbor_vector() const { return neighbors(); }
  void add_AL_MAC_neighbor(const ALMAC19051Neighbor& neighbor) { add(neighbor); }

  static constexpr auto NEIGHBORS = &QELIEEE1905NeighborDeviceTLV::get_AL_MAC_neighbor_vector;
  static constexpr serialization::ListText NEIGHBORS_TEXT{.before = ") {", .prefix = "\n\t\t", .after = "}"};
  static constexpr const char* TOO_SHORT = "Invalid length: does not fit for MACAddress, length value and string.";
  static constexpr const char* UNEVEN = "Invalid length: must fit an IEEE1905Neighbor element";
};

/// The devices without 1905.1 seen on an interface (subtype 3).
class QEL_EXPORT QELNonIEEE1905NeighborDeviceListTLV final
    : public QELNeighborList<QELNonIEEE1905NeighborDeviceListTLV,
                             QELVendorTLVType::QEL_NON_IEEE1905_NEIGHBOR_DEVICE_LIST_TLV, MACAddress> {
 public:
  QELNonIEEE1905NeighborDeviceListTLV() = default;
  QELNonIEEE1905NeighborDeviceListTLV(const MACAddress& local_mac, const std::string& local_interface_name)
      : QELNeighborList(local_mac, local_interface_name) {}

  const std::vector<MACAddress>& get_MAC_address_vector() const { return neighbors(); }
  void add_mac_address(const MACAddress& mac) { add(mac); }

  static constexpr auto NEIGHBORS = &QELNonIEEE1905NeighborDeviceListTLV::get_MAC_address_vector;
  static constexpr serialization::ListText NEIGHBORS_TEXT{
      .before = ")\n\t\t{", .prefix = "", .suffix = ",", .after = "}"};
  static constexpr const char* TOO_SHORT = "Invalid length: must fit a MACAddress, length value and string.";
  static constexpr const char* UNEVEN = "Invalid length: must fit at a MACAddress";  ///< the system's own wording
};

/// The devices without 1905.1 that PSQ19 found on an interface (subtype 16). The layout is that of subtype 3, except
/// that up to five octets after the last whole address are kept as rest.
class QEL_EXPORT QELPSQ19NonIEEE1905NeighborDeviceListTLV final
    : public QELNeighborList<QELPSQ19NonIEEE1905NeighborDeviceListTLV,
                             QELVendorTLVType::QEL_PSQ19_NON_IEEE1905_NEIGHBOR_DEVICE_LIST_TLV, MACAddress> {
 public:
  QELPSQ19NonIEEE1905NeighborDeviceListTLV() = default;
  QELPSQ19NonIEEE1905NeighborDeviceListTLV(const MACAddress& local_mac, const std::string& local_interface_name)
      : QELNeighborList(local_mac, local_interface_name) {}

  const std::vector<MACAddress>& get_MAC_address_vector() const { return neighbors(); }
  void add_mac_address(const MACAddress& mac) { add(mac); }
  const std::vector<std::uint8_t>& get_rest() const { return rest_.octets; }

  static constexpr auto NEIGHBORS = &QELPSQ19NonIEEE1905NeighborDeviceListTLV::get_MAC_address_vector;
  static constexpr serialization::ListText NEIGHBORS_TEXT = QELNonIEEE1905NeighborDeviceListTLV::NEIGHBORS_TEXT;
  static constexpr const char* TOO_SHORT = QELNonIEEE1905NeighborDeviceListTLV::TOO_SHORT;
  static constexpr const char* UNEVEN = nullptr;  ///< accepts any rest

  static constexpr auto table() {
    return std::tuple_cat(QELNeighborList::table(),
                          serialization::rows(RestRow{&QELPSQ19NonIEEE1905NeighborDeviceListTLV::rest_}));
  }

 private:
  friend serialization::BodyAccess;
  inline void decode_body(serialization::Reader& in, std::uint16_t length);

  BodyRest rest_;
};

}  // namespace qel::ieee1905_1
