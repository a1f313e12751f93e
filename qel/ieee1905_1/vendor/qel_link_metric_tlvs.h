#pragma once

#include <string>
#include <vector>

#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/core/serialization/record.h"
#include "qel/ieee1905_1/link_metric_information.h"
#include "qel/ieee1905_1/vendor/vendor_payload.h"

namespace qel::ieee1905_1 {

/// The metrics of one link, as in the link metric TLVs, with the names of its two interfaces. Records are ordered by
/// all fields in wire order, names as text.
template <class Derived, class Information>
class QEL_EXPORT QELLinkMetric : public serialization::Record<Derived> {
 public:
  const MACAddress& get_receiving_interface_MAC() const { return receiving_interface_MAC_; }
  void set_receiving_interface_MAC(const MACAddress& mac) { receiving_interface_MAC_ = mac; }
  /// A name over 255 characters cannot be encoded.
  const std::string& get_receiving_interface_name() const { return receiving_interface_name_; }
  void set_receiving_interface_name(const std::string& name) { receiving_interface_name_ = name; }
  const MACAddress& get_neighbor_interface_MAC() const { return neighbor_interface_MAC_; }
  void set_neighbor_interface_MAC(const MACAddress& mac) { neighbor_interface_MAC_ = mac; }
  const std::string& get_neighbor_interface_name() const { return neighbor_interface_name_; }
  void set_neighbor_interface_name(const std::string& name) { neighbor_interface_name_ = name; }
  const Information& get_link_metric_information() const { return link_metric_information_; }
  void set_link_metric_information(const Information& information) { link_metric_information_ = information; }

  void dbg_str(std::ostream& os) const;

  static constexpr auto table() {
    using serialization::Field;
    using serialization::string8;
    using T = QELLinkMetric;
    return serialization::rows(
        Field{&T::receiving_interface_MAC_}, string8(nullptr, &T::receiving_interface_name_, {0, 255}),
        Field{&T::neighbor_interface_MAC_}, string8(nullptr, &T::neighbor_interface_name_, {0, 255}),
        Field{&T::link_metric_information_});
  }

 private:
  MACAddress receiving_interface_MAC_;
  std::string receiving_interface_name_;
  MACAddress neighbor_interface_MAC_;
  std::string neighbor_interface_name_;
  Information link_metric_information_;
};

/// Metrics of what the local interface received from the neighbour.
class QEL_EXPORT QELReceiverLinkMetric final
    : public QELLinkMetric<QELReceiverLinkMetric, ReceiverLinkMetricInformation> {
 public:
  static constexpr const char* TITLE = "QEL-specific ReceiverLinkMetric";
};

/// Metrics of what the local interface sent to the neighbour. The getters call the local interface "receiving" here
/// too.
class QEL_EXPORT QELTransmitterLinkMetric final
    : public QELLinkMetric<QELTransmitterLinkMetric, TransmitterLinkMetricInformation> {
 public:
  static constexpr const char* TITLE = "QEL-specific TransmitterLinkMetric";
};

/// The links between two devices. The records vary in size, so unlike in the standard's TLVs they are counted.
template <class Derived, QELVendorTLVType TYPE, class Metric>
class QEL_EXPORT QELLinkMetricList : public VendorPayload<Derived, TYPE> {
 public:
  const MACAddress& get_local_AL_MAC() const { return local_AL_MAC_; }
  void set_local_AL_MAC(const MACAddress& mac) { local_AL_MAC_ = mac; }
  const MACAddress& get_neighbor_AL_MAC() const { return neighbor_AL_MAC_; }
  void set_neighbor_AL_MAC(const MACAddress& mac) { neighbor_AL_MAC_ = mac; }

  static constexpr auto table() {
    using serialization::Field;
    using T = QELLinkMetricList;
    return serialization::rows(Field{" local AL_MAC: ", &T::local_AL_MAC_},
                               Field{" neighbor AL_MAC: ", &T::neighbor_AL_MAC_},
                               serialization::accessed_by<Derived::LINK_METRICS>(serialization::list16<Derived, Metric>(
                                   {.before = "", .prefix = "\n\t\t"}, &T::link_metrics_, {0, 65535})));
  }

 protected:
  QELLinkMetricList() = default;
  QELLinkMetricList(const MACAddress& local, const MACAddress& neighbor)
      : local_AL_MAC_(local), neighbor_AL_MAC_(neighbor) {}

  const std::vector<Metric>& link_metrics() const { return link_metrics_; }
  void add(const Metric& metric) { link_metrics_.push_back(metric); }

 private:
  MACAddress local_AL_MAC_;
  MACAddress neighbor_AL_MAC_;
  std::vector<Metric> link_metrics_;
};

/// Subtype 4.
class QEL_EXPORT QELReceiverLinkMetricTLV final
    : public QELLinkMetricList<QELReceiverLinkMetricTLV, QELVendorTLVType::QEL_RECEIVER_LINK_METRIC_TLV,
                               QELReceiverLinkMetric> {
 public:
  QELReceiverLinkMetricTLV() = default;
  QELReceiverLinkMetricTLV(const MACAddress& local, const MACAddress& neighbor) : QELLinkMetricList(local, neighbor) {}

  const std::vector<QELReceiverLinkMetric>& get_receiver_link_metric_vector() const { return link_metrics(); }
  void add_receiver_link_metric(const QELReceiverLinkMetric& metric) { add(metric); }

  static constexpr auto LINK_METRICS = &QELReceiverLinkMetricTLV::get_receiver_link_metric_vector;
};

/// Subtype 5.
class QEL_EXPORT QELTransmitterLinkMetricTLV final
    : public QELLinkMetricList<QELTransmitterLinkMetricTLV, QELVendorTLVType::QEL_TRANSMITTER_LINK_METRIC_TLV,
                               QELTransmitterLinkMetric> {
 public:
  QELTransmitterLinkMetricTLV() = default;
  QELTransmitterLinkMetricTLV(const MACAddress& local, const MACAddress& neighbor)
      : QELLinkMetricList(local, neighbor) {}

  const std::vector<QELTransmitterLinkMetric>& get_transmitter_link_metric_vector() const { return link_metrics(); }
  void add_transmitter_link_metric(const QELTransmitterLinkMetric& metric) { add(metric); }

  static constexpr auto LINK_METRICS = &QELTransmitterLinkMetricTLV::get_transmitter_link_metric_vector;
};

}  // namespace qel::ieee1905_1
