#include "qel/ieee1905_1/message.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

#include "qel/core/serialization/memory_stream.h"
#include "qel/core/serialization/serialization_context.h"
#include "qel/core/serialization/serialization_exception.h"
#include "qel/ieee1905_1/vendor/qel_message_type_tlv.h"

/// Any octets as a CMDU: they decode or throw SerializationException, from memory as from any other stream; what was
/// decoded prints, equals itself, and either refuses to be encoded or survives the way out and in again.

namespace {

using qel::ieee1905_1::Message;
using qel::serialization::MemoryIStream;
using qel::serialization::MemoryOStream;
using qel::serialization::SerializationContext;
using qel::serialization::SerializationException;

void require(bool condition, const char* what) {
  if (!condition) {
    std::fprintf(stderr, "violated: %s\n", what);
    std::abort();
  }
}

/// The text of the exception, empty when there was none.
std::string decode(std::istream& is, Message& message) {
  SerializationContext context;
  try {
    message.deserialize_impl(is, context);
  } catch (const SerializationException& error) {
    return error.what();
  }
  return {};
}

std::string encode(std::ostream& os, const Message& message) {
  SerializationContext context;
  try {
    message.serialize_impl(os, context);
  } catch (const SerializationException& error) {
    return error.what();
  }
  return {};
}

std::string text_of(const Message& message) {
  std::ostringstream text;
  text << message << qel::ieee1905_1::get_qel_message_type(message);
  return text.str();
}

std::string characters(std::span<const std::uint8_t> octets) { return {octets.begin(), octets.end()}; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  MemoryIStream memory({data, size});
  Message message;
  const std::string error = decode(memory, message);

  std::istringstream stream(characters({data, size}));
  Message same;
  require(decode(stream, same) == error, "both kinds of stream fail alike");
  stream.clear();
  require(static_cast<std::size_t>(stream.tellg()) == memory.consumed(), "both kinds of stream are read as far");
  require(text_of(message) == text_of(same), "both decode to the same text");
  require(message == message && message == same, "what was decoded equals itself");

  MemoryOStream encoded;
  std::ostringstream encoded_elsewhere;
  const std::string refusal = encode(encoded, message);
  require(encode(encoded_elsewhere, message) == refusal, "both kinds of stream refuse alike");
  require(encoded_elsewhere.str() == characters(encoded.octets()), "both kinds of stream get the same octets");

  if (error.empty() && refusal.empty()) {
    MemoryIStream again(encoded.octets());
    Message decoded_again;
    require(decode(again, decoded_again).empty(), "what was encoded decodes");
    require(decoded_again == message, "what was encoded decodes to the same message");
    require(again.consumed() == encoded.octets().size(), "what was encoded decodes to its end");
  }
  return 0;
}
