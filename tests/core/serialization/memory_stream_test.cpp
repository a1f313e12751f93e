#include "qel/core/serialization/memory_stream.h"

#include "tests/support/octets.h"

namespace qel::serialization {
namespace {

using test::octets;

constexpr std::streamoff FAR_AHEAD = std::numeric_limits<std::streamoff>::max();
constexpr std::streamoff FAR_BEHIND = std::numeric_limits<std::streamoff>::min() + 4;

TEST(MemoryIStream, SeeksWithinItsOctets) {
  const test::Octets wire = octets("A0 A1 A2 A3");
  const std::pair<std::ios_base::seekdir, std::streamoff> bases[] = {
      {std::ios_base::beg, 0}, {std::ios_base::cur, 1}, {std::ios_base::end, 4}};
  for (const auto& [direction, base] : bases) {
    for (const std::streamoff position : std::initializer_list<std::streamoff>{FAR_BEHIND, -1, 0, 1, 4, 5, FAR_AHEAD}) {
      MemoryIStream is(wire);
      is.get();
      is.seekg(position - base, direction);
      const bool inside = position >= 0 && position <= 4;
      EXPECT_EQ(is.fail(), !inside) << position;
      is.clear();
      EXPECT_EQ(is.tellg(), inside ? position : 1);
      EXPECT_EQ(is.consumed(), static_cast<std::size_t>(is.tellg()));
    }
  }
  EXPECT_EQ(MemoryIStream(wire).seekg(std::streampos(2)).get(), 0xA2);
}

TEST(MemoryIStream, ReadsWhereTheOctetsLieAndStartsOver) {
  test::Octets wire = octets("FF 80 00 41");
  MemoryIStream is(wire);
  EXPECT_EQ(is.get(), 0xFF);
  wire[1] = 0x7E;
  EXPECT_EQ(is.get(), 0x7E);
  EXPECT_EQ(is.unget().get(), 0x7E);
  char rest[3] = {};
  EXPECT_FALSE(is.read(rest, 3));
  EXPECT_EQ(is.gcount(), 2);
  is.reset(wire);
  EXPECT_TRUE(is.good());
  EXPECT_EQ(is.consumed(), 0U);
  EXPECT_EQ(is.get(), 0xFF);
}

TEST(MemoryOStream, GrowsWithWhatIsWritten) {
  MemoryOStream os;
  std::string expected;
  for (std::size_t size = 0; expected.size() < 3'000'000; size = (size + 1) % 5000) {
    const std::string piece(size, static_cast<char>(size));
    os.write(piece.data(), static_cast<std::streamsize>(size)).put('x');
    expected += piece + 'x';
  }
  EXPECT_EQ(static_cast<std::size_t>(os.tellp()), expected.size());
  EXPECT_TRUE(test::characters_of(os.octets()) == expected);
  os.seekp(0);
  EXPECT_TRUE(os.fail());
  os.reset();
  os << "again" << 12;
  EXPECT_EQ(test::characters_of(os.octets()), "again12");
}

TEST(MemoryOStream, ForgetsTheEnd) {
  MemoryOStream os;
  os << "abcdef";
  os.buffer().truncate(9);
  EXPECT_EQ(os.octets().size(), 6U);
  os.buffer().truncate(2);
  os << "XY";
  EXPECT_EQ(test::characters_of(os.octets()), "abXY");
  os.buffer().clear();
  EXPECT_EQ(os.octets().size(), 0U);
}

}  // namespace
}  // namespace qel::serialization
