#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/core/serialization/record.h"
#include "qel/ieee1905_1/vendor/body_rest.h"
#include "qel/ieee1905_1/vendor/vendor_payload.h"

namespace qel::ieee1905_1 {

/// Other values are kept.
enum class QELLinkState : std::uint8_t { DOWN = 0, UP = 1 };

QEL_EXPORT std::string enum_to_string(QELLinkState state);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, QELLinkState state);

/// Whether one local interface has a link.
class QEL_EXPORT QELInterfaceLinkState final : public serialization::Record<QELInterfaceLinkState> {
 public:
  QELInterfaceLinkState() = default;
  QELInterfaceLinkState(const MACAddress& mac, std::string name, QELLinkState state, std::uint32_t speed)
      : mac_(mac), name_(std::move(name)), state_(state), speed_(speed) {}

  const MACAddress& get_mac() const { return mac_; }
  void set_mac(const MACAddress& mac) { mac_ = mac; }
  /// A name over 255 characters cannot be encoded.
  const std::string& get_name() const { return name_; }
  void set_name(const std::string& name) { name_ = name; }
  QELLinkState get_state() const { return state_; }
  void set_state(QELLinkState state) { state_ = state; }
  /// In Mb/s; 0 if unknown or while the link is down.
  std::uint32_t get_speed() const { return speed_; }
  void set_speed(std::uint32_t speed) { speed_ = speed; }

  void dbg_str(std::ostream& os) const;

  static constexpr auto table() {
    using serialization::Field;
    using T = QELInterfaceLinkState;
    return serialization::rows(Field{&T::mac_},                                       //
                               serialization::string8(nullptr, &T::name_, {0, 255}),  //
                               Field{&T::state_},                                     //
                               Field{&T::speed_});
  }

 private:
  MACAddress mac_;
  std::string name_;
  QELLinkState state_ = QELLinkState::DOWN;
  std::uint32_t speed_ = 0;
};

/// The link states of a node's local interfaces (subtype 13). An empty list decodes but does not encode.
class QEL_EXPORT QELLinkStateTLV final : public VendorPayload<QELLinkStateTLV, QELVendorTLVType::QEL_LINK_STATE_TLV> {
 public:
  const std::vector<QELInterfaceLinkState>& get_link_states() const { return link_states_; }
  void add_link_state(const QELInterfaceLinkState& state) { link_states_.push_back(state); }
  const std::vector<std::uint8_t>& get_rest() const { return rest_.octets; }

  static constexpr auto table() {
    using T = QELLinkStateTLV;
    return serialization::rows(serialization::list8({.before = "", .prefix = "\n\t\t"}, &T::link_states_, {1, 255}),
                               RestRow{&T::rest_});
  }

 private:
  std::vector<QELInterfaceLinkState> link_states_;
  BodyRest rest_;
};

}  // namespace qel::ieee1905_1
