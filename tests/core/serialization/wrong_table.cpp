#include <cstdint>
#include <string>
#include <vector>

#include "qel/core/serialization/framed.h"
#include "qel/core/serialization/table_codec.h"

/// Tables that the compiler must refuse, each under its macro.
namespace qel::serialization {

struct Body : BinarySerializable {
  static constexpr auto table() {
    const auto rest = rest_list({}, &Body::rest, "too short");
#if defined WRONG_MEMBER
    return rows(Field{"text: ", &Body::text}, rest);
#elif defined WRONG_REST
    return rows(string8("text: ", &Body::text, {0, 255}), rest);
#else
    return rows(Field{"number: ", &Body::number}, rest);
#endif
  }

  std::uint8_t number;
  std::string text;
  std::vector<std::uint8_t> rest;
};

#ifdef WRONG_RECORD
constexpr void (*DECODE)(Reader&, Body&) = decode_body_of<Body>;
#else
constexpr void (*DECODE)(ReadSource&, BinarySerializable&) = decode_framed<Body>;
#endif

}  // namespace qel::serialization
