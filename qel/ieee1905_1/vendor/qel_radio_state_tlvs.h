#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

#include "qel/channel/wlan_types.h"
#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/core/serialization/record.h"
#include "qel/ieee1905_1/vendor/vendor_payload.h"
#include "qel/ieee802_11/rsn_element.h"

namespace qel::ieee1905_1 {

/// The noise on the channel of a BSS (subtype 11).
class QEL_EXPORT QELAPAnpiTLV final : public VendorPayload<QELAPAnpiTLV, QELVendorTLVType::QEL_AP_ANPI_TLV> {
 public:
  QELAPAnpiTLV() = default;
  QELAPAnpiTLV(const MACAddress& bssid, std::uint8_t anpi) : bssid_mac_(bssid), anpi_(anpi) {}

  const MACAddress& get_bssid_mac() const { return bssid_mac_; }
  void set_bssid_mac(const MACAddress& bssid) { bssid_mac_ = bssid; }
  /// The average noise power indicator as reported by the radio; here it is only carried.
  std::uint8_t get_anpi() const { return anpi_; }
  void set_anpi(std::uint8_t anpi) { anpi_ = anpi; }

  static constexpr auto table() {
    using T = QELAPAnpiTLV;
    return serialization::rows(serialization::Field{"\n\t\tBSSID:", &T::bssid_mac_},
                               serialization::Field{" ANPI: ", &T::anpi_});
  }

 private:
  MACAddress bssid_mac_;
  std::uint8_t anpi_ = 0;
};

enum class QELSpecificIdleState : std::uint8_t { NOT_IDLE = 0, IDLE = 1, INVALID_MAX = 2 };

QEL_EXPORT std::string enum_to_string(QELSpecificIdleState state);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, QELSpecificIdleState state);

/// Whether a station is idle on one of its links.
class QEL_EXPORT WLANLinkIdleState final : public serialization::Record<WLANLinkIdleState> {
 public:
  WLANLinkIdleState() = default;
  WLANLinkIdleState(const MACAddress& bssid, QELSpecificIdleState state) : bssid_mac_(bssid), idle_state_(state) {}

  const MACAddress& get_bssid_mac() const { return bssid_mac_; }
  void set_bssid_mac(const MACAddress& bssid) { bssid_mac_ = bssid; }
  QELSpecificIdleState get_idle_state() const { return idle_state_; }
  void set_idle_state(QELSpecificIdleState state) { idle_state_ = state; }

  static constexpr auto table() {
    using T = WLANLinkIdleState;
    return serialization::rows(serialization::Field{"BSSID: ", &T::bssid_mac_},
                               serialization::Field{" IdleState: ", &T::idle_state_});
  }

 private:
  MACAddress bssid_mac_;
  QELSpecificIdleState idle_state_ = QELSpecificIdleState::NOT_IDLE;
};

/// The idle states of a station's links (subtype 10).
class QEL_EXPORT QELAssociatedSTAIdleStateTLV final
    : public VendorPayload<QELAssociatedSTAIdleStateTLV, QELVendorTLVType::QEL_ASSOCIATED_STA_IDLE_STATE_TLV> {
 public:
  static constexpr std::size_t MAX_IDLE_STATES = 20;

  QELAssociatedSTAIdleStateTLV() = default;
  explicit QELAssociatedSTAIdleStateTLV(const MACAddress& sta_mac) : sta_mac_(sta_mac) {}

  const MACAddress& get_sta_mac() const { return sta_mac_; }
  void set_sta_mac(const MACAddress& mac) { sta_mac_ = mac; }
  const std::vector<WLANLinkIdleState>& get_wlan_link_idle_state_vector() const { return wlan_link_idle_state_vector_; }
  /// Beyond MAX_IDLE_STATES, logs a message and adds nothing.
  void add_wlan_link_idle_state(const WLANLinkIdleState& state);

  static constexpr auto table() {
    using T = QELAssociatedSTAIdleStateTLV;
    return serialization::rows(
        serialization::Field{"\n\t\tSTA: ", &T::sta_mac_},
        serialization::list8({.before = "", .prefix = "\n\t\t\t"}, &T::wlan_link_idle_state_vector_,
                             {0, MAX_IDLE_STATES, "Invalid size", serialization::SECURE_LIMIT_ERROR}));
  }

 private:
  MACAddress sta_mac_;
  std::vector<WLANLinkIdleState> wlan_link_idle_state_vector_;
};

