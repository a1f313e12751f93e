#pragma once

#include <bitset>
#include <string>
#include <utility>
#include <vector>

#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/core/serialization/record.h"
#include "qel/ieee1905_1/media_type.h"
#include "qel/ieee1905_1/vendor/vendor_payload.h"

namespace qel::ieee1905_1 {

/// A local interface that a node blocks, and how.
class QEL_EXPORT QELBlockedInterface final : public serialization::Record<QELBlockedInterface> {
 public:
  QELBlockedInterface() = default;
  QELBlockedInterface(InterfaceType type, const MACAddress& mac, std::string name,
                      const std::bitset<16>& filter_actions)
      : type_(type), mac_address_(mac), name_(std::move(name)), filter_actions_(filter_actions) {}

  InterfaceType get_type() const { return type_; }
  void set_type(InterfaceType type) { type_ = type; }
  const MACAddress& get_mac_address() const { return mac_address_; }
  void set_mac_address(const MACAddress& mac) { mac_address_ = mac; }
  /// A name over 255 characters cannot be encoded.
  const std::string& get_name() const { return name_; }
  void set_name(const std::string& name) { name_ = name; }
  /// The nodes agree on the meaning of the bits; here they are only carried.
  const std::bitset<16>& get_filter_actions() const { return filter_actions_; }
  void set_filter_actions(const std::bitset<16>& filter_actions) { filter_actions_ = filter_actions; }

  void dbg_str(std::ostream& os) const;

  static constexpr auto table() {
    using serialization::Field;
    using T = QELBlockedInterface;
    return serialization::rows(Field{&T::type_},         //
                               Field{&T::mac_address_},  //
                               serialization::string8(nullptr, &T::name_, {0, 255, "Invalid string length"}),
                               Field{&T::filter_actions_});
  }

 private:
  InterfaceType type_ = InterfaceType::ETHERNET;
  MACAddress mac_address_;
  std::string name_;
  std::bitset<16> filter_actions_;
};

/// The interfaces that a node blocks (subtype 14). An empty list decodes but does not encode: a node that blocks
/// nothing sends none.
class QEL_EXPORT QELBlockedInterfaceListTLV final
    : public VendorPayload<QELBlockedInterfaceListTLV, QELVendorTLVType::QEL_BLOCKED_INTERFACE_LIST_TLV> {
 public:
  const std::vector<QELBlockedInterface>& get_blocked_interfaces() const { return blocked_interfaces_; }
  void add_blocked_interface(const QELBlockedInterface& blocked) { blocked_interfaces_.push_back(blocked); }
  void add_blocked_interface(QELBlockedInterface&& blocked) { blocked_interfaces_.push_back(std::move(blocked)); }

  static constexpr auto table() {
    return serialization::rows(serialization::list8({.before = ""}, &QELBlockedInterfaceListTLV::blocked_interfaces_,
                                                    {1, 255, "Invalid length"}));
  }

 private:
  std::vector<QELBlockedInterface> blocked_interfaces_;
};

}  // namespace qel::ieee1905_1
