#pragma once

#include <cstdint>
#include <span>

#include "qel/ieee1905_1/tlv.h"
#include "tools/meshdump/json_writer.h"

namespace meshdump {

/// Writes an object with the values of a TLV that the factory made; meshdump-fields(5) describes its keys. `body` is
/// what the TLV was decoded from, for the octets of foreign payloads, or empty if that is not known.
void put_fields(JsonWriter& json, const qel::ieee1905_1::TLV& tlv, std::span<const std::uint8_t> body);

}  // namespace meshdump
