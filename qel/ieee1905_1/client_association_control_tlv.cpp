#include "qel/ieee1905_1/client_association_control_tlv.h"

#include "qel/core/enum_text.h"
#include "qel/ieee1905_1/table_tlv_impl.h"

namespace qel::ieee1905_1 {

namespace {

constexpr EnumText CONTROLS[] = {
    {ClientAssociationControl::BLOCK, "BLOCK"},
    {ClientAssociationControl::UNBLOCK, "UNBLOCK"},
    {ClientAssociationControl::INVALID, "INVALID"},
};

}  // namespace

std::string enum_to_string(ClientAssociationControl control) { return enum_text(CONTROLS, control); }
std::ostream& operator<<(std::ostream& os, ClientAssociationControl control) {
  return print_enum(os, CONTROLS, control);
}

template const serialization::Codec& TableOf<ClientAssociationControlRequestTLV>::codec();

}  // namespace qel::ieee1905_1
