#include <climits>

#include "qel/core/serialization/json_serializable_type.h"
#include "qel/core/serialization/json_strings.h"
#include "qel/core/serialization/uid.h"
#include "qel/core/serialization/yajl_wrappers.h"
#include "tests/support/streams.h"

namespace qel::serialization {
namespace {

/// A generator with its output.
struct Output {
  std::ostringstream os;
  YAJLStream stream{os, YAJLIndentation::COMPACT};
};

template <class T>
void write(YAJLStream& stream, const T& value) {
  SerializationContext context;
  JSONSerializableType<T>::serialize(stream, context, value);
}

template <class T>
std::string json(const T& value) {
  Output output;
  write(output.stream, value);
  return output.os.str();
}

template <class T>
std::string failure_behind_complete_value(const T& value) {
  Output output;
  output.stream.write_null();
  const std::string text = test::refusal([&] { write(output.stream, value); });
  EXPECT_EQ(output.os.str(), "null");
  return text;
}

struct Position final : JSONSerializable {
  int x = 3;
  void serialize_impl(YAJLStream& stream, SerializationContext& context) const override {
    wrap_in_yajl_object(stream, [&] {
      stream.write_string("x");
      JSONSerializableType<int>::serialize(stream, context, x);
    });
  }
};

/// Closes the array that contains it.
struct Traitor final : JSONSerializable {
  void serialize_impl(YAJLStream& stream, SerializationContext&) const override { stream.close_array(); }
};

const MACAddress ADDRESS({0x00, 0x11, 0x22, 0xAA, 0xBB, 0xCC});
const plc::NID NETWORK(plc::NID::Octets{0x01, 0x2A, 0x03, 0xF4, 0x05, 0x06, 0x0B});

/// Each value as written on its own.
template <class... Values>
std::vector<std::string> written(const Values&... values) {
  return {json(values)...};
}

/// The reason why each value is refused after a complete one.
template <class... Values>
std::vector<std::string> refused(const Values&... values) {
  return {failure_behind_complete_value(values)...};
}

TEST(Json, WritesEachTypeOfValue) {
  EXPECT_THAT(written(nullptr, true, false, std::uint8_t{200}, std::int8_t{-128}, std::uint16_t{65535},
                      std::int16_t{-32768}, 4294967295U, INT32_MIN),
              ElementsAre("null", "true", "false", "200", "-128", "65535", "-32768", "4294967295", "-2147483648"));
  const char full[3] = {'a', 'b', 'c'};
  EXPECT_THAT(written("plain", full, "cut\0off", ADDRESS, NETWORK, std::vector<bool>{true, false},
                      std::vector<std::vector<Position>>{{}, {Position(), Position()}}),
              ElementsAre("\"plain\"", "\"abc\"", "\"cut\"", "\"00:11:22:AA:BB:CC\"", "\"01:2a:03:f4:05:06:0b\"",
                          "[true,false]", "[[],[{\"x\":3},{\"x\":3}]]"));
  EXPECT_EQ(json(std::string("a\"b\\c\n\0/\x01", 9)), "\"a\\\"b\\\\c\\n\\u0000/\\u0001\"");
  const auto expect_written = [](auto... numbers) {
    EXPECT_THAT(written(numbers...), ElementsAre(std::to_string(numbers)...));
  };
  expect_written(LONG_MIN, LONG_MAX, LLONG_MIN, LLONG_MAX, 0UL, ULONG_MAX, 0ULL, ULLONG_MAX);
}

TEST(Json, NamesTheTypeThatWasRefused) {
  std::vector<std::string> complaints =
      refused(nullptr, true, std::uint8_t{}, std::uint16_t{}, std::uint32_t{}, std::uint64_t{}, 0ULL, std::int8_t{},
              std::int16_t{}, std::int32_t{}, std::int64_t{}, 0LL, std::string(), "text", ADDRESS, NETWORK);
  for (const char* type : {"null", "bool", "std::uint8_t", "std::uint16_t", "std::uint32_t", "std::uint64_t",
                           "std::uint64_t", "std::int8_t", "std::int16_t", "std::int32_t", "std::int64_t",
                           "std::int64_t", "std::string", "std::string", "MACAddress", "plc::NID"}) {
    EXPECT_EQ(complaints.front(), std::string("Serialization of ") + type + " failed");
    complaints.erase(complaints.begin());
  }
  EXPECT_THAT(refused(std::vector<int>(), Position()),
              ElementsAre("Serialization of std::vector failed, failed to write opening brace",
                          "Failed to write opening brace for wrapper object"));
  EXPECT_EQ(test::refusal([] { json(std::string("\xFF")); }), "Serialization of std::string failed");
  EXPECT_EQ(test::refusal([] { json(std::vector<Traitor>(1)); }),
            "Serialization of std::vector failed, failed to write closing brace");
}

TEST(JsonStream, RefusesWhatTheGrammarForbids) {
  Output output;
  YAJLStream& stream = output.stream;
  EXPECT_TRUE(stream.open_object());
  EXPECT_FALSE(stream.write_integer(1) || stream.write_bool(true) || stream.write_null());
  EXPECT_FALSE(stream.open_array() || stream.open_object());
  EXPECT_TRUE(stream.write_string("key") && stream.open_array() && stream.write_integer(7U));
  EXPECT_TRUE(stream.close_array() && stream.close_object());
  EXPECT_FALSE(stream.close_array());
  EXPECT_EQ(output.os.str(), "{\"key\":[7]}");
}

TEST(JsonStream, SurvivesBracesThatItRefuses) {
  Output output;
  YAJLStream& stream = output.stream;
  EXPECT_FALSE(stream.close_object());
  for (int level = 1; level < 128; ++level) {
    EXPECT_TRUE(stream.open_array()) << level;
  }
  EXPECT_FALSE(stream.open_array());
  EXPECT_FALSE(stream.open_object());
  EXPECT_TRUE(stream.write_null());
  while (stream.close_array()) {
  }
  EXPECT_EQ(output.os.str(), std::string(127, '[') + "null" + std::string(127, ']'));
}

TEST(JsonStream, IndentsAsAsked) {
  const auto indented = [](YAJLIndentation indentation) {
    std::ostringstream os;
    YAJLStream stream(os, indentation);
    write(stream, std::vector<Position>(1));
    return os.str();
  };
  EXPECT_EQ(indented(YAJLIndentation::TABS), "[\n\t{\n\t\t\"x\": 3\n\t}\n]\n");
  EXPECT_EQ(indented(YAJLIndentation::DEFAULT), "[\n    {\n        \"x\": 3\n    }\n]\n");
}

TEST(JsonStream, KeepsAFailingStreamsExceptionToItself) {
  Output output;
  output.os.setstate(std::ios_base::badbit);
  EXPECT_THROW(output.os.exceptions(std::ios_base::badbit), std::ios_base::failure);
  EXPECT_TRUE(output.stream.write_string("lost"));
  EXPECT_TRUE(output.os.bad());
}

/// The text of each wrapper when its name or one of its braces is refused.
TEST(JsonWrapper, SaysWhichPieceWasRefused) {
  using Step = void (*)(YAJLStream&);
  const auto failure_of = [](Step prepare, Step wrap) {
    Output output;
    prepare(output.stream);
    return test::refusal([&] { wrap(output.stream); });
  };
  const Step nothing = [](YAJLStream&) {};
  const Step complete = [](YAJLStream& stream) { stream.write_null(); };
  const Step in_object = [](YAJLStream& stream) { stream.open_object(); };
  const Step at_the_depth_limit = [](YAJLStream& stream) {
    while (stream.open_array()) {
    }
    stream.close_array();
    stream.open_object();
  };
  const Step object = [](YAJLStream& stream) { wrap_in_yajl_object(stream, [&] { stream.close_object(); }); };
  const Step array = [](YAJLStream& stream) { wrap_in_yajl_array(stream, [&] { stream.close_array(); }); };
  const Step member_object = [](YAJLStream& stream) {
    wrap_in_yajl_object(stream, "m", [&] { stream.close_object() && stream.close_object(); });
  };
  const Step member_array = [](YAJLStream& stream) {
    wrap_in_yajl_array(stream, "m", [&] { stream.close_array() && stream.close_object(); });
  };
  EXPECT_EQ(failure_of(complete, object), "Failed to write opening brace for wrapper object");
  EXPECT_EQ(failure_of(complete, array), "Failed to write opening brace for wrapper array");
  EXPECT_EQ(failure_of(complete, member_object), "Failed to write wrapper object name: m");
  EXPECT_EQ(failure_of(complete, member_array), "Failed to write wrapper array name: m");
  EXPECT_EQ(failure_of(nothing, object), "Failed to write closing brace for wrapper object");
  EXPECT_EQ(failure_of(nothing, array), "Failed to write closing brace for wrapper array");
  EXPECT_EQ(failure_of(at_the_depth_limit, member_object), "Failed to write opening brace for wrapper object: m");
  EXPECT_EQ(failure_of(at_the_depth_limit, member_array), "Failed to write opening brace for wrapper array: m");
  EXPECT_EQ(failure_of(in_object, member_object), "Failed to write closing brace for wrapper object: m");
  EXPECT_EQ(failure_of(in_object, member_array), "Failed to write closing brace for wrapper array: m");
}

TEST(JsonStrings, EscapeAndUnescape) {
  const std::pair<std::string, std::string> rows[] = {
      {"", ""},
      {"\n\b\t\r\f\"\\", R"(\n\b\t\r\f\"\\)"},
      {"/\x01\x7F\xC3\xA9", "/\x01\x7F\xC3\xA9"},
      {"\\n", R"(\\n)"},
  };
  for (const auto& [plain, escaped] : rows) {
    EXPECT_EQ(json_string_escape(plain), escaped);
    EXPECT_EQ(json_string_unescape(escaped), plain);
  }
  EXPECT_EQ(json_string_escape(std::string("a\0b", 3)), R"(a\0b)");
  // Sequences that are never written:
  const std::pair<const char*, const char*> foreign[] = {{R"(a\0b)", "ab"},
                                                         {R"(\u0041)", R"(\u0041)"},
                                                         {R"(\\u0041)", R"(\u0041)"},
                                                         {R"(\/\x)", "/x"},
                                                         {"end\\", "end\\"}};
  for (const auto& [escaped, plain] : foreign) {
    EXPECT_EQ(json_string_unescape(escaped), plain);
  }
}

TEST(Uid, IsWrittenAndReadWithThePrefixOfItsType) {
  EXPECT_EQ(uid_to_string(UIDType::NODE, 4294967295), "n-4294967295");
  EXPECT_EQ(uid_to_string(UIDType(1), 7), "ni-7");
  EXPECT_EQ(uid_to_string(UIDType(2), 0), "nl-0");
  EXPECT_EQ(uid_to_string(UIDType(5), 7), "INVALID");
  unsigned int uid = 99;
  const auto refused = [&](int type, const std::string& text) {
    return test::refusal([&] { string_to_uid(UIDType(type), text, uid); });
  };
  for (const auto& [type, text, number] :
       {std::tuple(0, "n-12x", 12U), {1, "ni-4294967295", 4294967295}, {2, "nl-007", 7}}) {
    EXPECT_EQ(refused(type, text), "");
    EXPECT_EQ(std::exchange(uid, 99), number);
  }
  for (const char* const text :
       {"ni-42", "n-", "n-x1", "n--1", "n-+1", "n- 1", "n-4294967296", "n--18446744073709551609"}) {
    EXPECT_EQ(refused(0, text), std::string("Could not convert string to uid, failed scan of string: \"") + text + '"');
  }
  EXPECT_EQ(refused(255, "n-1"), "Could not convert string to uid, wrong type: 255");
  EXPECT_EQ(uid, 99U);
}

}  // namespace
}  // namespace qel::serialization
