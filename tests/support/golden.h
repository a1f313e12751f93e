#pragma once

#include "qel/core/serialization/binary_serializable_type.h"
#include "tests/support/streams.h"

namespace qel::test {

/// The required behaviour of a class as one row: an object, its octets and its debug text, each written by hand.
template <class T>
struct Golden {
  using Offsets = std::vector<std::size_t>;

  /// For the octets, see octets(). `forgets` lists the offsets of octets that a decoder ignores: they may have any
  /// value, and encoding does not restore it. For a TLV these are its type and length by default. Changing any other
  /// bit must give a different object, or none; `skips` lists the offsets where this depends on the bit.
  template <class Object>
  Golden(
      Object the_object, const std::string& the_octets, std::string the_text,
      Offsets forgets = requires(const T& tlv) { tlv.get_type(); } ? Offsets{0, 1, 2} : Offsets{}, Offsets skips = {})
      : object(std::make_shared<Object>(std::move(the_object))),
        octets(test::octets(the_octets)),
        text(std::move(the_text)),
        forgotten(std::move(forgets)),
        skipped(std::move(skips)) {}

  std::shared_ptr<const T> object;
  Octets octets;
  std::string text;
  Offsets forgotten;
  Offsets skipped;
};

struct Habits {
  bool leaves_base_decimal = false;  ///< printing leaves the stream set to decimal instead of restoring it
  bool appends = false;              ///< decoding appends to what the object already holds
};

template <class T>
Written encode(const T& object, const std::string& before = "") {
  serialization::SerializationContext context;
  return written([&](std::ostream& os) { serialization::BinarySerializableType<T>::serialize(os, context, object); },
                 before);
}

template <class T>
struct Decoded {
  ReadOutcome outcome;
  std::unique_ptr<T> object;
};

/// Decodes from both kinds of stream, each into a fresh object made by `blank`, and returns one of the two.
template <class Blank>
auto decode(const Octets& octets, const Blank& blank) {
  using T = std::remove_reference_t<decltype(*blank())>;
  serialization::SerializationContext context;
  std::unique_ptr<T> object;
  ReadOutcome outcome = read_all(octets, [&](std::istream& is) {
    object = blank();
    serialization::BinarySerializableType<T>::deserialize(is, context, *object);
  });
  return Decoded<T>{std::move(outcome), std::move(object)};
}
template <class T>
Decoded<T> decode(const Octets& octets) {
  return decode(octets, [] { return std::make_unique<T>(); });
}

template <class T>
void expect_unequal(const T& left, const T& right) {
  EXPECT_FALSE(left == right);
  EXPECT_FALSE(right == left);
  EXPECT_TRUE(left != right);
}

/// Checks that both kinds of stream receive the octets; a stream that fails midway must make encoding fail, and hold
/// the octets up to that point.
template <class T>
void check_encoding(const Golden<T>& golden) {
  EXPECT_EQ(encode(*golden.object), (Written{hex(golden.octets), ""}));
  for (std::size_t room = 0; room < golden.octets.size(); ++room) {
    LimitedOStream os(room);
    serialization::SerializationContext context;
    EXPECT_NE(refusal([&] { golden.object->serialize_impl(os, context); }), "") << room;
    EXPECT_TRUE(os.bad()) << room;
    EXPECT_EQ(octets_of(os.taken()), first(room, golden.octets));
  }
}

/// Checks that the octets decode to the object, into a fresh object and into a used one, that no further octet is read,
/// and that all truncations fail.
template <class T, class Blank>
void check_decoding(const Golden<T>& golden, const Blank& blank, const Habits& habits) {
  Octets longer = golden.octets;
  longer.push_back(0xEE);
  for (const Octets& input : {golden.octets, longer}) {
    const auto [outcome, decoded] = decode(input, blank);
    EXPECT_EQ(outcome, (ReadOutcome{"", std::ios_base::goodbit, golden.octets.size()}));
    if (!habits.appends) {
      serialization::MemoryIStream is(input);
      serialization::SerializationContext context;
      decoded->deserialize_impl(is, context);
    }
    EXPECT_TRUE(*decoded == *golden.object);
    EXPECT_TRUE(*golden.object == *decoded);
    EXPECT_FALSE(*decoded != *golden.object);
  }
  for (std::size_t size = 0; size < golden.octets.size(); ++size) {
    const ReadOutcome outcome = decode(first(size, golden.octets), blank).outcome;
    EXPECT_NE(outcome.refused, "") << size;
    EXPECT_NE(outcome.state & CUT_SHORT, 0) << size;
  }
}

/// Checks that every bit of the octets is either kept, compared and written back, or ignored.
template <class T, class Blank>
void check_each_bit(const Golden<T>& golden, const Blank& blank) {
  for (std::size_t bit = 0; bit < 8 * golden.octets.size(); ++bit) {
    const std::size_t offset = bit / 8;
    SCOPED_TRACE("offset " + std::to_string(offset) + " bit " + std::to_string(bit % 8));
    Octets changed = golden.octets;
    changed[offset] = static_cast<std::uint8_t>(changed[offset] ^ 1U << bit % 8);
    const auto [outcome, decoded] = decode(changed, blank);
    if (std::ranges::count(golden.forgotten, offset) != 0) {
      EXPECT_EQ(outcome, (ReadOutcome{"", std::ios_base::goodbit, changed.size()}));
      EXPECT_TRUE(*decoded == *golden.object);
      EXPECT_EQ(encode(*decoded), (Written{hex(golden.octets), ""}));
    } else if (outcome.refused.empty() && std::ranges::count(golden.skipped, offset) == 0) {
      expect_unequal(*decoded, *golden.object);
      const Written again = encode(*decoded);
      EXPECT_TRUE(outcome.consumed != changed.size() || !again.refused.empty() || again.octets == hex(changed));
    }
  }
}

/// Checks that records are ordered by their fields in wire order: a smaller octet makes a record less, whatever follows
/// it.
template <class T, class Blank>
void check_order(const Golden<T>& golden, const Blank& blank) {
  if constexpr (requires(const T& object) { object < object; }) {
    EXPECT_FALSE(*golden.object < *golden.object);
    for (std::size_t offset = 0; offset < golden.octets.size(); ++offset) {
      Octets less = first(offset + 1, golden.octets);
      --less.back();
      less.resize(golden.octets.size() + 20, 0xFF);
      const auto [outcome, decoded] = decode(less, blank);
      if (golden.octets[offset] != 0 && std::ranges::count(golden.forgotten, offset) == 0) {
        EXPECT_TRUE(*decoded < *golden.object) << offset;
        EXPECT_FALSE(*golden.object < *decoded) << offset;
      }
    }
  }
}

/// Checks that the text does not depend on the stream's format, which stays unchanged.
template <class T>
void check_text(const Golden<T>& golden, const Habits& habits) {
  EXPECT_EQ((std::ostringstream() << *golden.object).str(), golden.text);

  std::ostringstream os;
  os << std::hex << std::showbase << std::uppercase << std::showpos << std::left << std::boolalpha << std::setfill('*');
  const std::ios_base::fmtflags before = os.flags();
  os << *golden.object;
  EXPECT_EQ(os.str(), golden.text);
  EXPECT_EQ(os.flags(),
            habits.leaves_base_decimal ? (before & ~std::ios_base::basefield) | std::ios_base::dec : before);
  EXPECT_EQ(os.fill(), '*');
}

/// Checks all rows; `blank` makes the empty object that decodes given octets.
template <class T, class Blank>
void check_golden(const std::vector<Golden<T>>& rows, const Blank& blank, const Habits& habits = {}) {
  for (const Golden<T>& golden : rows) {
    SCOPED_TRACE(golden.text);
    const auto blank_for_row = [&] { return std::unique_ptr<T>(blank(golden.octets)); };
    check_encoding(golden);
    check_decoding(golden, blank_for_row, habits);
    check_each_bit(golden, blank_for_row);
    check_order(golden, blank_for_row);
    check_text(golden, habits);
  }
}

/// As above, for one object of a class that makes its own blanks.
template <class T, class... More>
void check_golden_of(T object, More&&... octets_text_and_so_on) {
  check_golden<T>({Golden<T>(std::move(object), std::forward<More>(octets_text_and_so_on)...)},
                  [](const Octets&) { return std::make_unique<T>(); });
}

/// Checks that each object is less than all that follow it, and not less than any before it.
template <class T>
void expect_ascending(const std::vector<const T*>& objects) {
  for (std::size_t i = 0; i < objects.size(); ++i) {
    for (std::size_t k = 0; k < objects.size(); ++k) {
      EXPECT_EQ(*objects[i] < *objects[k], i < k) << i << " " << k;
    }
  }
}

}  // namespace qel::test
