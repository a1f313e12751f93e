#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/core/serialization/record.h"
#include "qel/ieee1905_1/link_metric_information.h"
#include "qel/ieee1905_1/table_tlv.h"

namespace qel::ieee1905_1 {

enum class LinkMetricQueryNeighbors : std::uint8_t { ALL_NEIGHBORS = 0, SPECIFIC_NEIGHBOR = 1, INVALID = 255 };

/// The last name is spelt in this system's own way.
enum class LinkMetricQuery : std::uint8_t {
  TX_LINK_METRIC_ONLY = 0,
  RX_LINK_METRIC_ONLY = 1,
  TX_RX_LINK_METRY = 2,
  INVALID = 255
};

enum class LinkMetricResultCode : std::uint8_t { INVALID_NEIGHBOR = 0, INVALID = 255 };

QEL_EXPORT std::string enum_to_string(LinkMetricQueryNeighbors neighbors);
QEL_EXPORT std::string enum_to_string(LinkMetricQuery query);
QEL_EXPORT std::string enum_to_string(LinkMetricResultCode code);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, LinkMetricQueryNeighbors neighbors);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, LinkMetricQuery query);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, LinkMetricResultCode code);

/// Link Metric Query TLV (type 8, IEEE 1905.1-2013, 6.4.10). The body always has 8 octets: the neighbour's address is
/// sent, as zeros, even if the query is for all neighbours, and the decoder relies on it.
class QEL_EXPORT LinkMetricQueryTLV final : public TableTLV<LinkMetricQueryTLV, TLVType::LINK_METRIC_QUERY> {
 public:
  /// Both enumerations are INVALID, the address is zero.
  LinkMetricQueryTLV() = default;
  explicit LinkMetricQueryTLV(const MACAddress& neighbor) : AL_MAC_neighbor_(neighbor) {}

  LinkMetricQueryNeighbors get_query_neighbor() const { return query_neighbor_; }
  void set_query_neighbor(LinkMetricQueryNeighbors neighbors) { query_neighbor_ = neighbors; }
  const MACAddress& get_AL_MAC_neighbor() const { return AL_MAC_neighbor_; }
  void set_AL_MAC_neighbor(const MACAddress& neighbor) { AL_MAC_neighbor_ = neighbor; }
  LinkMetricQuery get_link_metric() const { return link_metric_; }
  void set_link_metric(LinkMetricQuery metric) { link_metric_ = metric; }

  /// Prints the address only if the query is for a specific neighbour.
  void dbg_str(std::ostream& os) const override;

  static constexpr auto table() {
    using serialization::Field;
    using T = LinkMetricQueryTLV;
    return serialization::rows(Field{&T::query_neighbor_},   //
                               Field{&T::AL_MAC_neighbor_},  //
                               Field{&T::link_metric_});
  }

 private:
  LinkMetricQueryNeighbors query_neighbor_ = LinkMetricQueryNeighbors::INVALID;
  MACAddress AL_MAC_neighbor_;
  LinkMetricQuery link_metric_ = LinkMetricQuery::INVALID;
};

/// The metrics of one link: the addresses of the local and the neighbour's interface, and the measurements.
template <class Derived, class Information>
class QEL_EXPORT LinkMetric : public serialization::Record<Derived> {
 public:
  const MACAddress& get_receiving_interface_MAC() const { return receiving_interface_MAC_; }
  void set_receiving_interface_MAC(const MACAddress& mac) { receiving_interface_MAC_ = mac; }
  const MACAddress& get_neighbor_interface_MAC() const { return neighbor_interface_MAC_; }
  void set_neighbor_interface_MAC(const MACAddress& mac) { neighbor_interface_MAC_ = mac; }
  const Information& get_link_metric_information() const { return link_metric_information_; }
  void set_link_metric_information(const Information& information) { link_metric_information_ = information; }
  void set_link_metric_information(Information&& information) { link_metric_information_ = std::move(information); }

  void dbg_str(std::ostream& os) const;

  static constexpr auto table() {
    using serialization::Field;
    using T = LinkMetric;
    return serialization::rows(Field{&T::receiving_interface_MAC_},  //
                               Field{&T::neighbor_interface_MAC_},   //
                               Field{&T::link_metric_information_});
  }

 private:
  MACAddress receiving_interface_MAC_;
  MACAddress neighbor_interface_MAC_;
  Information link_metric_information_;
};

/// Metrics of what the local interface sent to the neighbour.
class QEL_EXPORT TransmitterLinkMetric final
    : public LinkMetric<TransmitterLinkMetric, TransmitterLinkMetricInformation> {
 public:
  static constexpr const char* TITLE = "TransmitterLinkMetric";
};

/// Metrics of what the local interface received from the neighbour.
class QEL_EXPORT ReceiverLinkMetric final : public LinkMetric<ReceiverLinkMetric, ReceiverLinkMetricInformation> {
 public:
  static constexpr const char* TITLE = "ReceiverLinkMetric";
};

