#include "tools/meshdump/decoder.h"

#include "qel/core/serialization/serialization_exception.h"

namespace meshdump {

using qel::serialization::SerializationException;

Decoding Decoder::decode(std::span<const std::uint8_t> cmdu) {
  Decoding result;
  input_.reset(cmdu);
  try {
    result.message.emplace().deserialize_impl(input_, context_);
  } catch (const SerializationException& exception) {
    result.message.reset();
    result.error = exception.what();
  }
  result.consumed = input_.consumed();
  if (reencode_ && result.message) {
    Reencoding& reencoding = result.reencoding.emplace();
    output_.reset();
    try {
      result.message->serialize_impl(output_, context_);
      reencoding.octets = output_.octets();
    } catch (const SerializationException& exception) {
      reencoding.error = exception.what();
    }
  }
  return result;
}

}  // namespace meshdump
