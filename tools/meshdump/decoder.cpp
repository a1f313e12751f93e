#include "tools/meshdump/decoder.h"

#include "qel/core/serialization/serialization_exception.h"
#include "qel/ieee1905_1/cmdu.h"

namespace meshdump {

using qel::ieee1905_1::DecodeException;
using qel::serialization::SerializationException;

Decoding Decoder::decode(std::span<const std::uint8_t> cmdu) {
  Decoding result;
  try {
    result.message = qel::ieee1905_1::decode(cmdu, context_, &result.consumed);
  } catch (const DecodeException& exception) {
    result.error = exception.what();
    result.place = exception.place();
    result.tlv = exception.get_tlv();
    result.consumed = exception.get_offset();
    if (cmdu.size() >= qel::ieee1905_1::MESSAGE_HEAD_SIZE) {
      result.lenient = qel::ieee1905_1::decode_leniently(cmdu, context_);
    }
  }
  if (reencode_ && result.message) {
    Reencoding& reencoding = result.reencoding.emplace();
    output_.reset();
    try {
      qel::ieee1905_1::encode(*result.message, output_, context_);
      reencoding.octets = output_.octets();
    } catch (const SerializationException& exception) {
      reencoding.error = exception.what();
    }
  }
  return result;
}

}  // namespace meshdump
