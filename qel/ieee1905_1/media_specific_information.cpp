#include "qel/ieee1905_1/media_specific_information.h"

#include <ostream>

#include "qel/core/serialization/table_values.h"
#include "qel/ieee1905_1/media_specific_information_codec.h"

namespace qel::ieee1905_1 {

using serialization::SerializationContext;

std::ostream& operator<<(std::ostream& os, const MediaSpecificInformation& information) {
  information.dbg_str(os);
  return os;
}

template <class Derived, InterfaceType TYPE>
void TableMediaSpecificInformation<Derived, TYPE>::serialize_impl(std::ostream& os,
                                                                  SerializationContext& context) const {
  serialization::MemoryWriteBuffer* memory = serialization::memory_of(os);
  if (memory == nullptr) {
    serialization::serialize_through_memory(os, context, *this, serialization::PRIMITIVE_ENDS<std::uint8_t>);
    return;
  }
  serialization::Writer out(*memory);
  const auto& block = static_cast<const Derived&>(*this);
  out.put(block_length(block), block);
  out.commit();
}

template <class Derived, InterfaceType TYPE>
void TableMediaSpecificInformation<Derived, TYPE>::deserialize_impl(std::istream& is, SerializationContext&) {
  serialization::ReadSource source(is);
  serialization::Reader in(source);
  std::uint8_t unchecked_length = 0;
  in.get(unchecked_length, static_cast<Derived&>(*this));
}

template <class Derived, InterfaceType TYPE>
bool TableMediaSpecificInformation<Derived, TYPE>::operator<(const MediaSpecificInformation& other) const {
  if (other.get_interface_type() != TYPE) {
    return TYPE < other.get_interface_type();
  }
  const auto* same_class = dynamic_cast<const Derived*>(&other);
  return same_class != nullptr && serialization::less_rows(static_cast<const Derived&>(*this), *same_class);
}

template <class Derived, InterfaceType TYPE>
bool TableMediaSpecificInformation<Derived, TYPE>::operator==(const MediaSpecificInformation& other) const {
  const auto* same_class = dynamic_cast<const Derived*>(&other);
  return same_class != nullptr && serialization::equal_rows(static_cast<const Derived&>(*this), *same_class);
}

void NoMediaSpecificInformation::dbg_str(std::ostream& os) const { os << "<no media-specific information>"; }

void WLANSpecificInformation::dbg_str(std::ostream& os) const { serialization::print_rows(os, *this); }

void PLCSpecificInformation::dbg_str(std::ostream& os) const { serialization::print_rows(os, *this); }

template class TableMediaSpecificInformation<NoMediaSpecificInformation, InterfaceType::UNKNOWN>;
template class TableMediaSpecificInformation<WLANSpecificInformation, InterfaceType::WLAN>;
template class TableMediaSpecificInformation<PLCSpecificInformation, InterfaceType::PLC>;

}  // namespace qel::ieee1905_1