/// Transmitter Link Metric TLV (type 9, IEEE 1905.1-2013, 6.4.11): the links between two devices. The list extends to
/// the end of the body and may be empty.
class QEL_EXPORT TransmitterLinkMetricTLV final
    : public TableTLV<TransmitterLinkMetricTLV, TLVType::TRANSMITTER_LINK_METRIC> {
 public:
  TransmitterLinkMetricTLV() = default;
  explicit TransmitterLinkMetricTLV(const MACAddress& local, const MACAddress& neighbor = {})
      : local_AL_MAC_(local), neighbor_AL_MAC_(neighbor) {}

  const MACAddress& get_local_AL_MAC() const { return local_AL_MAC_; }
  void set_local_AL_MAC(const MACAddress& mac) { local_AL_MAC_ = mac; }
  const MACAddress& get_neighbor_AL_MAC() const { return neighbor_AL_MAC_; }
  void set_neighbor_AL_MAC(const MACAddress& mac) { neighbor_AL_MAC_ = mac; }
  const std::vector<TransmitterLinkMetric>& get_transmitter_link_metric_vector() const {
    return transmitter_link_metric_vector_;
  }
  void add_transmitter_link_metric(const TransmitterLinkMetric& metric) {
    transmitter_link_metric_vector_.push_back(metric);
  }

  static constexpr auto table() {
    using T = TransmitterLinkMetricTLV;
    return serialization::rows(
        serialization::Field{" local AL_MAC: ", &T::local_AL_MAC_},
        serialization::Field{" neighbor AL_MAC: ", &T::neighbor_AL_MAC_},
        serialization::rest_list({.before = "", .prefix = "\n\t"}, &T::transmitter_link_metric_vector_,
                                 "Invalid length: must fit at least two MACAddresses",
                                 "Invalid length: must fit an TransmitterLinkMetric element"));
  }

 private:
  MACAddress local_AL_MAC_;
  MACAddress neighbor_AL_MAC_;
  std::vector<TransmitterLinkMetric> transmitter_link_metric_vector_;
};

/// Receiver Link Metric TLV (type 10, IEEE 1905.1-2013, 6.4.12), like type 9.
class QEL_EXPORT ReceiverLinkMetricTLV final : public TableTLV<ReceiverLinkMetricTLV, TLVType::RECEIVER_LINK_METRIC> {
 public:
  ReceiverLinkMetricTLV() = default;
  explicit ReceiverLinkMetricTLV(const MACAddress& local, const MACAddress& neighbor = {})
      : local_AL_MAC_(local), neighbor_AL_MAC_(neighbor) {}

  const MACAddress& get_local_AL_MAC() const { return local_AL_MAC_; }
  void set_local_AL_MAC(const MACAddress& mac) { local_AL_MAC_ = mac; }
  const MACAddress& get_neighbor_AL_MAC() const { return neighbor_AL_MAC_; }
  void set_neighbor_AL_MAC(const MACAddress& mac) { neighbor_AL_MAC_ = mac; }
  const std::vector<ReceiverLinkMetric>& get_receiver_link_metric_vector() const {
    return receiver_link_metric_vector_;
  }
  void add_receiver_link_metric(const ReceiverLinkMetric& metric) { receiver_link_metric_vector_.push_back(metric); }

  static constexpr auto table() {
    using T = ReceiverLinkMetricTLV;
    return serialization::rows(
        serialization::Field{" local AL_MAC: ", &T::local_AL_MAC_},
        serialization::Field{" neighbor AL_MAC: ", &T::neighbor_AL_MAC_},
        serialization::rest_list({.before = "", .prefix = "\n\t"}, &T::receiver_link_metric_vector_,
                                 "Invalid length: must fit at least two MACAddresses",
                                 "Invalid length: must fit a ReceiverLinkMetric"));
  }

 private:
  MACAddress local_AL_MAC_;
  MACAddress neighbor_AL_MAC_;
  std::vector<ReceiverLinkMetric> receiver_link_metric_vector_;
};

/// Link Metric Result Code TLV (type 12, IEEE 1905.1-2013, 6.4.13).
class QEL_EXPORT LinkMetricResultCodeTLV final
    : public TableTLV<LinkMetricResultCodeTLV, TLVType::LINK_METRIC_RESULT_CODE> {
 public:
  LinkMetricResultCodeTLV() = default;
  explicit LinkMetricResultCodeTLV(const LinkMetricResultCode& code) : result_code_(code) {}

  LinkMetricResultCode get_result_code() const { return result_code_; }
  void set_result_code(LinkMetricResultCode code) { result_code_ = code; }

  static constexpr auto table() {
    return serialization::rows(serialization::Field{" result_code: ", &LinkMetricResultCodeTLV::result_code_});
  }

 private:
  LinkMetricResultCode result_code_ = LinkMetricResultCode::INVALID;
};

}  // namespace qel::ieee1905_1
