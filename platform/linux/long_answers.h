#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <list>
#include <optional>
#include <string>

#include "qelipc.h"

/// Answers that are too long for one message.
namespace qel::platform {

/// Sends answers in pieces, and keeps the rest of each until the client has fetched it. Limits bound the cost of a slow
/// or dead client: an answer that is not fetched in time is dropped, and if all answers together get too large, so is
/// the least recently used one. Times are those of now_us().
class LongAnswers {
 public:
  static constexpr std::size_t PIECE = std::size_t{64} * 1024;  ///< maximum octets in a message
  static constexpr std::size_t KEPT = QELIPC_ANSWER_MAX;        ///< maximum octets of all answers together
  static constexpr std::uint64_t PATIENCE_US = 5'000'000;       ///< maximum time between two pieces

  /// Needs no memory in one piece: it grows without being copied, and shrinks as it is fetched.
  using Text = std::deque<char>;

  struct Piece {
    std::string text;    ///< cut between characters if the answer is UTF-8
    std::uint64_t more;  ///< identifies the next piece in a request; 0 if this is the last
  };

  /// Returns the first piece of an answer. Only `asker` may fetch the others.
  Piece begin(Text answer, const char* asker, std::uint64_t now);
  /// Returns nothing if there is no such answer, it has been dropped, or it belongs to another client.
  std::optional<Piece> go_on(std::uint64_t more, const char* asker, std::uint64_t now);

  void drop_overdue(std::uint64_t now);
  /// When drop_overdue() next has something to do; UINT64_MAX if no answers are kept.
  std::uint64_t next_overdue() const;
  void clear() { kept_.clear(); }

 private:
  struct Answer {
    std::uint64_t name;
    std::string asker;
    Text text;  ///< what has not been fetched yet
    std::uint64_t overdue;
  };

  Piece take_piece(Answer answer, std::uint64_t now);

  std::uint64_t last_name_ = 0;
  std::list<Answer> kept_;  ///< most recently used last
};

}  // namespace qel::platform
