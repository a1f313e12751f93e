#pragma once

#include <cstdint>
#include <span>

#include "qel/ieee1905_1/tlv.h"
#include "tools/meshdump/json_writer.h"

namespace meshdump {

/// Writes an object with the values of a TLV made by the factory; meshdump-fields(5) describes its keys. `body` holds
/// the octets from which the TLV was decoded, for foreign payloads; empty if unknown.
void put_fields(JsonWriter& json, const qel::ieee1905_1::TLV& tlv, std::span<const std::uint8_t> body);

}  // namespace meshdump
