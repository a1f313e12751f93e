#include "qel/ieee1905_1/message.h"

#include <cstddef>
#include <cstdint>

#include "fuzz/round_trip.h"
#include "qel/ieee1905_1/vendor/qel_message_type_tlv.h"

/// Any octets as a CMDU.

using qel::ieee1905_1::Message;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  qel::fuzz::round_trip<Message>({data, size}, [](std::ostream& os, const Message& message) {
    os << message << qel::ieee1905_1::get_qel_message_type(message);
  });
  return 0;
}
