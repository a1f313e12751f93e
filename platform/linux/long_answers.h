// Answers that are too long for one message.
#ifndef QEL_PLATFORM_LONG_ANSWERS_H
#define QEL_PLATFORM_LONG_ANSWERS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qel::platform {

/// Hands answers out in pieces, and keeps the rest of each until whoever asked has fetched it. A reader that is slow or
/// gone costs no more than these limits: what is not fetched in time is dropped, and when all that is kept gets too
/// much, so is what was not touched for longest. Times are those of now_us().
class LongAnswers {
 public:
  static constexpr std::size_t kPiece = std::size_t{64} * 1024;       ///< octets in a message at most
  static constexpr std::size_t kKept = std::size_t{8} * 1024 * 1024;  ///< octets of all answers together
  static constexpr std::uint64_t kPatienceUs = 5'000'000;             ///< between two pieces

  struct Piece {
    std::string text;
    std::uint64_t more;  ///< what the next piece is asked for by; 0 when this is the last
  };

  /// The first piece of an answer in UTF-8. `asker` is who may fetch the others.
  Piece begin(std::string answer, const char* asker, std::uint64_t now);
  /// Nothing when there is no such answer, or no more, or it is another's.
  std::optional<Piece> go_on(std::uint64_t more, const char* asker, std::uint64_t now);

  void drop_overdue(std::uint64_t now);
  /// When drop_overdue() has something to do; UINT64_MAX when nothing is kept.
  std::uint64_t next_overdue() const;
  void clear() { kept_.clear(); }

 private:
  struct Answer {
    std::uint64_t name;
    std::string asker;
    std::string text;
    std::size_t given;  ///< octets that were fetched
    std::uint64_t overdue;
  };

  Piece take_piece(Answer answer, std::uint64_t now);

  std::uint64_t last_name_ = 0;
  std::vector<Answer> kept_;  ///< the one touched last stands last
};

}  // namespace qel::platform

#endif
