#include "qel/ieee1905_1/vendor/vendor_factory.h"

#include <algorithm>
#include <iterator>
#include <ostream>

#include "qel/ieee1905_1/vendor/qel_ap_non_operational_bss_tlv.h"
#include "qel/ieee1905_1/vendor/qel_blocked_interface_list_tlv.h"
#include "qel/ieee1905_1/vendor/qel_btm_query_tlv.h"
#include "qel/ieee1905_1/vendor/qel_device_information_tlv.h"
#include "qel/ieee1905_1/vendor/qel_link_metric_tlvs.h"
#include "qel/ieee1905_1/vendor/qel_link_state_tlv.h"
#include "qel/ieee1905_1/vendor/qel_meshd_version_tlv.h"
#include "qel/ieee1905_1/vendor/qel_message_type_tlv.h"
#include "qel/ieee1905_1/vendor/qel_neighbor_tlvs.h"
#include "qel/ieee1905_1/vendor/qel_radio_state_tlvs.h"
#include "qel/ieee1905_1/vendor/qel_tlv_type.h"

namespace qel::ieee1905_1 {

namespace {

template <class T>
std::unique_ptr<VendorSpecific> make() {
  return std::make_unique<T>();
}

/// A subtype that is known by name. Without a maker it is skipped as an unknown one is.
struct Row {
  QELVendorTLVType type;
  const char* name;
  std::unique_ptr<VendorSpecific> (*make)();
};

using enum QELVendorTLVType;

constexpr Row ROWS[] = {
    {QEL_TLV_TYPE, "QEL_TLV_TYPE", make<QELTLVType>},
    {QEL_DEVICE_INFORMATION_TLV, "QEL_DEVICE_INFORMATION_TLV", make<QELDeviceInformationTLV>},
    {QEL_IEEE1905_NEIGHBOR_DEVICE_TLV, "QEL_IEEE1905_NEIGHBOR_DEVICE_TLV", make<QELIEEE1905NeighborDeviceTLV>},
    {QEL_NON_IEEE1905_NEIGHBOR_DEVICE_LIST_TLV, "QEL_NON_IEEE1905_NEIGHBOR_DEVICE_LIST_TLV",
     make<QELNonIEEE1905NeighborDeviceListTLV>},
    {QEL_RECEIVER_LINK_METRIC_TLV, "QEL_RECEIVER_LINK_METRIC_TLV", make<QELReceiverLinkMetricTLV>},
    {QEL_TRANSMITTER_LINK_METRIC_TLV, "QEL_TRANSMITTER_LINK_METRIC_TLV", make<QELTransmitterLinkMetricTLV>},
    {QEL_AP_WLAN_OPMODE_TLV, "QEL_AP_WLAN_OPMODE_TLV", make<QELWLANOpmodeTLV>},
    {QEL_AP_NON_OPERATIONAL_BSS_TLV, "QEL_AP_NON_OPERATIONAL_BSS_TLV", make<QELAPNonOperationalBSSTLV>},
    {QEL_BTM_QUERY_TLV, "QEL_BTM_QUERY_TLV", make<QELBTMQueryTLV>},
    {QEL_MESSAGETYPE_TLV, "QEL_MESSAGETYPE_TLV", make<QELMessageTypeTLV>},
    {QEL_ASSOCIATED_STA_IDLE_STATE_TLV, "QEL_ASSOCIATED_STA_IDLE_STATE_TLV", make<QELAssociatedSTAIdleStateTLV>},
    {QEL_AP_ANPI_TLV, "QEL_AP_ANPI_TLV", make<QELAPAnpiTLV>},
    {QEL_MESHD_VERSION_TLV, "QEL_MESHD_VERSION_TLV", make<QELMeshdVersionTLV>},
    {QEL_LINK_STATE_TLV, "QEL_LINK_STATE_TLV", make<QELLinkStateTLV>},
    {QEL_BLOCKED_INTERFACE_LIST_TLV, "QEL_BLOCKED_INTERFACE_LIST_TLV", make<QELBlockedInterfaceListTLV>},
    {QEL_AP_WLAN_SECURITY_TLV, "QEL_AP_WLAN_SECURITY_TLV", make<QELWLANSecurityTLV>},
    {QEL_PSQ19_NON_IEEE1905_NEIGHBOR_DEVICE_LIST_TLV, "QEL_PSQ19_NON_IEEE1905_NEIGHBOR_DEVICE_LIST_TLV",
     make<QELPSQ19NonIEEE1905NeighborDeviceListTLV>},
    {VENDOR_UNKNOWN, "VENDOR_UNKNOWN", nullptr},
};

const Row* find(QELVendorTLVType type) {
  const auto* row = std::find_if(std::begin(ROWS), std::end(ROWS), [type](const Row& r) { return r.type == type; });
  return row == std::end(ROWS) ? nullptr : row;
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
