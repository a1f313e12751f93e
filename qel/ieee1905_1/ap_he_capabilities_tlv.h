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

/// AP HE Capabilities TLV (type 136, Multi-AP Specification, 17.2.10): capabilities of a radio as an IEEE 802.11ax
/// access point.
///
/// Only the flags determine which maps are encoded, whatever the maps contain: those for 80 MHz always, those for 160
/// and 80+80 MHz if their flag is set. Decoding reads as many maps as the length of the set indicates, and refuses maps
/// whose flag is not set. If a flag is set but its maps are missing, the maps stay unchanged.
class QEL_EXPORT APHECapabilitiesTLV final : public TableTLV<APHECapabilitiesTLV, TLVType::AP_HE_CAPABILITIES> {
 public:
  /// Supports nothing.
  APHECapabilitiesTLV() = default;
  explicit APHECapabilitiesTLV(const MACAddress& radio) : radio_identifier_(radio) {}

  const MACAddress& get_radio_identifier() const { return radio_identifier_; }
  void set_radio_identifier(const MACAddress& radio) { radio_identifier_ = radio; }

  const MCSMap& get_he_tx_mcs_80() const { return tx_mcs_80_; }
  void set_he_tx_mcs_80(const MCSMap& map) { tx_mcs_80_ = map; }
  const MCSMap& get_he_rx_mcs_80() const { return rx_mcs_80_; }
  void set_he_rx_mcs_80(const MCSMap& map) { rx_mcs_80_ = map; }
  const MCSMap& get_he_tx_mcs_160() const { return tx_mcs_160_; }
  void set_he_tx_mcs_160(const MCSMap& map) { tx_mcs_160_ = map; }
  const MCSMap& get_he_rx_mcs_160() const { return rx_mcs_160_; }
  void set_he_rx_mcs_160(const MCSMap& map) { rx_mcs_160_ = map; }
  const MCSMap& get_he_tx_mcs_8080() const { return tx_mcs_8080_; }
  void set_he_tx_mcs_8080(const MCSMap& map) { tx_mcs_8080_ = map; }
  const MCSMap& get_he_rx_mcs_8080() const { return rx_mcs_8080_; }
  void set_he_rx_mcs_8080(const MCSMap& map) { rx_mcs_8080_ = map; }

  // The scheme for one number of streams in a map; see get_mcs and set_mcs.
  std::uint8_t get_he_tx_mcs_spatial_stream_80(unsigned int nss) const { return get_mcs(tx_mcs_80_, nss); }
  void set_he_tx_mcs_spatial_stream_80(unsigned int nss, HEMCSBit mcs) { set_mcs(tx_mcs_80_, nss, mcs); }
  std::uint8_t get_he_rx_mcs_spatial_stream_80(unsigned int nss) const { return get_mcs(rx_mcs_80_, nss); }
  void set_he_rx_mcs_spatial_stream_80(unsigned int nss, HEMCSBit mcs) { set_mcs(rx_mcs_80_, nss, mcs); }
  std::uint8_t get_he_tx_mcs_spatial_stream_160(unsigned int nss) const { return get_mcs(tx_mcs_160_, nss); }
  void set_he_tx_mcs_spatial_stream_160(unsigned int nss, HEMCSBit mcs) { set_mcs(tx_mcs_160_, nss, mcs); }
  std::uint8_t get_he_rx_mcs_spatial_stream_160(unsigned int nss) const { return get_mcs(rx_mcs_160_, nss); }
  void set_he_rx_mcs_spatial_stream_160(unsigned int nss, HEMCSBit mcs) { set_mcs(rx_mcs_160_, nss, mcs); }
  std::uint8_t get_he_tx_mcs_spatial_stream_8080(unsigned int nss) const { return get_mcs(tx_mcs_8080_, nss); }
  void set_he_tx_mcs_spatial_stream_8080(unsigned int nss, HEMCSBit mcs) { set_mcs(tx_mcs_8080_, nss, mcs); }
  std::uint8_t get_he_rx_mcs_spatial_stream_8080(unsigned int nss) const { return get_mcs(rx_mcs_8080_, nss); }
  void set_he_rx_mcs_spatial_stream_8080(unsigned int nss, HEMCSBit mcs) { set_mcs(rx_mcs_8080_, nss, mcs); }

  // 1 to 8; see get_stream_count. 0 is stored as 8.
  std::uint8_t get_number_tx_spatial_streams() const { return get_stream_count(flags_, TX_STREAMS); }
  void set_number_tx_spatial_streams(std::uint8_t number) { set_stream_count(flags_, TX_STREAMS, number); }
  std::uint8_t get_number_rx_spatial_streams() const { return get_stream_count(flags_, RX_STREAMS); }
  void set_number_rx_spatial_streams(std::uint8_t number) { set_stream_count(flags_, RX_STREAMS, number); }

