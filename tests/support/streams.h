#pragma once

#include <streambuf>

#include "qel/core/serialization/memory_stream.h"
#include "qel/core/serialization/serialization_exception.h"
#include "tests/support/octets.h"

namespace qel::test {

constexpr auto CUT_SHORT = std::ios_base::eofbit | std::ios_base::failbit;

/// Returns the text of the SerializationException that `action` throws; empty if it throws nothing.
template <class Action>
std::string refusal(Action&& action) {
  try {
    action();
  } catch (const serialization::SerializationException& exception) {
    return exception.what();
  }
  return {};
}

/// An output stream that accepts a limited number of octets, like a full device; once it is full, flushing also fails.
class LimitedOStream final : public std::ostream {
 public:
  explicit LimitedOStream(std::size_t room) : std::ostream(nullptr), buffer_(room) { rdbuf(&buffer_); }
  const std::string& taken() const { return buffer_.taken; }

 private:
  struct Buffer final : std::streambuf {
    explicit Buffer(std::size_t size) : room(size) {}
    int_type overflow(int_type character) override {
      if (taken.size() == room) {
        return traits_type::eof();
      }
      taken += traits_type::to_char_type(character);
      return traits_type::not_eof(character);
    }
    int sync() override { return taken.size() == room ? -1 : 0; }

    std::size_t room;
    std::string taken;
  };
  Buffer buffer_;
};

/// The octets written, in hexadecimal, and the text of the exception, if any.
struct Written {
  std::string octets;
  std::string refused;
  bool operator==(const Written&) const = default;
};
inline std::ostream& operator<<(std::ostream& os, const Written& written) {
  return os << "'" << written.refused << "' " << written.octets;
}

/// Writes to a std::ostringstream and to a MemoryOStream, which both already contain `before` and must give the same
/// result.
inline Written written(const std::function<void(std::ostream&)>& write, const std::string& before = "") {
  std::ostringstream standard;
  serialization::MemoryOStream memory;
  standard << before;
  memory << before;
  const std::string refused = refusal([&] { write(standard); });
  EXPECT_EQ(refusal([&] { write(memory); }), refused);
  EXPECT_EQ(hex(memory.octets()), hex(octets_of(standard.str())));
  return {hex(memory.octets()), refused};
}

/// The state in which reading left a stream.
struct ReadOutcome {
  std::string refused;
  std::ios_base::iostate state;
  std::size_t consumed;
  bool operator==(const ReadOutcome&) const = default;
};
inline std::ostream& operator<<(std::ostream& os, const ReadOutcome& outcome) {
  return os << "'" << outcome.refused << "' state " << outcome.state << " consumed " << outcome.consumed;
}

/// Reads the octets from a std::istringstream and from a MemoryIStream, which must give the same result.
inline ReadOutcome read_all(const Octets& octets, const std::function<void(std::istream&)>& read) {
  const auto read_from = [&](std::istream&& is) {
    ReadOutcome outcome{refusal([&] { read(is); }), is.rdstate(), 0};
    is.clear();
    outcome.consumed = static_cast<std::size_t>(is.tellg());
    return outcome;
  };
  const ReadOutcome outcome = read_from(std::istringstream(characters_of(octets)));
  EXPECT_EQ(read_from(serialization::MemoryIStream(octets)), outcome);
  return outcome;
}

}  // namespace qel::test
