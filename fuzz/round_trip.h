#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <span>
#include <sstream>
#include <string>

#include "qel/core/serialization/binary_serializable.h"
#include "qel/core/serialization/memory_stream.h"
#include "qel/core/serialization/serialization_context.h"
#include "qel/core/serialization/serialization_exception.h"

namespace qel::fuzz {

inline void require(bool condition, const char* what) {
  if (!condition) {
    std::fprintf(stderr, "violated: %s\n", what);
    std::abort();
  }
}

/// Returns the text of the SerializationException that `action` throws; empty if it throws none.
template <class Action>
std::string refusal(const Action& action) {
  try {
    action();
  } catch (const serialization::SerializationException& error) {
    return error.what();
  }
  return {};
}

inline std::string decode(std::istream& is, serialization::BinarySerializable& object) {
  serialization::SerializationContext context;
  return refusal([&] { object.deserialize_impl(is, context); });
}

inline std::string encode(std::ostream& os, const serialization::BinarySerializable& object) {
  serialization::SerializationContext context;
  return refusal([&] { object.serialize_impl(os, context); });
}

inline std::string characters(std::span<const std::uint8_t> octets) { return {octets.begin(), octets.end()}; }

/// Decodes any octets as a T. They must decode or throw SerializationException, alike from memory and from any other
/// stream. The decoded object must print with `print(os, object)`. If it is complete, it must equal itself, and must
/// either refuse to be encoded or give octets that decode and encode to the same octets again. For exceptions required
/// by the format, `exception(object)` is the text with which these octets are refused. Returns the object, or null if
/// the octets were refused.
template <class T, class Print, class Exception>
std::unique_ptr<T> round_trip(std::span<const std::uint8_t> octets, const Print& print, const Exception& exception) {
  const auto text_of = [&](const T& object) {
    std::ostringstream text;
    print(text, object);
    return text.str();
  };

  serialization::MemoryIStream memory(octets);
  auto object = std::make_unique<T>();
  const std::string error = decode(memory, *object);

  std::istringstream stream(characters(octets));
  T same;
  require(decode(stream, same) == error, "both kinds of stream fail alike");
  stream.clear();
  require(static_cast<std::size_t>(stream.tellg()) == memory.consumed(), "both kinds of stream are read as far");
  require(text_of(*object) == text_of(same), "both decode to the same text");
  // A failed decode may leave an invalid object, such as a client capability report without its frame.
  require(!error.empty() || (*object == *object && *object == same), "what was decoded equals itself");

  serialization::MemoryOStream encoded;
  std::ostringstream encoded_elsewhere;
  const std::string refused = encode(encoded, *object);
  require(encode(encoded_elsewhere, *object) == refused, "both kinds of stream refuse alike");
  require(encoded_elsewhere.str() == characters(encoded.octets()), "both kinds of stream get the same octets");

  if (error.empty() && refused.empty()) {
    serialization::MemoryIStream again(encoded.octets());
    T decoded_again;
    const std::string expected = exception(*object);
    require(decode(again, decoded_again) == expected, "what was encoded decodes, unless it is an exception");
    if (!expected.empty()) {
      return object;
    }
    require(again.consumed() == encoded.octets().size(), "what was encoded decodes to its end");
    // Not always the same object: a steering request that is an opportunity loses its targets when encoded.
    serialization::MemoryOStream encoded_again;
    require(encode(encoded_again, decoded_again).empty(), "what was encoded can be encoded again");
    require(std::ranges::equal(encoded_again.octets(), encoded.octets()), "and comes out the same");
  }
  return error.empty() ? std::move(object) : nullptr;
}
template <class T, class Print>
std::unique_ptr<T> round_trip(std::span<const std::uint8_t> octets, const Print& print) {
  return round_trip<T>(octets, print, [](const T&) { return std::string(); });
}

}  // namespace qel::fuzz
