#include "qel/ieee1905_1/vendor/qel_neighbor_tlvs.h"

#include <cstddef>

#include "qel/ieee1905_1/vendor/vendor_payload_impl.h"

namespace qel::ieee1905_1 {

template <class Derived, QELVendorTLVType TYPE, class Neighbor>
[[gnu::always_inline]] inline void QELNeighborList<Derived, TYPE, Neighbor>::decode_body(serialization::Reader& in,
                                                                                         std::uint16_t length) {
  constexpr std::size_t SIZE = serialization::WireType<Neighbor>::SIZE;
  constexpr std::size_t HEAD = serialization::WIRE_SIZE<MACAddress, std::uint8_t>;
  in.get(local_MAC_);
  const std::size_t name_length = in.template get<std::uint8_t>();
  if (length < HEAD + name_length) {
    serialization::fail(Derived::TOO_SHORT);
  }
  std::string name;
  in.get_characters(name, name_length);
  local_interface_name_ = std::move(name);
  const std::size_t rest = length - HEAD - name_length;
  if (Derived::UNEVEN != nullptr && rest % SIZE != 0) {
    serialization::fail(Derived::UNEVEN);
  }
  neighbors_ = serialization::decode_elements<Neighbor>(in, rest / SIZE);
}

[[gnu::always_inline]] inline void QELPSQ19NonIEEE1905NeighborDeviceListTLV::decode_body(serialization::Reader& in,
                                                                                         std::uint16_t length) {
  QELNeighborList::decode_body(in, length);
  decode_row(RestRow{&QELPSQ19NonIEEE1905NeighborDeviceListTLV::rest_}, in, *this, length, 0);
}

template const serialization::Codec& PayloadOf<QELIEEE1905NeighborDeviceTLV>::codec();
template const serialization::Codec& PayloadOf<QELNonIEEE1905NeighborDeviceListTLV>::codec();
template const serialization::Codec& PayloadOf<QELPSQ19NonIEEE1905NeighborDeviceListTLV>::codec();

}  // namespace qel::ieee1905_1
