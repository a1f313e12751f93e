#include "qel/core/mac_address.h"
#include "qel/core/plc_nid.h"
#include "qel/core/serialization/string_helpers.h"
#include "tests/support/golden.h"

namespace qel::serialization {
namespace {

using test::CUT_SHORT;
using test::octets;

enum class Flag : std::uint8_t { SET = 0xC5 };
enum class Code : std::uint16_t { NAMED = 0xC5A6 };

template <class T>
std::function<void(std::istream&)> reader(T& value) {
  return [&value](std::istream& is) {
    SerializationContext context;
    BinarySerializableType<T>::deserialize(is, context, value);
  };
}

/// Checks that the value is refused by a stream with too little room, one that cannot flush, and one that has already
/// failed.
template <class T>
void check_write_failures(const T& value, std::size_t size, const std::string& text) {
  SerializationContext context;
  const auto write = [&](std::ostream& os) { BinarySerializableType<T>::serialize(os, context, value); };
  for (std::size_t room = 0; room <= size; ++room) {
    test::LimitedOStream os(room);
    os << std::unitbuf;
    EXPECT_EQ(test::refusal([&] { write(os); }), text) << room;
    EXPECT_TRUE(os.bad());
    EXPECT_EQ(os.taken().size(), room);
  }
  const auto write_to_failed = [&](std::ostream& os) {
    os.setstate(std::ios_base::failbit);
    write(os);
  };
  EXPECT_EQ(test::written(write_to_failed), (test::Written{"", text}));
}

/// Checks both directions of the wire format, and the failures; `type` is the name in their texts.
template <class T>
void check_codec(const T& value, const char* wire_text, const std::string& type) {
  SCOPED_TRACE(type + " " + wire_text);
  const test::Octets wire = octets(wire_text);
  EXPECT_EQ(test::encode(value), (test::Written{test::hex(wire), ""}));
  check_write_failures(value, wire.size(), "Serialization of type " + type + " failed.");

  T target{};
  EXPECT_EQ(test::read_all(wire, reader(target)), (test::ReadOutcome{"", std::ios_base::goodbit, wire.size()}));
  EXPECT_EQ(target, value);

  const std::string refused = "Deserialization of type " + type + " failed.";
  const T untouched = target;
  for (std::size_t size = 0; size < wire.size(); ++size) {
    // Different octets from before, so that a partly filled target is detected.
    const test::Octets cut(size, static_cast<std::uint8_t>(~wire.front()));
    EXPECT_EQ(test::read_all(cut, reader(target)), (test::ReadOutcome{refused, CUT_SHORT, size}));
    EXPECT_EQ(target, untouched);
  }
  const auto read_from_failed = [&](std::istream& is) {
    is.setstate(std::ios_base::badbit);
    reader(target)(is);
  };
  EXPECT_EQ(test::read_all(wire, read_from_failed).refused, refused);
  EXPECT_EQ(target, untouched);
}

TEST(Codec, IntegersGoMostSignificantOctetFirst) {
  check_codec<char>('\xE9', "E9", "char");
  check_codec<signed char>(-2, "FE", "std::int8_t");
  check_codec<unsigned char>(0xC5, "C5", "std::uint8_t");
  check_codec<unsigned short>(0x1234, "12 34", "std::uint16_t");
  check_codec<unsigned int>(0x01020304, "01 02 03 04", "std::uint32_t");
  check_codec<std::uint64_t>(0xF1E2D3C4B5A69788, "F1 E2 D3 C4 B5 A6 97 88", "std::uint64_t");
  check_codec<std::int64_t>(-2, "FF FF FF FF FF FF FF FE", "std::int64_t");
  check_codec<bool>(true, "01", "std::uint8_t");
  check_codec<Flag>(Flag::SET, "C5", "std::uint8_t");
  check_codec<Code>(Code::NAMED, "C5 A6", "std::uint16_t");
  bool value = false;
  test::read_all(octets("80"), reader(value));
  EXPECT_TRUE(value) << "like every octet but zero";
}

TEST(Codec, OctetValuesGoInOrder) {
  check_codec(MACAddress(MACAddress::Octets{0x02, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E}), "02 1A 2B 3C 4D 5E", "std::uint8_t");
  check_codec(plc::NID(plc::NID::Octets{1, 2, 3, 4, 5, 6, 0xA7}), "01 02 03 04 05 06 A7", "std::uint8_t");
  check_codec(std::array<std::uint8_t, 3>{0x11, 0x22, 0x33}, "11 22 33", "std::uint8_t");
}

TEST(Codec, BitSetsGoLowestOctetFirst) {
  check_codec(std::bitset<8>(0x41), "41", "std::uint8_t");
  check_codec(std::bitset<40>(0x8000000402), "02 04 00 00 80", "std::uint8_t");
  check_codec(std::bitset<64>(0x8000000400000201), "01 02 00 00 04 00 00 80", "std::uint8_t");
  check_codec(std::bitset<88>(0x201).set(66).set(87), "01 02 00 00 00 00 00 00 04 00 80", "std::uint8_t");
}

TEST(Codec, StringsAndStringStreamsAreTheirCharactersAndCannotBeRead) {
  std::string value("A\0\xFFz", 4);
  EXPECT_EQ(test::encode(value), (test::Written{"4100FF7A", ""}));
  check_write_failures(value, 4, "Serialization of type std::uint8_t failed.");
  EXPECT_EQ(test::read_all(octets("41"), reader(value)),
            (test::ReadOutcome{"Raw deserialization of std::string not supported!", std::ios_base::goodbit, 0}));

  std::stringstream stream("abc" + value);
  stream.get();  // reading through it changes nothing
  EXPECT_EQ(test::encode(stream), (test::Written{"6162634100FF7A", ""}));
  check_write_failures(stream, 7, "Serialization of type std::stringstream failed.");
  EXPECT_EQ(test::read_all(octets("41"), reader(stream)).refused,
            "Deserialization of type std::stringstream not supported!");
  EXPECT_EQ(test::encode(std::stringstream()), (test::Written{"", "Serialization of type std::stringstream failed."}));
}

TEST(StringWithSize, IsWrittenBehindItsSize) {
  const auto write = [](std::size_t size, std::uint8_t min, std::uint8_t max) {
    SerializationContext context;
    return test::written(
        [&](std::ostream& os) { serialize_string_with_uint8_size(os, context, std::string(size, 'q'), min, max); });
  };
  EXPECT_EQ(write(0, 0, 0), (test::Written{"00", ""}));
  EXPECT_EQ(write(2, 2, 3), (test::Written{"027171", ""}));
  EXPECT_EQ(write(3, 2, 3), (test::Written{"03717171", ""}));
  // The limits are shown as characters with these codes, the size in digits.
  EXPECT_EQ(write(64, 65, 90), (test::Written{"", "Size 64 is not in the range [A, Z]"}));
  EXPECT_EQ(write(256, 1, 255), (test::Written{"", "Size 256 is not in the range [\x01, \xFF]"}));
}

TEST(StringWithSize, IsReadWholeOrNotAtAll) {
  constexpr auto GOOD = std::ios_base::goodbit;
  const auto expect_read = [](const char* wire, std::uint8_t min, const test::ReadOutcome& outcome,
                              const std::string& expected = "before") {
    std::string text = "before";
    const auto read = [&](std::istream& is) {
      SerializationContext context;
      deserialize_string_with_uint8_size(is, context, text, min, 90);
    };
    EXPECT_EQ(test::read_all(octets(wire), read), outcome);
    EXPECT_EQ(text, expected);
  };
  expect_read("02 00FF 63", 2, {"", GOOD, 3}, std::string("\0\xFF", 2));
  expect_read("00", 0, {"", GOOD, 1}, "");
  // Here the size is also shown as a character.
  expect_read("40 6162", 65, {"Size @ is not in the range [A, Z]", GOOD, 1});
  expect_read("5B 6162", 65, {"Size [ is not in the range [A, Z]", GOOD, 1});
  expect_read("03 6162", 0, {"Deserialization of type char failed.", CUT_SHORT, 3});
  expect_read("", 0, {"Deserialization of type std::uint8_t failed.", CUT_SHORT, 0});
}

TEST(DeSerializeStringHelper, ReadsTheLengthThatItWasGivenAndWritesAll) {
  std::string text = "before";
  DeSerializeStringHelper helper(text, 300);
  EXPECT_EQ(test::read_all(test::Octets(301, 0xE9), reader(helper)),
            (test::ReadOutcome{"", std::ios_base::goodbit, 300}));
  EXPECT_EQ(text, std::string(300, '\xE9'));
  EXPECT_EQ(test::read_all(test::Octets(299, 0xE9), reader(helper)).refused, "Deserialization of type char failed.");
  EXPECT_EQ(text, "");
  text = std::string("q\0\xFF", 3);
  EXPECT_EQ(test::encode(DeSerializeStringHelper(text, 1)), (test::Written{"7100FF", ""}));
}

TEST(SerializationContext, LendsAnEmptyStreamToEachBorrower) {
  SerializationContext context;
  for (int round = 0; round < 2; ++round) {
    SerializationContext::Loan outer(context);
    EXPECT_TRUE(outer.stream().good() && outer.stream().octets().empty());
    outer.stream() << "outer";
    {
      SerializationContext::Loan inner(context);
      EXPECT_TRUE(inner.stream().octets().empty());
      inner.stream() << "inner";
    }
    EXPECT_EQ(test::characters_of(outer.stream().octets()), "outer");
    outer.stream().setstate(std::ios_base::badbit);
  }
}

}  // namespace
}  // namespace qel::serialization
