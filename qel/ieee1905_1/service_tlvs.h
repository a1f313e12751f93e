#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

#include "qel/core/export.h"
#include "qel/ieee1905_1/table_tlv.h"

namespace qel::ieee1905_1 {

/// Multi-AP Specification, 17.2.1. Other values are kept.
enum class ServiceType : std::uint8_t { MULTI_AP_CONTROLLER = 0, MULTI_AP_AGENT = 1 };

/// Multi-AP Specification, 17.2.34. Other values are kept.
enum class HigherLayerProtocol : std::uint8_t { RESERVED = 0, TR181_TRANSPORT_PROTOCOL = 1, INVALID = 255 };

QEL_EXPORT std::string enum_to_string(ServiceType service);
QEL_EXPORT std::string enum_to_string(HigherLayerProtocol protocol);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, ServiceType service);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, HigherLayerProtocol protocol);

/// The services that a node offers (type 128) or looks for (type 129; Multi-AP Specification, 17.2.1 and 17.2.2).
/// Without a service, it decodes but does not encode.
template <TLVType TYPE>
class QEL_EXPORT ServiceTLV final : public TableTLV<ServiceTLV<TYPE>, TYPE> {
 public:
  const std::vector<ServiceType>& get_service_vector() const { return service_vector_; }
  void add_service(const ServiceType& service) { service_vector_.push_back(service); }

  static constexpr auto table() {
    return serialization::rows(
        serialization::list8({.before = "", .prefix = " service: "}, &ServiceTLV::service_vector_, {1, 255}));
  }

 private:
  std::vector<ServiceType> service_vector_;
};

using SupportedServiceTLV = ServiceTLV<TLVType::SUPPORTED_SERVICE>;
using SearchedServiceTLV = ServiceTLV<TLVType::SEARCHED_SERVICE>;

/// Higher Layer Data TLV (type 160): carries octets for a protocol above the mesh (Multi-AP Specification, 17.2.34).
/// The payload extends to the end of the body and may be empty.
class QEL_EXPORT HigherLayerDataTLV final : public TableTLV<HigherLayerDataTLV, TLVType::HIGHER_LAYER_DATA> {
 public:
  HigherLayerDataTLV() = default;
  HigherLayerDataTLV(HigherLayerProtocol protocol, std::vector<std::uint8_t> payload)
      : protocol_(protocol), payload_(std::move(payload)) {}

  HigherLayerProtocol get_protocol() const { return protocol_; }
  void set_protocol(HigherLayerProtocol protocol) { protocol_ = protocol; }

  /// Encoding refuses more than 65534 octets.
  const std::vector<std::uint8_t>& get_payload() const { return payload_; }
  void set_payload(std::vector<std::uint8_t> payload) { payload_ = std::move(payload); }

  /// Prints the size of the payload, not its octets.
  void dbg_str(std::ostream& os) const override;

  static constexpr auto table() {
    using T = HigherLayerDataTLV;
    return serialization::rows(
        serialization::Field{" Higher Layer Protocol: ", &T::protocol_},
        serialization::rest_list({}, &T::payload_, "Invalid length, must fit at least protocol byte"));
  }

 private:
  friend serialization::BodyAccess;
  /// The rows of the table, unless the payload is too long.
  inline void encode_body(serialization::Writer& out) const;

  HigherLayerProtocol protocol_ = HigherLayerProtocol::INVALID;
  std::vector<std::uint8_t> payload_;
};

}  // namespace qel::ieee1905_1