/// The operating mode of one WLAN interface.
class QEL_EXPORT WLANOpmodeTLVEntry final : public serialization::Record<WLANOpmodeTLVEntry> {
 public:
  WLANOpmodeTLVEntry() = default;
  WLANOpmodeTLVEntry(const MACAddress& mac, WLANOpmode opmode) : mac_(mac), opmode_(opmode) {}

  const MACAddress& get_mac() const { return mac_; }
  void set_mac(const MACAddress& mac) { mac_ = mac; }
  WLANOpmode get_opmode() const { return opmode_; }
  void set_opmode(WLANOpmode opmode) { opmode_ = opmode; }

  static constexpr auto table() {
    using T = WLANOpmodeTLVEntry;
    return serialization::rows(serialization::Field{"WLANInterface: ", &T::mac_},
                               serialization::Field{" Opmode: ", &T::opmode_});
  }

 private:
  MACAddress mac_;
  WLANOpmode opmode_ = WLANOpmode::INVALID;
};

/// The operating modes of a node's WLAN interfaces (subtype 6). An empty list decodes but does not encode: a node
/// without WLAN sends none.
class QEL_EXPORT QELWLANOpmodeTLV final
    : public VendorPayload<QELWLANOpmodeTLV, QELVendorTLVType::QEL_AP_WLAN_OPMODE_TLV> {
 public:
  const std::vector<WLANOpmodeTLVEntry>& get_entries() const { return entries_; }
  void add_entry(const WLANOpmodeTLVEntry& entry) { entries_.push_back(entry); }

  static constexpr auto table() {
    return serialization::rows(
        serialization::list8({.before = "", .prefix = "\n\t\t"}, &QELWLANOpmodeTLV::entries_, {1, 255}));
  }

 private:
  std::vector<WLANOpmodeTLVEntry> entries_;
};

/// The security of one WLAN interface: on the wire, its address and an RSN element, which has its own length. Entries
/// are ordered by address alone.
class QEL_EXPORT WLANSecurityTLVEntry final : public serialization::Record<WLANSecurityTLVEntry> {
 public:
  WLANSecurityTLVEntry() = default;
  WLANSecurityTLVEntry(const MACAddress& mac, ieee802_11::IEEE802_11_RSNElement rsn_ie)
      : mac_(mac), rsn_ie_(std::move(rsn_ie)) {}

  const MACAddress& get_mac() const { return mac_; }
  MACAddress& get_mac() { return mac_; }
  void set_mac(const MACAddress& mac) { mac_ = mac; }
  const ieee802_11::IEEE802_11_RSNElement& get_rsn_ie() const { return rsn_ie_; }
  ieee802_11::IEEE802_11_RSNElement& get_rsn_ie() { return rsn_ie_; }
  void set_rsn_ie(const ieee802_11::IEEE802_11_RSNElement& rsn_ie) { rsn_ie_ = rsn_ie; }

  /// Prints the security mode of the element.
  void dbg_str(std::ostream& os) const;

  static constexpr auto table() { return serialization::rows(serialization::Field{&WLANSecurityTLVEntry::mac_}); }

 private:
  friend serialization::BodyAccess;
  static constexpr std::size_t MIN_WIRE_SIZE = 10;
  /// The rows of the table, then the element.
  inline void encode_body(serialization::Writer& out) const;
  inline void decode_body(serialization::Reader& in);
  bool equals(const WLANSecurityTLVEntry& other) const { return mac_ == other.mac_ && rsn_ie_ == other.rsn_ie_; }

  MACAddress mac_;
  ieee802_11::IEEE802_11_RSNElement rsn_ie_;
};

/// The security of a node's WLAN interfaces (subtype 15). An empty list decodes but does not encode, as in subtype 6.
class QEL_EXPORT QELWLANSecurityTLV final
    : public VendorPayload<QELWLANSecurityTLV, QELVendorTLVType::QEL_AP_WLAN_SECURITY_TLV> {
 public:
  const std::vector<WLANSecurityTLVEntry>& get_entries() const { return entries_; }
  void add_entry(const WLANSecurityTLVEntry& entry) { entries_.push_back(entry); }

  static constexpr auto table() {
    return serialization::rows(
        serialization::list8({.before = "", .prefix = "\n\t\t"}, &QELWLANSecurityTLV::entries_, {1, 255}));
  }

 private:
  std::vector<WLANSecurityTLVEntry> entries_;
};

}  // namespace qel::ieee1905_1
