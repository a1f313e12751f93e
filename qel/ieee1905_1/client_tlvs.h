#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <utility>

#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/table_tlv.h"
#include "qel/ieee802_11/assoc_request_frame.h"

namespace qel::ieee1905_1 {

/// Multi-AP Specification, 17.2.19. Other values are kept.
enum class ClientCapabilityResultCode : std::uint8_t { SUCCESS = 0, FAILURE = 1, INVALID = 255 };

/// Multi-AP Specification, 17.2.36. Other values are kept.
enum class ErrorReasonCode : std::uint8_t {
  RESERVED = 0,
  STA_ASSOCIATED_WITH_BSS_OPERATED_BY_AGENT = 1,
  STA_NOT_ASSOCIATED_WITH_ANY_BSS_OPERATED_BY_AGENT = 2,
  CLIENT_CAPABILITY_REPORT_UNSPECIFIED_FAILURE = 3,
  BACKHAUL_STEERING_REQUEST_REJECTED_CHANNEL = 4,
  BACKHAUL_STEERING_REQUEST_REJECTED_BSS_SIGNAL = 5,
  BACKHAUL_STEERING_REQUEST_REJECTED_TARGET_BSS = 6,
  INVALID = 255
};

QEL_EXPORT std::string enum_to_string(ClientCapabilityResultCode code);
QEL_EXPORT std::string enum_to_string(ErrorReasonCode code);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, ClientCapabilityResultCode code);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, ErrorReasonCode code);

/// Client Info TLV (type 144): a station and the BSS it is associated with (Multi-AP Specification, 17.2.18).
class QEL_EXPORT ClientInfoTLV final : public TableTLV<ClientInfoTLV, TLVType::CLIENT_INFO> {
 public:
  ClientInfoTLV() = default;
  ClientInfoTLV(const MACAddress& bssid, const MACAddress& client) : bssid_(bssid), client_mac_(client) {}

  const MACAddress& get_bssid() const { return bssid_; }
  void set_bssid(const MACAddress& bssid) { bssid_ = bssid; }
  const MACAddress& get_client_mac() const { return client_mac_; }
  void set_client_mac(const MACAddress& client) { client_mac_ = client; }

  static constexpr auto table() {
    using serialization::Field;
    using T = ClientInfoTLV;
    return serialization::rows(Field{" BSSID: ", &T::bssid_},  //
                               Field{" Client: ", &T::client_mac_});
  }

 private:
  MACAddress bssid_;
  MACAddress client_mac_;
};

/// Client Capability Report TLV (type 145): the body of the last association request that a station sent, or an
/// indication that none is known (Multi-AP Specification, 17.2.19).
///
/// A body follows the result code if and only if that is SUCCESS, and takes the rest of the TLV. Decoding refuses
/// anything else, and a body without its fixed fields. Of the other results, only FAILURE can be encoded.
class QEL_EXPORT ClientCapabilityReportTLV final
    : public TableTLV<ClientCapabilityReportTLV, TLVType::CLIENT_CAPABILITY_REPORT> {
 public:
  using AssocRequestFrame = ieee802_11::AssocRequestFrame;

  ClientCapabilityReportTLV() = default;
  explicit ClientCapabilityReportTLV(ClientCapabilityResultCode result) : result_code_(result) {}

  ClientCapabilityResultCode get_result_code() const { return result_code_; }
  void set_result_code(ClientCapabilityResultCode result) { result_code_ = result; }

  /// Null if there is none. Only used with SUCCESS; other results ignore it.
  const std::shared_ptr<const AssocRequestFrame>& get_assoc_req_frame() const { return assoc_req_frame_; }
  void set_assoc_req_frame(std::shared_ptr<const AssocRequestFrame> frame) { assoc_req_frame_ = std::move(frame); }

  /// Prints the size of the frame, not its elements.
  void dbg_str(std::ostream& os) const override;

  static constexpr auto table() {
    return serialization::rows(serialization::Field{" ResultCode:", &ClientCapabilityReportTLV::result_code_});
  }

 private:
  friend serialization::BodyAccess;
  inline void encode_body(serialization::Writer& out) const;
  inline void decode_body(serialization::Reader& in, std::uint16_t length);
  /// A SUCCESS without a frame is not a report and equals nothing, not even itself. Without SUCCESS, frames are not
  /// compared.
  bool equals(const ClientCapabilityReportTLV& other) const;

  ClientCapabilityResultCode result_code_ = ClientCapabilityResultCode::INVALID;
  std::shared_ptr<const AssocRequestFrame> assoc_req_frame_;
};

/// Client Association Event TLV (type 146): a station has joined or left a BSS (Multi-AP Specification, 17.2.20).
class QEL_EXPORT ClientAssociationEventTLV final
    : public TableTLV<ClientAssociationEventTLV, TLVType::CLIENT_ASSOCIATION_EVENT> {
 public:
  ClientAssociationEventTLV() = default;
  ClientAssociationEventTLV(const MACAddress& client, const MACAddress& bssid, bool joined)
      : client_mac_(client), bssid_(bssid) {
    set_client_associated_event(joined);
  }

  const MACAddress& get_client_mac() const { return client_mac_; }
  void set_client_mac(const MACAddress& client) { client_mac_ = client; }
  const MACAddress& get_bssid() const { return bssid_; }
  void set_bssid(const MACAddress& bssid) { bssid_ = bssid; }

  /// True if the station has joined. The reserved bits of the octet are kept.
  bool get_client_associated_event() const { return flags_[JOINED]; }
  void set_client_associated_event(bool joined) { flags_[JOINED] = joined; }

  void dbg_str(std::ostream& os) const override;

  static constexpr auto table() {
    using serialization::Field;
    using T = ClientAssociationEventTLV;
    return serialization::rows(Field{" Client: ", &T::client_mac_},  //
                               Field{" BSSID: ", &T::bssid_},        //
                               serialization::accessed_by<&T::get_client_associated_event>(Field{&T::flags_}));
  }

 private:
  static constexpr std::size_t JOINED = 7;

  MACAddress client_mac_;
  MACAddress bssid_;
  std::bitset<8> flags_;
};

/// Error Code TLV (type 163): why a request about a station was refused (Multi-AP Specification, 17.2.36).
class QEL_EXPORT ErrorCodeTLV final : public TableTLV<ErrorCodeTLV, TLVType::ERROR_CODE> {
 public:
  ErrorCodeTLV() = default;
  ErrorCodeTLV(ErrorReasonCode reason, const MACAddress& sta) : reason_code_(reason), sta_mac_(sta) {}

  ErrorReasonCode get_reason_code() const { return reason_code_; }
  void set_reason_code(ErrorReasonCode reason) { reason_code_ = reason; }
  const MACAddress& get_sta_mac() const { return sta_mac_; }
  void set_sta_mac(const MACAddress& sta) { sta_mac_ = sta; }

  static constexpr auto table() {
    using serialization::Field;
    using T = ErrorCodeTLV;
    return serialization::rows(Field{" Reason Code: ", &T::reason_code_},  //
                               Field{" STA MAC: ", &T::sta_mac_});
  }

 private:
  ErrorReasonCode reason_code_ = ErrorReasonCode::INVALID;
  MACAddress sta_mac_;
};

}  // namespace qel::ieee1905_1
