#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <iosfwd>

#include "qel/channel/spatial_streams.h"
#include "qel/core/bit_field.h"
#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/table_tlv.h"

namespace qel::ieee1905_1 {

/// AP HT Capabilities TLV (type 134, Multi-AP Specification, 17.2.8): capabilities of a radio as an IEEE 802.11n access
/// point. Reserved bits are kept and compared.
class QEL_EXPORT APHTCapabilitiesTLV final : public TableTLV<APHTCapabilitiesTLV, TLVType::AP_HT_CAPABILITIES> {
 public:
  APHTCapabilitiesTLV() = default;
  explicit APHTCapabilitiesTLV(const MACAddress& radio) : radio_identifier_(radio) {}

  const MACAddress& get_radio_identifier() const { return radio_identifier_; }
  void set_radio_identifier(const MACAddress& radio) { radio_identifier_ = radio; }

  // 1 to 4; see get_stream_count. 0 is stored as 4.
  std::uint8_t get_number_tx_spatial_streams() const { return get_stream_count(flags_, TX_STREAMS); }
  void set_number_tx_spatial_streams(std::uint8_t number) { set_stream_count(flags_, TX_STREAMS, number); }
  std::uint8_t get_number_rx_spatial_streams() const { return get_stream_count(flags_, RX_STREAMS); }
  void set_number_rx_spatial_streams(std::uint8_t number) { set_stream_count(flags_, RX_STREAMS, number); }

  bool get_short_GI_20_mhz() const { return flags_[SHORT_GI_20_MHZ]; }
  void set_short_GI_20_mhz(bool support) { flags_[SHORT_GI_20_MHZ] = support; }
  bool get_short_GI_40_mhz() const { return flags_[SHORT_GI_40_MHZ]; }
  void set_short_GI_40_mhz(bool support) { flags_[SHORT_GI_40_MHZ] = support; }
  bool get_HT_40_mhz() const { return flags_[HT_40_MHZ]; }
  void set_HT_40_mhz(bool support) { flags_[HT_40_MHZ] = support; }

  void dbg_str(std::ostream& os) const override;

  static constexpr auto table() {
    using serialization::Field;
    using T = APHTCapabilitiesTLV;
    return serialization::rows(
        Field{&T::radio_identifier_},  //
        serialization::accessed_by<&T::get_number_tx_spatial_streams, &T::get_number_rx_spatial_streams,
                                   &T::get_short_GI_20_mhz, &T::get_short_GI_40_mhz, &T::get_HT_40_mhz>(
            Field{&T::flags_}));
  }

 private:
  /// Bits of the flags; bit 0 is reserved.
  enum Flag : std::size_t { SHORT_GI_20_MHZ = 3, SHORT_GI_40_MHZ = 2, HT_40_MHZ = 1 };
  static constexpr BitField TX_STREAMS{6, 2};
  static constexpr BitField RX_STREAMS{4, 2};

  MACAddress radio_identifier_;
  std::bitset<8> flags_;
};

/// AP VHT Capabilities TLV (type 135, Multi-AP Specification, 17.2.9): capabilities of a radio as an IEEE 802.11ac
/// access point. Reserved bits are kept and compared.
class QEL_EXPORT APVHTCapabilitiesTLV final : public TableTLV<APVHTCapabilitiesTLV, TLVType::AP_VHT_CAPABILITIES> {
 public:
  /// Supports nothing.
  APVHTCapabilitiesTLV() = default;
  explicit APVHTCapabilitiesTLV(const MACAddress& radio) : radio_identifier_(radio) {}

  const MACAddress& get_radio_identifier() const { return radio_identifier_; }
  void set_radio_identifier(const MACAddress& radio) { radio_identifier_ = radio; }

  const MCSMap& get_vht_tx_mcs() const { return vht_tx_mcs_; }
  void set_vht_tx_mcs(const MCSMap& map) { vht_tx_mcs_ = map; }
  const MCSMap& get_vht_rx_mcs() const { return vht_rx_mcs_; }
  void set_vht_rx_mcs(const MCSMap& map) { vht_rx_mcs_ = map; }

