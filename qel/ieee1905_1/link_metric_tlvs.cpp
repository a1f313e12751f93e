#include "qel/ieee1905_1/link_metric_tlvs.h"

#include <ostream>

#include "qel/core/enum_text.h"
#include "qel/core/serialization/record_impl.h"
#include "qel/ieee1905_1/table_tlv_impl.h"

namespace qel::ieee1905_1 {

namespace {

constexpr EnumText QUERY_NEIGHBORS[] = {
    {LinkMetricQueryNeighbors::ALL_NEIGHBORS, "ALL_NEIGHBORS"},
    {LinkMetricQueryNeighbors::SPECIFIC_NEIGHBOR, "SPECIFIC_NEIGHBOR"},
    {LinkMetricQueryNeighbors::INVALID, "INVALID"},
};
constexpr EnumText QUERIES[] = {
    {LinkMetricQuery::TX_LINK_METRIC_ONLY, "TX_LINK_METRIC_ONLY"},
    {LinkMetricQuery::RX_LINK_METRIC_ONLY, "RX_LINK_METRIC_ONLY"},
    {LinkMetricQuery::TX_RX_LINK_METRY, "TX_RX_LINK_METRY"},
    {LinkMetricQuery::INVALID, "INVALID"},
};
constexpr EnumText RESULT_CODES[] = {
    {LinkMetricResultCode::INVALID_NEIGHBOR, "INVALID_NEIGHBOR"},
    {LinkMetricResultCode::INVALID, "INVALID"},
};

}  // namespace

std::string enum_to_string(LinkMetricQueryNeighbors neighbors) { return enum_text(QUERY_NEIGHBORS, neighbors); }
std::string enum_to_string(LinkMetricQuery query) { return enum_text(QUERIES, query); }
std::string enum_to_string(LinkMetricResultCode code) { return enum_text(RESULT_CODES, code); }
std::ostream& operator<<(std::ostream& os, LinkMetricQueryNeighbors neighbors) {
  return print_enum(os, QUERY_NEIGHBORS, neighbors);
}
std::ostream& operator<<(std::ostream& os, LinkMetricQuery query) { return print_enum(os, QUERIES, query); }
std::ostream& operator<<(std::ostream& os, LinkMetricResultCode code) { return print_enum(os, RESULT_CODES, code); }

void LinkMetricQueryTLV::dbg_str(std::ostream& os) const {
  TLV::dbg_str(os);
  os << " neighbors: " << query_neighbor_;
  if (query_neighbor_ == LinkMetricQueryNeighbors::SPECIFIC_NEIGHBOR) {
    os << " MAC address: " << AL_MAC_neighbor_;
  }
  os << " metric requested: " << link_metric_;
}

template <class Derived, class Information>
void LinkMetric<Derived, Information>::dbg_str(std::ostream& os) const {
  os << Derived::TITLE << " receiving_al_mac: " << receiving_interface_MAC_
     << " neighbor_al_mac: " << neighbor_interface_MAC_ << " {" << link_metric_information_ << "}";
}

template class LinkMetric<TransmitterLinkMetric, TransmitterLinkMetricInformation>;
template class LinkMetric<ReceiverLinkMetric, ReceiverLinkMetricInformation>;

template const serialization::Codec& TableOf<LinkMetricQueryTLV>::codec();
template const serialization::Codec& TableOf<TransmitterLinkMetricTLV>::codec();
template const serialization::Codec& TableOf<ReceiverLinkMetricTLV>::codec();
template const serialization::Codec& TableOf<LinkMetricResultCodeTLV>::codec();

}  // namespace qel::ieee1905_1

namespace qel::serialization {
template const Codec& Record<ieee1905_1::TransmitterLinkMetric>::codec();
template const Codec& Record<ieee1905_1::ReceiverLinkMetric>::codec();
}  // namespace qel::serialization
