#include "qel/ieee1905_1/ap_phy_capabilities_tlvs.h"

#include <ostream>

#include "qel/core/text.h"
#include "qel/ieee1905_1/table_tlv_impl.h"

namespace qel::ieee1905_1 {

void APHTCapabilitiesTLV::dbg_str(std::ostream& os) const {
  TLV::dbg_str(os);
  os << " Radio Unique Identifier: " << radio_identifier_                   //
     << " TX spatial streams:" << Decimal(get_number_tx_spatial_streams())  //
     << " RX spatial streams:" << Decimal(get_number_rx_spatial_streams())  //
     << "\n\tShortGI20MhzSupport:" << true_or_false(get_short_GI_20_mhz())  //
     << " ShortGI40MhzSupport:" << true_or_false(get_short_GI_40_mhz())     //
     << " HT40MhzSupport:" << true_or_false(get_HT_40_mhz());
}

void APVHTCapabilitiesTLV::dbg_str(std::ostream& os) const {
  TLV::dbg_str(os);
  os << " RadioIdentifier:" << radio_identifier_                                                 //
     << " VHT_TX_MCS:0x" << Hexadecimal(vht_tx_mcs_.to_ulong())                                  //
     << " VHT_RX_MCS:0x" << Hexadecimal(vht_rx_mcs_.to_ulong())                                  //
     << " TX spatial streams:" << Decimal(get_number_tx_spatial_streams())                       //
     << " RX spatial streams:" << Decimal(get_number_rx_spatial_streams())                       //
     << "\n\tShortGI80MhzSupport:" << true_or_false(get_short_gi_80_mhz_supported())             //
     << " ShortGI160&80+80MhzSupport:" << true_or_false(get_short_gi_160_80_80_mhz_supported())  //
     << " VHT80+80MhzSupport:" << true_or_false(get_vht_80_80_supported())                       //
     << " VHT160MhzSupport:" << true_or_false(get_vht_160_supported())                           //
     << " SUBeamforming:" << true_or_false(get_su_beamformer_capable())                          //
     << " MUBeamforming:" << true_or_false(get_mu_beamformer_capable());
}

template const serialization::Codec& TableOf<APHTCapabilitiesTLV>::codec();
template const serialization::Codec& TableOf<APVHTCapabilitiesTLV>::codec();

}  // namespace qel::ieee1905_1