  bool get_he_80_80_mhz_support() const { return flags_[HE_80_80_MHZ]; }
  void set_he_80_80_mhz_support(bool support) { flags_[HE_80_80_MHZ] = support; }
  bool get_he_160_mhz_support() const { return flags_[HE_160_MHZ]; }
  void set_he_160_mhz_support(bool support) { flags_[HE_160_MHZ] = support; }
  bool get_su_beamformer_capable() const { return flags_[SU_BEAMFORMER]; }
  void set_su_beamformer_capable(bool capable) { flags_[SU_BEAMFORMER] = capable; }
  bool get_mu_beamformer_capable() const { return flags_[MU_BEAMFORMER]; }
  void set_mu_beamformer_capable(bool capable) { flags_[MU_BEAMFORMER] = capable; }
  bool get_ul_mumimo_capable() const { return flags_[UL_MUMIMO]; }
  void set_ul_mumimo_capable(bool capable) { flags_[UL_MUMIMO] = capable; }
  bool get_ul_mumimo_ofdma_capable() const { return flags_[UL_MUMIMO_OFDMA]; }
  void set_ul_mumimo_ofdma_capable(bool capable) { flags_[UL_MUMIMO_OFDMA] = capable; }
  bool get_dl_mumimo_ofdma_capable() const { return flags_[DL_MUMIMO_OFDMA]; }
  void set_dl_mumimo_ofdma_capable(bool capable) { flags_[DL_MUMIMO_OFDMA] = capable; }
  bool get_ul_ofdma_capable() const { return flags_[UL_OFDMA]; }
  void set_ul_ofdma_capable(bool capable) { flags_[UL_OFDMA] = capable; }
  bool get_dl_ofdma_capable() const { return flags_[DL_OFDMA]; }
  void set_dl_ofdma_capable(bool capable) { flags_[DL_OFDMA] = capable; }

  void dbg_str(std::ostream& os) const override;

  /// Used for comparison only: on the wire, a size precedes the maps, and the flags tell which there are.
  static constexpr auto table() {
    using serialization::accessed_by;
    using serialization::Field;
    using T = APHECapabilitiesTLV;
    return serialization::rows(
        Field{&T::radio_identifier_}, accessed_by<&T::get_he_tx_mcs_spatial_stream_80>(Field{&T::tx_mcs_80_}),
        accessed_by<&T::get_he_rx_mcs_spatial_stream_80>(Field{&T::rx_mcs_80_}),
        accessed_by<&T::get_he_tx_mcs_spatial_stream_160>(Field{&T::tx_mcs_160_}),
        accessed_by<&T::get_he_rx_mcs_spatial_stream_160>(Field{&T::rx_mcs_160_}),
        accessed_by<&T::get_he_tx_mcs_spatial_stream_8080>(Field{&T::tx_mcs_8080_}),
        accessed_by<&T::get_he_rx_mcs_spatial_stream_8080>(Field{&T::rx_mcs_8080_}),
        accessed_by<&T::get_number_tx_spatial_streams, &T::get_number_rx_spatial_streams, &T::get_he_80_80_mhz_support,
                    &T::get_he_160_mhz_support, &T::get_su_beamformer_capable, &T::get_mu_beamformer_capable,
                    &T::get_ul_mumimo_capable, &T::get_ul_mumimo_ofdma_capable, &T::get_dl_mumimo_ofdma_capable,
                    &T::get_ul_ofdma_capable, &T::get_dl_ofdma_capable>(Field{&T::flags_}));
  }

 private:
  friend serialization::BodyAccess;
  inline void encode_body(serialization::Writer& out) const;
  inline void decode_body(serialization::Reader& in, std::uint16_t length);
  bool equals(const APHECapabilitiesTLV& other) const;

  /// Bits of the flags; bit 0 is reserved.
  enum Flag : std::size_t {
    HE_80_80_MHZ = 9,
    HE_160_MHZ = 8,
    SU_BEAMFORMER = 7,
    MU_BEAMFORMER = 6,
    UL_MUMIMO = 5,
    UL_MUMIMO_OFDMA = 4,
    DL_MUMIMO_OFDMA = 3,
    UL_OFDMA = 2,
    DL_OFDMA = 1
  };
  static constexpr BitField TX_STREAMS{13, 3};
  static constexpr BitField RX_STREAMS{10, 3};

  MACAddress radio_identifier_;
  MCSMap rx_mcs_80_ = NO_MCS_SUPPORTED;
  MCSMap tx_mcs_80_ = NO_MCS_SUPPORTED;
  MCSMap rx_mcs_160_ = NO_MCS_SUPPORTED;
  MCSMap tx_mcs_160_ = NO_MCS_SUPPORTED;
  MCSMap rx_mcs_8080_ = NO_MCS_SUPPORTED;
  MCSMap tx_mcs_8080_ = NO_MCS_SUPPORTED;
  std::bitset<16> flags_;
};

}  // namespace qel::ieee1905_1
