#pragma once

#include <cstdint>

#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/table_tlv.h"

namespace qel::ieee1905_1 {

/// The last TLV of every CMDU (type 0). A length other than 0 is refused.
class QEL_EXPORT EndOfMessageTLV final : public TableTLV<EndOfMessageTLV, TLVType::END_OF_MESSAGE> {
 public:
  static constexpr auto table() { return serialization::rows(); }

 private:
  friend serialization::BodyAccess;
  void decode_body(serialization::Reader& in, std::uint16_t length);
};

/// Skips the TLVs that it is made to read, whatever their type, and adds up their sizes (type 255). It cannot be
/// encoded.
class QEL_EXPORT DummyTLV final : public TLVCommon<TLVType::DUMMY> {
 public:
  explicit DummyTLV(TLVType represented_type = TLVType::DUMMY) : represented_type_(represented_type) {}

  void serialize_impl(std::ostream& os, serialization::SerializationContext& context) const override;
  void deserialize_impl(std::istream& is, serialization::SerializationContext& context) override;
  bool operator==(const TLV& other) const override;

  /// The type octet read most recently.
  TLVType get_represented_type() const { return represented_type_; }
  /// Total octets of the bodies skipped so far.
  std::uint32_t get_consumed_length() const { return consumed_length_; }
  /// As above, including the headers.
  std::uint32_t get_consumed_total_length() const { return consumed_total_length_; }

 private:
  TLVType represented_type_;
  std::uint32_t consumed_length_ = 0;
  std::uint32_t consumed_total_length_ = 0;
};

/// A TLV that holds one MAC address: of an abstraction layer entity (1), an interface (2), a radio (130) or a station
/// (149). Its length is read but not checked.
template <TLVType TYPE>
class QEL_EXPORT MACAddressTLVCommon final : public TableTLV<MACAddressTLVCommon<TYPE>, TYPE> {
 public:
  MACAddressTLVCommon() = default;
  explicit MACAddressTLVCommon(const MACAddress& mac) : mac_(mac) {}

  const MACAddress& get_MAC() const { return mac_; }
  void set_MAC(const MACAddress& mac) { mac_ = mac; }

  static constexpr auto table() {
    return serialization::rows(serialization::Field{" mac: ", &MACAddressTLVCommon::mac_});
  }

 private:
  MACAddress mac_;
};

using ALMACAddressTLV = MACAddressTLVCommon<TLVType::AL_MAC_ADDRESS>;
using InterfaceMACAddressTLV = MACAddressTLVCommon<TLVType::MAC_ADDRESS>;
using APRadioIdentifierTLV = MACAddressTLVCommon<TLVType::AP_RADIO_IDENTIFIER>;
using STAMACAddressTLV = MACAddressTLVCommon<TLVType::STA_MAC_ADDRESS>;

}  // namespace qel::ieee1905_1
