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

TEST(JsonStream, RefusesWhatTheGrammarForbidsAndSurvivesIt) {
  Output object;
  EXPECT_TRUE(object.stream.open_object());
  EXPECT_FALSE(object.stream.write_integer(1) || object.stream.write_bool(true) || object.stream.write_null());
  EXPECT_FALSE(object.stream.open_array() || object.stream.open_object());
  EXPECT_TRUE(object.stream.write_string("key"));
  EXPECT_TRUE(object.stream.write_integer(7U));
  EXPECT_TRUE(object.stream.close_object());
  EXPECT_FALSE(object.stream.close_array());
  EXPECT_EQ(object.os.str(), "{\"key\":7}");

  Output array;
  EXPECT_FALSE(array.stream.close_object());
  for (int level = 1; level < 128; ++level) {
    EXPECT_TRUE(array.stream.open_array()) << level;
  }
  EXPECT_FALSE(array.stream.open_array() || array.stream.open_object());
  EXPECT_TRUE(array.stream.write_null());
  while (array.stream.close_array()) {
  }
  EXPECT_EQ(array.os.str(), std::string(127, '[') + "null" + std::string(127, ']'));
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

TEST(JsonStream, SwallowsTheExceptionOfAFailingStream) {
  Output output;
  output.os.setstate(std::ios_base::badbit);
  EXPECT_THROW(output.os.exceptions(std::ios_base::badbit), std::ios_base::failure);
  EXPECT_TRUE(output.stream.write_string("lost"));
  EXPECT_TRUE(output.os.bad());
}

TEST(JsonWrapper, SaysWhichPieceWasRefused) {
  const auto nothing = [](YAJLStream&) {};
  const auto complete = [](YAJLStream& stream) { stream.write_null(); };
  const auto in_object = [](YAJLStream& stream) { stream.open_object(); };
  const auto at_the_depth_limit = [](YAJLStream& stream) {
    while (stream.open_array()) {
    }
    stream.close_array();
    stream.open_object();
  };
  for (const bool is_object : {true, false}) {
    const auto failure_of = [&](const auto& prepare, const char* name) {
      Output output;
      YAJLStream& stream = output.stream;
      prepare(stream);
      const auto close_too_much = [&] {
        (is_object ? stream.close_object() : stream.close_array()) && name != nullptr&& stream.close_object();
      };
      return test::refusal([&] {
        if (name == nullptr) {
          is_object ? wrap_in_yajl_object(stream, close_too_much) : wrap_in_yajl_array(stream, close_too_much);
        } else {
          is_object ? wrap_in_yajl_object(stream, name, close_too_much)
                    : wrap_in_yajl_array(stream, name, close_too_much);
        }
      });
    };
    const std::string kind = is_object ? "object" : "array";
    EXPECT_EQ(failure_of(complete, nullptr), "Failed to write opening brace for wrapper " + kind);
    EXPECT_EQ(failure_of(nothing, nullptr), "Failed to write closing brace for wrapper " + kind);
    EXPECT_EQ(failure_of(complete, "m"), "Failed to write wrapper " + kind + " name: m");
    EXPECT_EQ(failure_of(at_the_depth_limit, "m"), "Failed to write opening brace for wrapper " + kind + ": m");
    EXPECT_EQ(failure_of(in_object, "m"), "Failed to write closing brace for wrapper " + kind + ": m");
  }
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
  EXPECT_EQ(uid_to_string(UIDType(1), 7) + uid_to_string(UIDType(2), 0), "ni-7nl-0");
  EXPECT_EQ(uid_to_string(UIDType(5), 7), "INVALID");
  const auto read = [](int type, const std::string& text) {
    unsigned int uid = 99;
    const std::string refused = test::refusal([&] { string_to_uid(UIDType(type), text, uid); });
    return refused.empty() || uid != 99 ? std::to_string(uid) : refused;
  };
  EXPECT_EQ(read(0, "n-12x") + " " + read(1, "ni-4294967295") + " " + read(2, "nl-007"), "12 4294967295 7");
  for (const char* const text : {"ni-42", "n-", "n--1", "n-+1", "n- 1", "n-4294967296", "n--18446744073709551609"}) {
    EXPECT_EQ(read(0, text), std::string("Could not convert string to uid, failed scan of string: \"") + text + '"');
  }
  EXPECT_EQ(read(255, "n-1"), "Could not convert string to uid, wrong type: 255");
}

}  // namespace
}  // namespace qel::serialization
