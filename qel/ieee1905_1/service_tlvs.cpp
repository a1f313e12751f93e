#include "qel/ieee1905_1/service_tlvs.h"

#include <ostream>

#include "qel/core/enum_text.h"
#include "qel/ieee1905_1/table_tlv_impl.h"

namespace qel::ieee1905_1 {

namespace {

constexpr EnumText SERVICES[] = {
    {ServiceType::MULTI_AP_CONTROLLER, "MULTI_AP_CONTROLLER"},
    {ServiceType::MULTI_AP_AGENT, "MULTI_AP_AGENT"},
};
constexpr EnumText PROTOCOLS[] = {
    {HigherLayerProtocol::RESERVED, "RESERVED"},
    {HigherLayerProtocol::TR181_TRANSPORT_PROTOCOL, "TR181_TRANSPORT_PROTOCOL"},
    {HigherLayerProtocol::INVALID, "INVALID"},
};

}  // namespace

std::string enum_to_string(ServiceType service) { return enum_text(SERVICES, service); }
std::string enum_to_string(HigherLayerProtocol protocol) { return enum_text(PROTOCOLS, protocol); }
std::ostream& operator<<(std::ostream& os, ServiceType service) { return print_enum(os, SERVICES, service); }
std::ostream& operator<<(std::ostream& os, HigherLayerProtocol protocol) { return print_enum(os, PROTOCOLS, protocol); }

[[gnu::always_inline]] inline void HigherLayerDataTLV::encode_body(serialization::Writer& out) const {
  serialization::check_count(payload_.size(), {0, 65534});
  serialization::encode_rows(out, *this);
}

void HigherLayerDataTLV::dbg_str(std::ostream& os) const {
  TableTLV::dbg_str(os);
  os << " Datasize: " << Decimal(static_cast<std::int64_t>(payload_.size()));
}

template const serialization::Codec& TableOf<SupportedServiceTLV>::codec();
template const serialization::Codec& TableOf<SearchedServiceTLV>::codec();
template const serialization::Codec& TableOf<HigherLayerDataTLV>::codec();

}  // namespace qel::ieee1905_1
