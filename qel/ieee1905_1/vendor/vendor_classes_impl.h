#pragma once

#include <tuple>

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

/// The class of each subtype that has one, for the factory and for tools that need every class.
using VendorClasses =
    std::tuple<QELTLVType, QELDeviceInformationTLV, QELIEEE1905NeighborDeviceTLV, QELNonIEEE1905NeighborDeviceListTLV,
               QELReceiverLinkMetricTLV, QELTransmitterLinkMetricTLV, QELWLANOpmodeTLV, QELAPNonOperationalBSSTLV,
               QELBTMQueryTLV, QELMessageTypeTLV, QELAssociatedSTAIdleStateTLV, QELAPAnpiTLV, QELMeshdVersionTLV,
               QELLinkStateTLV, QELBlockedInterfaceListTLV, QELWLANSecurityTLV,
               QELPSQ19NonIEEE1905NeighborDeviceListTLV>;

}  // namespace qel::ieee1905_1
