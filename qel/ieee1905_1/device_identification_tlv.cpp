#include "qel/ieee1905_1/device_identification_tlv.h"

#include <algorithm>
#include <ostream>
#include <string_view>

#include "qel/ieee1905_1/table_tlv_impl.h"

namespace qel::ieee1905_1 {

namespace {

std::string_view up_to_nul(const DeviceIdentificationTypeTLV::Name& name) {
  const auto length = std::find(name.begin(), name.end(), 0) - name.begin();
  return {reinterpret_cast<const char*>(name.data()), static_cast<std::size_t>(length)};
}

}  // namespace

void DeviceIdentificationTypeTLV::dbg_str(std::ostream& os) const {
  TLV::dbg_str(os);
  os << "\n\t Friendly Name: " << up_to_nul(friendly_name_)          //
     << "\n\t Manufacturer Name: " << up_to_nul(manufacturer_name_)  //
     << "\n\t Manufacturer Model: " << up_to_nul(manufacturer_model_);
}

template const serialization::Codec& TableOf<DeviceIdentificationTypeTLV>::codec();

}  // namespace qel::ieee1905_1