  // The scheme for one number of streams in a map; see get_mcs and set_mcs.
  std::uint8_t get_vht_tx_mcs_spatial_stream(unsigned int nss) const { return get_mcs(vht_tx_mcs_, nss); }
  void set_vht_tx_mcs_spatial_stream(unsigned int nss, VHTMCSBit mcs) { set_mcs(vht_tx_mcs_, nss, mcs); }
  std::uint8_t get_vht_rx_mcs_spatial_stream(unsigned int nss) const { return get_mcs(vht_rx_mcs_, nss); }
  void set_vht_rx_mcs_spatial_stream(unsigned int nss, VHTMCSBit mcs) { set_mcs(vht_rx_mcs_, nss, mcs); }

  // 1 to 8; see get_stream_count. 0 is stored as 8.
  std::uint8_t get_number_tx_spatial_streams() const { return get_stream_count(flags_, TX_STREAMS); }
  void set_number_tx_spatial_streams(std::uint8_t number) { set_stream_count(flags_, TX_STREAMS, number); }
  std::uint8_t get_number_rx_spatial_streams() const { return get_stream_count(flags_, RX_STREAMS); }
  void set_number_rx_spatial_streams(std::uint8_t number) { set_stream_count(flags_, RX_STREAMS, number); }

  bool get_short_gi_80_mhz_supported() const { return flags_[SHORT_GI_80_MHZ]; }
  void set_short_gi_80_mhz_supported(bool supported) { flags_[SHORT_GI_80_MHZ] = supported; }
  bool get_short_gi_160_80_80_mhz_supported() const { return flags_[SHORT_GI_160_80_80_MHZ]; }
  void set_short_gi_160_80_80_mhz_supported(bool supported) { flags_[SHORT_GI_160_80_80_MHZ] = supported; }
  bool get_vht_80_80_supported() const { return flags_[VHT_80_80]; }
  void set_vht_80_80_supported(bool supported) { flags_[VHT_80_80] = supported; }
  bool get_vht_160_supported() const { return flags_[VHT_160]; }
  void set_vht_160_supported(bool supported) { flags_[VHT_160] = supported; }
  bool get_su_beamformer_capable() const { return flags_[SU_BEAMFORMER]; }
  void set_su_beamformer_capable(bool capable) { flags_[SU_BEAMFORMER] = capable; }
  bool get_mu_beamformer_capable() const { return flags_[MU_BEAMFORMER]; }
  void set_mu_beamformer_capable(bool capable) { flags_[MU_BEAMFORMER] = capable; }

  void dbg_str(std::ostream& os) const override;

  static constexpr auto table() {
    using serialization::accessed_by;
    using serialization::Field;
    using T = APVHTCapabilitiesTLV;
    return serialization::rows(
        Field{&T::radio_identifier_},  //
        accessed_by<&T::get_vht_tx_mcs_spatial_stream>(Field{&T::vht_tx_mcs_}),
        accessed_by<&T::get_vht_rx_mcs_spatial_stream>(Field{&T::vht_rx_mcs_}),
        accessed_by<&T::get_number_tx_spatial_streams, &T::get_number_rx_spatial_streams,
                    &T::get_short_gi_80_mhz_supported, &T::get_short_gi_160_80_80_mhz_supported,
                    &T::get_vht_80_80_supported, &T::get_vht_160_supported, &T::get_su_beamformer_capable,
                    &T::get_mu_beamformer_capable>(Field{&T::flags_}));
  }

 private:
  /// Bits of the flags; bits 3 to 0 are reserved.
  enum Flag : std::size_t {
    SHORT_GI_80_MHZ = 9,
    SHORT_GI_160_80_80_MHZ = 8,
    VHT_80_80 = 7,
    VHT_160 = 6,
    SU_BEAMFORMER = 5,
    MU_BEAMFORMER = 4
  };
  static constexpr BitField TX_STREAMS{13, 3};
  static constexpr BitField RX_STREAMS{10, 3};

  MACAddress radio_identifier_;
  MCSMap vht_tx_mcs_ = NO_MCS_SUPPORTED;
  MCSMap vht_rx_mcs_ = NO_MCS_SUPPORTED;
  std::bitset<16> flags_;
};

}  // namespace qel::ieee1905_1
