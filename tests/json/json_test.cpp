#include <dlfcn.h>
#include <gtest/gtest.h>
#include <yajl/yajl_gen.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <sstream>

#include "qel/core/serialization/json_serializable_type.h"
#include "qel/core/serialization/json_strings.h"
#include "qel/core/serialization/uid.h"
#include "qel/core/serialization/yajl_wrappers.h"

namespace {

bool out_of_memory = false;

}  // namespace

extern "C" [[gnu::visibility("default")]] yajl_gen yajl_gen_alloc(const yajl_alloc_funcs* functions) {
  if (out_of_memory) {
    return nullptr;
  }
  return reinterpret_cast<decltype(&yajl_gen_alloc)>(dlsym(RTLD_NEXT, "yajl_gen_alloc"))(functions);
}

namespace qel::serialization {
namespace {

constexpr const char* NOTHING_THROWN = "";

/// The text of the SerializationException that `step` throws.
std::string failure(const std::function<void()>& step) {
  try {
    step();
  } catch (const SerializationException& exception) {
    return exception.what();
  }
  return NOTHING_THROWN;
}

template <class T>
void write(YAJLStream& stream, const T& value) {
  SerializationContext context;
  JSONSerializableType<T>::serialize(stream, context, value);
}

template <class T>
std::string json(const T& value) {
  std::ostringstream os;
  YAJLStream stream(os, YAJLIndentation::COMPACT);
  write(stream, value);
  return os.str();
}

template <class T>
std::string failure_behind_complete_value(const T& value) {
  std::ostringstream os;
  YAJLStream stream(os, YAJLIndentation::COMPACT);
  stream.write_null();
  const std::string text = failure([&] { write(stream, value); });
  EXPECT_EQ(os.str(), "null");
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

const MACAddress ADDRESS({0x00, 0x11, 0x22, 0xAA, 0xBB, 0xCC});
const plc::NID NETWORK(plc::NID::Octets{0x01, 0x2A, 0x03, 0xF4, 0x05, 0x06, 0x0B});

TEST(Json, WritesEachTypeOfValue) {
  EXPECT_EQ(json(nullptr), "null");
  EXPECT_EQ(json(true), "true");
  EXPECT_EQ(json(false), "false");
  EXPECT_EQ(json<std::uint8_t>(200), "200");
  EXPECT_EQ(json<std::int8_t>(-128), "-128");
  EXPECT_EQ(json<std::uint16_t>(65535), "65535");
  EXPECT_EQ(json<std::int16_t>(-32768), "-32768");
  EXPECT_EQ(json<std::uint32_t>(4294967295), "4294967295");
  EXPECT_EQ(json<std::int32_t>(std::numeric_limits<std::int32_t>::min()), "-2147483648");
  EXPECT_EQ(json(std::string("a\"b\\c\n\0/\x01", 9)), "\"a\\\"b\\\\c\\n\\u0000/\\u0001\"");
  EXPECT_EQ(json("plain"), "\"plain\"");
  const char full[3] = {'a', 'b', 'c'};
  EXPECT_EQ(json(full), "\"abc\"");
  EXPECT_EQ(json("cut\0off"), "\"cut\"");
  EXPECT_EQ(json(ADDRESS), "\"00:11:22:AA:BB:CC\"");
  EXPECT_EQ(json(NETWORK), "\"01:2a:03:f4:05:06:0b\"");
  EXPECT_EQ(json(std::vector<bool>{true, false}), "[true,false]");
  EXPECT_EQ(json(std::vector<std::vector<Position>>{{}, {Position(), Position()}}), "[[],[{\"x\":3},{\"x\":3}]]");
}

template <class T>
class Json64 : public testing::Test {};
using Json64Types = testing::Types<long, long long, unsigned long, unsigned long long>;
TYPED_TEST_SUITE(Json64, Json64Types);

TYPED_TEST(Json64, IsWrittenOverTheWholeRange) {
  using Limits = std::numeric_limits<TypeParam>;
  EXPECT_EQ(json(Limits::max()), std::to_string(Limits::max()));
  EXPECT_EQ(json(Limits::min()), std::to_string(Limits::min()));
}

TEST(Json, NamesTheTypeThatWasRefused) {
  EXPECT_EQ(failure_behind_complete_value(nullptr), "Serialization of null failed");
  EXPECT_EQ(failure_behind_complete_value(true), "Serialization of bool failed");
  EXPECT_EQ(failure_behind_complete_value<std::uint8_t>(1), "Serialization of std::uint8_t failed");
  EXPECT_EQ(failure_behind_complete_value<std::uint16_t>(1), "Serialization of std::uint16_t failed");
  EXPECT_EQ(failure_behind_complete_value<std::uint32_t>(1), "Serialization of std::uint32_t failed");
  EXPECT_EQ(failure_behind_complete_value<std::uint64_t>(1), "Serialization of std::uint64_t failed");
  EXPECT_EQ(failure_behind_complete_value<unsigned long long>(1), "Serialization of std::uint64_t failed");
  EXPECT_EQ(failure_behind_complete_value<std::int8_t>(1), "Serialization of std::int8_t failed");
  EXPECT_EQ(failure_behind_complete_value<std::int16_t>(1), "Serialization of std::int16_t failed");
  EXPECT_EQ(failure_behind_complete_value<std::int32_t>(1), "Serialization of std::int32_t failed");
  EXPECT_EQ(failure_behind_complete_value<std::int64_t>(1), "Serialization of std::int64_t failed");
  EXPECT_EQ(failure_behind_complete_value<long long>(1), "Serialization of std::int64_t failed");
  EXPECT_EQ(failure_behind_complete_value(std::string()), "Serialization of std::string failed");
  EXPECT_EQ(failure_behind_complete_value("text"), "Serialization of std::string failed");
  EXPECT_EQ(failure_behind_complete_value(ADDRESS), "Serialization of MACAddress failed");
  EXPECT_EQ(failure_behind_complete_value(NETWORK), "Serialization of plc::NID failed");
  EXPECT_EQ(failure_behind_complete_value(std::vector<int>()),
            "Serialization of std::vector failed, failed to write opening brace");
  EXPECT_EQ(failure_behind_complete_value(Position()), "Failed to write opening brace for wrapper object");
  EXPECT_EQ(failure([] { json(std::string("\xFF")); }), "Serialization of std::string failed");
}

/// Closes the array that it stands in.
struct Traitor final : JSONSerializable {
  void serialize_impl(YAJLStream& stream, SerializationContext&) const override { stream.close_array(); }
};

TEST(Json, NoticesAnArrayThatAnElementClosed) {
  EXPECT_EQ(failure([] { json(std::vector<Traitor>(1)); }),
            "Serialization of std::vector failed, failed to write closing brace");
}

TEST(JsonStream, RefusesWhatTheGrammarForbids) {
  std::ostringstream os;
  YAJLStream stream(os, YAJLIndentation::COMPACT);
  EXPECT_TRUE(stream.open_object());
  EXPECT_FALSE(stream.write_integer(1));
  EXPECT_FALSE(stream.write_integer(std::numeric_limits<unsigned long long>::max()));
  EXPECT_FALSE(stream.write_bool(true));
  EXPECT_FALSE(stream.write_null());
  EXPECT_FALSE(stream.open_array());
  EXPECT_FALSE(stream.open_object());
  EXPECT_TRUE(stream.write_string("key"));
  EXPECT_TRUE(stream.open_array());
  EXPECT_TRUE(stream.write_integer(7U));
  EXPECT_TRUE(stream.close_array());
  EXPECT_TRUE(stream.close_object());
  EXPECT_FALSE(stream.close_array());
  EXPECT_EQ(os.str(), "{\"key\":[7]}");
}

TEST(JsonStream, SurvivesBracesThatItRefuses) {
  std::ostringstream os;
  YAJLStream stream(os, YAJLIndentation::COMPACT);
  EXPECT_FALSE(stream.close_object());
  for (int level = 1; level < 128; ++level) {
    EXPECT_TRUE(stream.open_array()) << level;
  }
  EXPECT_FALSE(stream.open_array());
  EXPECT_FALSE(stream.open_object());
  EXPECT_TRUE(stream.write_null());
  for (int level = 1; level < 128; ++level) {
    EXPECT_TRUE(stream.close_array()) << level;
  }
  EXPECT_FALSE(stream.close_array());
  EXPECT_EQ(os.str(), std::string(127, '[') + "null" + std::string(127, ']'));
}

TEST(JsonStream, IndentsAsAsked) {
  const auto written = [](YAJLIndentation indentation) {
    std::ostringstream os;
    YAJLStream stream(os, indentation);
    write(stream, std::vector<Position>(1));
    return os.str();
  };
  EXPECT_EQ(written(YAJLIndentation::COMPACT), "[{\"x\":3}]");
  EXPECT_EQ(written(YAJLIndentation::TABS), "[\n\t{\n\t\t\"x\": 3\n\t}\n]\n");
  EXPECT_EQ(written(YAJLIndentation::DEFAULT), "[\n    {\n        \"x\": 3\n    }\n]\n");
}

TEST(JsonStream, KeepsAFailingStreamsExceptionToItself) {
  std::ostringstream os;
  os.setstate(std::ios_base::badbit);
  EXPECT_THROW(os.exceptions(std::ios_base::badbit), std::ios_base::failure);
  YAJLStream stream(os, YAJLIndentation::COMPACT);
  EXPECT_TRUE(stream.write_string("lost"));
  EXPECT_TRUE(os.bad());
}

TEST(JsonStream, NeedsMemory) {
  out_of_memory = true;
  std::ostringstream os;
  const std::string text = failure([&] { YAJLStream(os, YAJLIndentation::COMPACT); });
  out_of_memory = false;
  EXPECT_EQ(text, "Creation of YAJL generator failed, no JSON created");
}

TEST(JsonWrapper, PutsBracesAroundTheContent) {
  std::ostringstream os;
  YAJLStream stream(os, YAJLIndentation::COMPACT);
  wrap_in_yajl_object(stream, [&] {
    wrap_in_yajl_object(stream, "empty", [] {});
    wrap_in_yajl_array(stream, "list", [&] { wrap_in_yajl_array(stream, [&] { stream.write_null(); }); });
  });
  EXPECT_EQ(os.str(), "{\"empty\":{},\"list\":[[null]]}");
}

TEST(JsonWrapper, SaysWhichPieceWasRefused) {
  std::ostringstream os;

  YAJLStream complete(os, YAJLIndentation::COMPACT);
  complete.write_null();
  EXPECT_EQ(failure([&] { wrap_in_yajl_object(complete, [] { FAIL(); }); }),
            "Failed to write opening brace for wrapper object");
  EXPECT_EQ(failure([&] { wrap_in_yajl_array(complete, [] { FAIL(); }); }),
            "Failed to write opening brace for wrapper array");
  EXPECT_EQ(failure([&] { wrap_in_yajl_object(complete, "o", [] { FAIL(); }); }),
            "Failed to write wrapper object name: o");
  EXPECT_EQ(failure([&] { wrap_in_yajl_array(complete, "a", [] { FAIL(); }); }),
            "Failed to write wrapper array name: a");

  YAJLStream object(os, YAJLIndentation::COMPACT);
  EXPECT_EQ(failure([&] { wrap_in_yajl_object(object, [&] { object.close_object(); }); }),
            "Failed to write closing brace for wrapper object");
  YAJLStream array(os, YAJLIndentation::COMPACT);
  EXPECT_EQ(failure([&] { wrap_in_yajl_array(array, [&] { array.close_array(); }); }),
            "Failed to write closing brace for wrapper array");
}

/// As deep as the generator goes, in the object that is the innermost one.
void at_the_depth_limit(const std::function<void(YAJLStream&)>& step) {
  std::ostringstream os;
  YAJLStream stream(os, YAJLIndentation::COMPACT);
  for (int depth = 1; depth < 127; ++depth) {
    ASSERT_TRUE(stream.open_array());
  }
  ASSERT_TRUE(stream.open_object());
  step(stream);
}

TEST(JsonWrapper, NamesTheMemberWhoseBraceWasRefused) {
  at_the_depth_limit([](YAJLStream& stream) {
    EXPECT_EQ(failure([&] { wrap_in_yajl_object(stream, "deep", [] { FAIL(); }); }),
              "Failed to write opening brace for wrapper object: deep");
  });
  at_the_depth_limit([](YAJLStream& stream) {
    EXPECT_EQ(failure([&] { wrap_in_yajl_array(stream, "deep", [] { FAIL(); }); }),
              "Failed to write opening brace for wrapper array: deep");
  });

  std::ostringstream os;
  YAJLStream outer_object(os, YAJLIndentation::COMPACT);
  outer_object.open_object();
  EXPECT_EQ(failure([&] {
              wrap_in_yajl_object(outer_object, "o", [&] {
                outer_object.close_object();
                outer_object.close_object();
              });
            }),
            "Failed to write closing brace for wrapper object: o");
  YAJLStream outer_array(os, YAJLIndentation::COMPACT);
  outer_array.open_object();
  EXPECT_EQ(failure([&] {
              wrap_in_yajl_array(outer_array, "a", [&] {
                outer_array.close_array();
                outer_array.close_object();
              });
            }),
            "Failed to write closing brace for wrapper array: a");
}

TEST(JsonStrings, EscapeAndUnescape) {
  const struct {
    std::string plain, escaped;
  } rows[] = {
      {"", ""},
      {"\n\b\t\r\f\"\\", R"(\n\b\t\r\f\"\\)"},
      {"/\x01\x7F\xC3\xA9", "/\x01\x7F\xC3\xA9"},
      {"\\n", R"(\\n)"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(json_string_escape(row.plain), row.escaped);
    EXPECT_EQ(json_string_unescape(row.escaped), row.plain);
  }
  EXPECT_EQ(json_string_escape(std::string("a\0b", 3)), R"(a\0b)");
}

TEST(JsonStrings, UnescapeWhatEscapeNeverWrites) {
  EXPECT_EQ(json_string_unescape(R"(a\0b)"), "ab");
  EXPECT_EQ(json_string_unescape(R"(\u0041)"), R"(\u0041)");
  EXPECT_EQ(json_string_unescape(R"(\\u0041)"), R"(\u0041)");
  EXPECT_EQ(json_string_unescape(R"(\/\x)"), "/x");
  EXPECT_EQ(json_string_unescape("end\\"), "end\\");
}

TEST(Uid, IsWrittenWithThePrefixOfItsType) {
  EXPECT_EQ(uid_to_string(UIDType::NODE, 4294967295), "n-4294967295");
  EXPECT_EQ(uid_to_string(UIDType(1), 7), "ni-7");
  EXPECT_EQ(uid_to_string(UIDType(2), 0), "nl-0");
  EXPECT_EQ(uid_to_string(UIDType(5), 7), "INVALID");
}

TEST(Uid, IsReadBehindThePrefixOfItsType) {
  const struct {
    std::uint8_t type;
    const char* text;
    unsigned int uid;  // of one that was 99
    std::string refused;
  } rows[] = {
      {0, "n-12x", 12, ""},
      {1, "ni-4294967295", 4294967295, ""},
      {2, "nl-42", 42, ""},
      {0, "ni-42", 99, "Could not convert string to uid, failed scan of string: \"ni-42\""},
      {1, "n-3", 99, "Could not convert string to uid, failed scan of string: \"n-3\""},
      {2, "nl-", 99, "Could not convert string to uid, failed scan of string: \"nl-\""},
      {0, "", 99, "Could not convert string to uid, failed scan of string: \"\""},
      {3, "n-1", 99, "Could not convert string to uid, wrong type: 3"},
      {255, "n-1", 99, "Could not convert string to uid, wrong type: 255"},
  };
  for (const auto& row : rows) {
    unsigned int uid = 99;
    EXPECT_EQ(failure([&] { string_to_uid(UIDType(row.type), row.text, uid); }), row.refused);
    EXPECT_EQ(uid, row.uid) << row.text;
  }
}

}  // namespace
}  // namespace qel::serialization
