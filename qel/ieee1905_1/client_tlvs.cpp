#include "qel/ieee1905_1/client_tlvs.h"

#include <ostream>

#include "qel/core/enum_text.h"
#include "qel/ieee1905_1/table_tlv_impl.h"

namespace qel::ieee1905_1 {

namespace {

constexpr EnumText RESULT_CODES[] = {
    {ClientCapabilityResultCode::SUCCESS, "SUCCESS"},
    {ClientCapabilityResultCode::FAILURE, "FAILURE"},
    {ClientCapabilityResultCode::INVALID, "INVALID"},
};
constexpr EnumText REASON_CODES[] = {
    {ErrorReasonCode::RESERVED, "RESERVED"},
    {ErrorReasonCode::STA_ASSOCIATED_WITH_BSS_OPERATED_BY_AGENT, "STA_ASSOCIATED_WITH_BSS_OPERATED_BY_AGENT"},
    {ErrorReasonCode::STA_NOT_ASSOCIATED_WITH_ANY_BSS_OPERATED_BY_AGENT,
     "STA_NOT_ASSOCIATED_WITH_ANY_BSS_OPERATED_BY_AGENT"},
    {ErrorReasonCode::CLIENT_CAPABILITY_REPORT_UNSPECIFIED_FAILURE, "CLIENT_CAPABILITY_REPORT_UNSPECIFIED_FAILURE"},
    {ErrorReasonCode::BACKHAUL_STEERING_REQUEST_REJECTED_CHANNEL, "BACKHAUL_STEERING_REQUEST_REJECTED_CHANNEL"},
    {ErrorReasonCode::BACKHAUL_STEERING_REQUEST_REJECTED_BSS_SIGNAL, "BACKHAUL_STEERING_REQUEST_REJECTED_BSS_SIGNAL"},
    {ErrorReasonCode::BACKHAUL_STEERING_REQUEST_REJECTED_TARGET_BSS, "BACKHAUL_STEERING_REQUEST_REJECTED_TARGET_BSS"},
    {ErrorReasonCode::INVALID, "INVALID"},
};

[[noreturn]] void refuse(std::uint16_t length, ClientCapabilityResultCode result) {
  throw serialization::SerializationException("Invalid values: length: " + std::to_string(length) +
                                              " result_code: " + enum_to_string(result));
}

}  // namespace

std::string enum_to_string(ClientCapabilityResultCode code) { return enum_text(RESULT_CODES, code); }
std::string enum_to_string(ErrorReasonCode code) { return enum_text(REASON_CODES, code); }
std::ostream& operator<<(std::ostream& os, ClientCapabilityResultCode code) {
  return print_enum(os, RESULT_CODES, code);
}
std::ostream& operator<<(std::ostream& os, ErrorReasonCode code) { return print_enum(os, REASON_CODES, code); }

[[gnu::always_inline]] inline void ClientCapabilityReportTLV::encode_body(serialization::Writer& out) const {
  const bool success = result_code_ == ClientCapabilityResultCode::SUCCESS;
  if (success ? assoc_req_frame_ == nullptr : result_code_ != ClientCapabilityResultCode::FAILURE) {
    serialization::fail("Invalid values");
  }
  out.put(result_code_);
  if (success) {
    assoc_req_frame_->encode_body(out);
  }
}

[[gnu::always_inline]] inline void ClientCapabilityReportTLV::decode_body(serialization::Reader& in,
                                                                          std::uint16_t length) {
  in.get(result_code_);
  const bool success = result_code_ == ClientCapabilityResultCode::SUCCESS;
  if (length == 0 || success != (length > 1)) {
    refuse(length, result_code_);
  }
  if (!success) {
    return;
  }
  const auto frame = std::make_shared<AssocRequestFrame>(length - 1U);
  frame->decode_body(in);
  assoc_req_frame_ = frame;
  if (static_cast<std::uint16_t>(frame->get_length()) != length - 1) {
    serialization::fail("Invalid values (sanity)");
  }
}

void ClientCapabilityReportTLV::dbg_str(std::ostream& os) const {
  TableTLV::dbg_str(os);
  if (result_code_ == ClientCapabilityResultCode::SUCCESS) {
    const std::size_t length = assoc_req_frame_ != nullptr ? assoc_req_frame_->get_length() : 0;
    os << "\n\tRecent AssocReq: " << Decimal(static_cast<std::int64_t>(length)) << " Byte";
  }
}

bool ClientCapabilityReportTLV::equals(const ClientCapabilityReportTLV& other) const {
  if (result_code_ != other.result_code_ || result_code_ != ClientCapabilityResultCode::SUCCESS) {
    return result_code_ == other.result_code_;
  }
  return assoc_req_frame_ != nullptr && other.assoc_req_frame_ != nullptr &&
         *assoc_req_frame_ == *other.assoc_req_frame_;
}

void ClientAssociationEventTLV::dbg_str(std::ostream& os) const {
  TableTLV::dbg_str(os);
  os << " Client " << (get_client_associated_event() ? "joined BSS" : "left BSS");
}

template const serialization::Codec& TableOf<ClientInfoTLV>::codec();
template const serialization::Codec& TableOf<ClientCapabilityReportTLV>::codec();
template const serialization::Codec& TableOf<ClientAssociationEventTLV>::codec();
template const serialization::Codec& TableOf<ErrorCodeTLV>::codec();

}  // namespace qel::ieee1905_1
