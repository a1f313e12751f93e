#include "qel/ieee1905_1/channel_preference_tlvs.h"

#include <ostream>
#include <utility>

#include "qel/core/enum_text.h"
#include "qel/core/serialization/record_impl.h"
#include "qel/core/text.h"
#include "qel/ieee1905_1/table_tlv_impl.h"

namespace qel::ieee1905_1 {

namespace {

constexpr EnumText REASON_CODES[] = {
    {0, "UNSPECIFIED"},
    {1, "PROXIMATE_NON_80211_INTERFERER"},
    {2, "INTRA_NETWORK_80211_OBSS_INTERFERENCE_MANAGEMENT"},
    {3, "EXTERNAL_NETWORK_80211_OBSS_INTERFERENCE_MANAGEMENT"},
    {4, "REDUCED_COVERAGE"},
    {5, "REDUCED_THROUGHPUT"},
    {6, "INDEVICE_INTERFERER_WITHIN_AP"},
    {7, "OPERATION_DISALLOWED_RADAR_DFS_CHANNEL"},
    {8, "OPERATION_WOULD_PREVENT_BACKHAUL_OPERATION"},
    {9, "IMMEDIATE_OPERATION_POSSIBLE_ON_DFS_CHANNEL"},
    {10, "DFS_CHANNEL_STATE_UNKNOWN"},
    {11, "CONTROLLER_DFS_CHANNEL_CLEAR_INDICATION"},
    {12, "RESERVED BIT 12"},
    {13, "RESERVED BIT 13"},
    {14, "RESERVED BIT 14"},
    {15, "RESERVED BIT 15"},
    {16, "INVALID MAX"},
};

}  // namespace

std::string enum_to_string(ChannelPreferenceReasonCode reason) { return enum_text(REASON_CODES, reason); }
std::ostream& operator<<(std::ostream& os, ChannelPreferenceReasonCode reason) {
  return print_enum(os, REASON_CODES, reason);
}

[[gnu::always_inline]] inline void ChannelPreference::decode_body(serialization::Reader& in) {
  ChannelPreference decoded;
  serialization::decode_rows(in, decoded, 0);
  *this = std::move(decoded);
}

void ChannelPreference::dbg_str(std::ostream& os) const {
  Record::dbg_str(os);
  os << " Preference: " << Decimal(get_preference_score()) << " ReasonCode: " << get_reason_code();
}

template const serialization::Codec& TableTLV<ChannelPreferenceTLV, TLVType::CHANNEL_PREFERENCE>::codec();
template const serialization::Codec&
TableTLV<RadioOperationRestrictionTLV, TLVType::RADIO_OPERATION_RESTRICTION>::codec();

}  // namespace qel::ieee1905_1

template const qel::serialization::Codec& qel::serialization::Record<qel::ieee1905_1::ChannelPreference>::codec();
template const qel::serialization::Codec& qel::serialization::Record<qel::ieee1905_1::RestrictedChannel>::codec();
template const qel::serialization::Codec&
qel::serialization::Record<qel::ieee1905_1::RestrictedOperatingClass>::codec();
