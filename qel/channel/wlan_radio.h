#pragma once

#include <array>
#include <bitset>
#include <iosfwd>
#include <utility>

#include "qel/channel/channel_list.h"
#include "qel/channel/dynamic_value.h"
#include "qel/channel/nss_table.h"
#include "qel/core/export.h"
#include "qel/core/serialization/json_serializable.h"

namespace qel {

/// One radio of a mesh node.
class QEL_EXPORT WLANRadio final : public serialization::JSONSerializable {
 public:
  /// Formatted like a MAC address, and often one.
  using RadioID = DynamicValue<std::array<unsigned char, 6>, SetOnceStrategy>;

  explicit WLANRadio(const RadioID& radio_id) : radio_id_(radio_id) {}

  WLANRadio(const RadioID& radio_id, const NSSTable& rx_nss_table, const NSSTable& tx_nss_table,
            const std::bitset<6>& supported_phymodes, ChannelList channel_list)
      : radio_id_(radio_id),
        rx_nss_table_(rx_nss_table),
        tx_nss_table_(tx_nss_table),
        supported_phymodes_(supported_phymodes),
        channel_list_(std::move(channel_list)) {}

  const RadioID& get_radio_id() const { return radio_id_; }

  const NSSTable& get_rx_nss_table() const { return rx_nss_table_; }
  void set_rx_nss_table(const NSSTable& table) { rx_nss_table_ = table; }
  const NSSTable& get_tx_nss_table() const { return tx_nss_table_; }
  void set_tx_nss_table(const NSSTable& table) { tx_nss_table_ = table; }

  /// `WLANPhymode` bits.
  const std::bitset<6>& get_supported_phymodes() const { return supported_phymodes_; }
  void set_supported_phymodes(const std::bitset<6>& modes) { supported_phymodes_ = modes; }

  const ChannelList& get_channel_list() const { return channel_list_; }
  void set_channel_list(ChannelList channel_list) { channel_list_ = std::move(channel_list); }

  bool shares_channel_with(const WLANRadio& other) const {
    return channel_list_.has_common_channel_with(other.channel_list_);
  }

  /// True if `update(other)` would change something.
  bool can_update_from(const WLANRadio& other) const;

  /// Takes the identifier only if none is set, adds the other's streams and PHY modes, and updates the channel list.
  void update(const WLANRadio& other);

  /// True if the values are equal, whatever their timestamps.
  bool equivalent_to(const WLANRadio& other) const;

  /// Compares values and timestamps.
  bool operator==(const WLANRadio& other) const;

  /// Orders by identifier alone; a radio without one comes first.
  bool operator<(const WLANRadio& other) const;

  void dbg_str(std::ostream& os) const;

  void serialize_impl(serialization::YAJLStream& stream, serialization::SerializationContext& context) const override;

 private:
  RadioID radio_id_;
  NSSTable rx_nss_table_;
  NSSTable tx_nss_table_;
  std::bitset<6> supported_phymodes_;
  ChannelList channel_list_;
};

QEL_EXPORT std::ostream& operator<<(std::ostream& os, const WLANRadio& radio);

/// Prints like a MACAddress.
QEL_EXPORT std::ostream& operator<<(std::ostream& os, const std::array<unsigned char, 6>& octets);

}  // namespace qel
