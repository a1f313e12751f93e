#include "qel/ieee1905_1/vendor/vendor_factory.h"

#include <algorithm>
#include <array>
#include <ostream>
#include <type_traits>

#include "qel/ieee1905_1/vendor/vendor_classes_impl.h"

namespace qel::ieee1905_1 {

namespace {

template <class T>
std::unique_ptr<VendorSpecific> make() {
  return std::make_unique<T>();
}

/// A subtype known by name. Without a class, it is skipped like an unknown one.
struct Row {
  QELVendorTLVType type;
  const char* name;
  std::unique_ptr<VendorSpecific> (*make)() = nullptr;
};

using enum QELVendorTLVType;

constexpr Row NAMES[] = {
    {QEL_TLV_TYPE, "QEL_TLV_TYPE"},
    {QEL_DEVICE_INFORMATION_TLV, "QEL_DEVICE_INFORMATION_TLV"},
    {QEL_IEEE1905_NEIGHBOR_DEVICE_TLV, "QEL_IEEE1905_NEIGHBOR_DEVICE_TLV"},
    {QEL_NON_IEEE1905_NEIGHBOR_DEVICE_LIST_TLV, "QEL_NON_IEEE1905_NEIGHBOR_DEVICE_LIST_TLV"},
    {QEL_RECEIVER_LINK_METRIC_TLV, "QEL_RECEIVER_LINK_METRIC_TLV"},
    {QEL_TRANSMITTER_LINK_METRIC_TLV, "QEL_TRANSMITTER_LINK_METRIC_TLV"},
    {QEL_AP_WLAN_OPMODE_TLV, "QEL_AP_WLAN_OPMODE_TLV"},
    {QEL_AP_NON_OPERATIONAL_BSS_TLV, "QEL_AP_NON_OPERATIONAL_BSS_TLV"},
    {QEL_BTM_QUERY_TLV, "QEL_BTM_QUERY_TLV"},
    {QEL_MESSAGETYPE_TLV, "QEL_MESSAGETYPE_TLV"},
    {QEL_ASSOCIATED_STA_IDLE_STATE_TLV, "QEL_ASSOCIATED_STA_IDLE_STATE_TLV"},
    {QEL_AP_ANPI_TLV, "QEL_AP_ANPI_TLV"},
    {QEL_MESHD_VERSION_TLV, "QEL_MESHD_VERSION_TLV"},
    {QEL_LINK_STATE_TLV, "QEL_LINK_STATE_TLV"},
    {QEL_BLOCKED_INTERFACE_LIST_TLV, "QEL_BLOCKED_INTERFACE_LIST_TLV"},
    {QEL_AP_WLAN_SECURITY_TLV, "QEL_AP_WLAN_SECURITY_TLV"},
    {QEL_PSQ19_NON_IEEE1905_NEIGHBOR_DEVICE_LIST_TLV, "QEL_PSQ19_NON_IEEE1905_NEIGHBOR_DEVICE_LIST_TLV"},
    {VENDOR_UNKNOWN, "VENDOR_UNKNOWN"},
};

template <class... T>
constexpr auto with_makers(std::type_identity<std::tuple<T...>>) {
  auto rows = std::to_array(NAMES);
  (..., (std::ranges::find(rows, T::TYPE, &Row::type)->make = make<T>));
  return rows;
}

constexpr auto ROWS = with_makers(std::type_identity<VendorClasses>());

const Row* find(QELVendorTLVType type) {
  const auto row = std::ranges::find(ROWS, type, &Row::type);
  return row == ROWS.end() ? nullptr : &*row;
}

}  // namespace

std::unique_ptr<VendorSpecific> create_vendor_specific(QELVendorTLVType type) {
  const Row* row = find(type);
  return row != nullptr && row->make != nullptr ? row->make() : nullptr;
}

std::string enum_to_string(QELVendorTLVType type) {
  const Row* row = find(type);
  return row != nullptr ? row->name : std::to_string(static_cast<unsigned int>(type));
}

std::ostream& operator<<(std::ostream& os, QELVendorTLVType type) { return os << enum_to_string(type); }

}  // namespace qel::ieee1905_1
