#include "qel/channel/wlan_radio.h"

#include <ostream>

#include "qel/channel/wlan_types.h"
#include "qel/core/mac_address.h"
#include "qel/core/serialization/json_member.h"
#include "qel/core/serialization/yajl_wrappers.h"

namespace qel {

namespace {

bool adds_streams(const NSSTable& offered, const NSSTable& own) { return offered.intersect(own) != offered; }

}  // namespace

bool WLANRadio::can_update_from(const WLANRadio& other) const {
  return radio_id_.can_update_from(other.radio_id_) || adds_streams(other.rx_nss_table_, rx_nss_table_) ||
         adds_streams(other.tx_nss_table_, tx_nss_table_) || (other.supported_phymodes_ & ~supported_phymodes_).any() ||
         channel_list_.can_update_from(other.channel_list_);
}

void WLANRadio::update(const WLANRadio& other) {
  channel_list_.update(other.channel_list_);
  radio_id_.update(other.radio_id_);
  rx_nss_table_ = rx_nss_table_.merge(other.rx_nss_table_);
  tx_nss_table_ = tx_nss_table_.merge(other.tx_nss_table_);
  supported_phymodes_ |= other.supported_phymodes_;
}

bool WLANRadio::equivalent_to(const WLANRadio& other) const {
  return radio_id_.equivalent_to(other.radio_id_) && rx_nss_table_ == other.rx_nss_table_ &&
         tx_nss_table_ == other.tx_nss_table_ && supported_phymodes_ == other.supported_phymodes_ &&
         channel_list_.equivalent_to(other.channel_list_);
}

bool WLANRadio::operator==(const WLANRadio& other) const {
  return radio_id_ == other.radio_id_ && rx_nss_table_ == other.rx_nss_table_ && tx_nss_table_ == other.tx_nss_table_ &&
         supported_phymodes_ == other.supported_phymodes_ && channel_list_ == other.channel_list_;
}

bool WLANRadio::operator<(const WLANRadio& other) const {
  return other.radio_id_.is_set() && (!radio_id_.is_set() || radio_id_.get() < other.radio_id_.get());
}

void WLANRadio::dbg_str(std::ostream& os) const {
  os << "radio identifier: ";
  if (radio_id_.is_set()) {
    os << radio_id_.get();
  } else {
    os << "---";
  }
  os << ", rx NSS: [" << rx_nss_table_ << "], tx NSS: [" << tx_nss_table_ << "], phymodes:";
  for (std::size_t mode = 0; mode < supported_phymodes_.size(); ++mode) {
    if (supported_phymodes_[mode]) {
      os << ' ' << static_cast<WLANPhymode>(mode);
    }
  }
  os << ", channels:\n" << channel_list_;
}

std::ostream& operator<<(std::ostream& os, const WLANRadio& radio) {
  radio.dbg_str(os);
  return os;
}

std::ostream& operator<<(std::ostream& os, const std::array<unsigned char, 6>& octets) {
  return os << MACAddress(octets);
}

void WLANRadio::serialize_impl(serialization::YAJLStream& stream, serialization::SerializationContext& context) const {
  serialization::wrap_in_yajl_object(stream, [&] {
    if (radio_id_.is_set()) {
      write_member(stream, context, "radio_id", MACAddress(radio_id_.get()));
    } else {
      write_member(stream, context, "radio_id", nullptr);
    }
    write_member(stream, context, "rx_nss_table", rx_nss_table_);
    write_member(stream, context, "tx_nss_table", tx_nss_table_);
    write_member(stream, context, "supported_phymodes", supported_phymodes_.to_ulong());
    write_member(stream, context, "channel_list", channel_list_);
  });
}

}  // namespace qel
