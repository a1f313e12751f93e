#include "qel/ieee802_11/beacon_report.h"

#include <ostream>
#include <string>

#include "qel/core/serialization/table_values.h"
#include "qel/core/text.h"

namespace qel::ieee802_11 {

void BeaconReport::dbg_str(std::ostream& os) const {
  os << "Operating Class: " << Decimal(operating_class_)                                          //
     << " Channel Number: " << Decimal(channel_number_)                                           //
     << " Measurement Start Time: " << std::to_string(measurement_start_time_.value)              //
     << " Measurement Duration: " << Decimal(measurement_duration_.value)                         //
     << " PHY Type: " << get_phy_type() << " Frame Type: " << get_frame_type()                    //
     << " RCPI: " << Decimal(rcpi_) << " RSNI: " << Decimal(rsni_) << " BSSID: " << bssid_        //
     << " Antenna ID: " << Decimal(antenna_id_) << " Parent TSF: " << Decimal(parent_tsf_.value)  //
     << " Subelements: " << std::to_string(optional_subelements_.size()) << " Byte";
}

bool BeaconReport::equals(const BeaconReport& other) const {
  return serialization::equal_rows(*this, other) && optional_subelements_ == other.optional_subelements_;
}

std::ostream& operator<<(std::ostream& os, const BeaconReport& report) {
  report.dbg_str(os);
  return os;
}

}  // namespace qel::ieee802_11
