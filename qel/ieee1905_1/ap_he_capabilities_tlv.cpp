#include "qel/ieee1905_1/ap_he_capabilities_tlv.h"

#include <ostream>

#include "qel/core/serialization/serialization_exception.h"
#include "qel/core/text.h"
#include "qel/ieee1905_1/table_tlv_impl.h"

namespace qel::ieee1905_1 {

namespace {

/// Octets in the maps of one width.
constexpr std::uint8_t MAPS_SIZE = 4;

}  // namespace

[[gnu::always_inline]] inline void APHECapabilitiesTLV::encode_body(serialization::Writer& out) const {
  // The length does not show which widths the maps are for. With 80+80 but without 160 MHz, every reader, including
  // this one, finds the maps for 80+80 where it expects those for 160 and refuses the TLV; peers rely on this format.
  const int pairs = 1 + int{get_he_160_mhz_support()} + int{get_he_80_80_mhz_support()};
  out.put(radio_identifier_, static_cast<std::uint8_t>(pairs * MAPS_SIZE), rx_mcs_80_, tx_mcs_80_);
  if (get_he_160_mhz_support()) {
    out.put(rx_mcs_160_, tx_mcs_160_);
  }
  if (get_he_80_80_mhz_support()) {
    out.put(rx_mcs_8080_, tx_mcs_8080_);
  }
  out.put(flags_);
}

[[gnu::always_inline]] inline void APHECapabilitiesTLV::decode_body(serialization::Reader& in, std::uint16_t) {
  std::uint8_t size = 0;
  in.get(radio_identifier_, size);
  if (size != MAPS_SIZE && size != 2 * MAPS_SIZE && size != 3 * MAPS_SIZE) {
    serialization::fail("Invalid MCS set size");
  }
  const bool has_160 = size >= 2 * MAPS_SIZE;
  const bool has_8080 = size == 3 * MAPS_SIZE;
  in.get(rx_mcs_80_, tx_mcs_80_);
  if (has_160) {
    in.get(rx_mcs_160_, tx_mcs_160_);
  }
  if (has_8080) {
    in.get(rx_mcs_8080_, tx_mcs_8080_);
  }
  in.get(flags_);
  if ((has_160 && !get_he_160_mhz_support()) || (has_8080 && !get_he_80_80_mhz_support())) {
    serialization::fail("HE Capabilities with inconsistent MCS set");
  }
}

bool APHECapabilitiesTLV::equals(const APHECapabilitiesTLV& other) const {
  return serialization::equal_rows(*this, other);
}

void APHECapabilitiesTLV::dbg_str(std::ostream& os) const {
  TLV::dbg_str(os);
  os << " RadioIdentifier:" << radio_identifier_                                //
     << " HE_TX_MCS_80:0x" << Hexadecimal(tx_mcs_80_.to_ulong())                //
     << " HE_RX_MCS_80:0x" << Hexadecimal(rx_mcs_80_.to_ulong())                //
     << " HE_TX_MCS_160:0x" << Hexadecimal(tx_mcs_160_.to_ulong())              //
     << " HE_RX_MCS_160:0x" << Hexadecimal(rx_mcs_160_.to_ulong())              //
     << " HE_TX_MCS_8080:0x" << Hexadecimal(tx_mcs_8080_.to_ulong())            //
     << " HE_RX_MCS_8080:0x" << Hexadecimal(rx_mcs_8080_.to_ulong())            //
     << " TXSpatialStreams:" << Decimal(get_number_tx_spatial_streams())        //
     << " RXSpatialStreams:" << Decimal(get_number_rx_spatial_streams())        //
     << "\n\tHE80+80:" << true_or_false(get_he_80_80_mhz_support())             //
     << " HE160:" << true_or_false(get_he_160_mhz_support())                    //
     << " SUBeamforming:" << true_or_false(get_su_beamformer_capable())         //
     << " MUBeamforming:" << true_or_false(get_mu_beamformer_capable())         //
     << " UL_MU-MIMO:" << true_or_false(get_ul_mumimo_capable())                //
     << "\n\tUL_MUMIMO_OFDMA:" << true_or_false(get_ul_mumimo_ofdma_capable())  //
     << " DL_MUMIMO_OFDMA:" << true_or_false(get_dl_mumimo_ofdma_capable())     //
     << " UL_OFDMA:" << true_or_false(get_ul_ofdma_capable())                   //
     << " DL_OFDMA:" << true_or_false(get_dl_ofdma_capable());
}

template const serialization::Codec& TableOf<APHECapabilitiesTLV>::codec();

}  // namespace qel::ieee1905_1
