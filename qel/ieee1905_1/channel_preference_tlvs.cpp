#include "qel/ieee1905_1/channel_preference_tlvs.h"

#include <ostream>
#include <utility>

#include "qel/core/enum_text.h"
#include "qel/core/serialization/record_impl.h"
#include "qel/core/text.h"
#include "qel/ieee1905_1/table_tlv_impl.h"

namespace qel::ieee1905_1 {

namespace {

using enum ChannelPreferenceReasonCode;

constexpr EnumText REASON_CODES[] = {
    {UNSPECIFIED, "UNSPECIFIED"},
    {PROXIMATE_NON_80211_INTERFERER, "PROXIMATE_NON_80211_INTERFERER"},
    {INTRA_NETWORK_80211_OBSS_INTERFERENCE_MANAGEMENT, "INTRA_NETWORK_80211_OBSS_INTERFERENCE_MANAGEMENT"},
    {EXTERNAL_NETWORK_80211_OBSS_INTERFERENCE_MANAGEMENT, "EXTERNAL_NETWORK_80211_OBSS_INTERFERENCE_MANAGEMENT"},
    {REDUCED_COVERAGE, "REDUCED_COVERAGE"},
    {REDUCED_THROUGHPUT, "REDUCED_THROUGHPUT"},
    {INDEVICE_INTERFERER_WITHIN_AP, "INDEVICE_INTERFERER_WITHIN_AP"},
    {OPERATION_DISALLOWED_RADAR_DFS_CHANNEL, "OPERATION_DISALLOWED_RADAR_DFS_CHANNEL"},
    {OPERATION_WOULD_PREVENT_BACKHAUL_OPERATION, "OPERATION_WOULD_PREVENT_BACKHAUL_OPERATION"},
    {IMMEDIATE_OPERATION_POSSIBLE_ON_DFS_CHANNEL, "IMMEDIATE_OPERATION_POSSIBLE_ON_DFS_CHANNEL"},
    {DFS_CHANNEL_STATE_UNKNOWN, "DFS_CHANNEL_STATE_UNKNOWN"},
    {CONTROLLER_DFS_CHANNEL_CLEAR_INDICATION, "CONTROLLER_DFS_CHANNEL_CLEAR_INDICATION"},
    {RESERVED_BIT_12, "RESERVED BIT 12"},
    {RESERVED_BIT_13, "RESERVED BIT 13"},
    {RESERVED_BIT_14, "RESERVED BIT 14"},
    {RESERVED_BIT_15, "RESERVED BIT 15"},
    {INVALID_MAX, "INVALID MAX"},
};

}  // namespace

std::string enum_to_string(ChannelPreferenceReasonCode reason) { return enum_text(REASON_CODES, reason); }
std::ostream& operator<<(std::ostream& os, ChannelPreferenceReasonCode reason) {
  return print_enum(os, REASON_CODES, reason);
}

void ChannelPreference::deserialize_impl(std::istream& is, serialization::SerializationContext& context) {
  ChannelPreference decoded;
  decoded.Record::deserialize_impl(is, context);
  *this = std::move(decoded);
}

void ChannelPreference::dbg_str(std::ostream& os) const {
  Record::dbg_str(os);
  os << " Preference: " << Decimal(get_preference_score()) << " ReasonCode: " << get_reason_code();
}

template const serialization::Codec& TableOf<ChannelPreferenceTLV>::codec();
template const serialization::Codec& TableOf<RadioOperationRestrictionTLV>::codec();

}  // namespace qel::ieee1905_1

namespace qel::serialization {
template const Codec& Record<ieee1905_1::ChannelPreference>::codec();
template const Codec& Record<ieee1905_1::RestrictedChannel>::codec();
template const Codec& Record<ieee1905_1::RestrictedOperatingClass>::codec();
}  // namespace qel::serialization
