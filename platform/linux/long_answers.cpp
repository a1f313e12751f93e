#include "long_answers.h"

#include <algorithm>
#include <utility>

namespace qel::platform {

LongAnswers::Piece LongAnswers::begin(std::string answer, const char* asker, std::uint64_t now) {
  if (answer.size() <= kPiece) {
    return {std::move(answer), 0};
  }
  answer.shrink_to_fit();
  return take_piece({++last_name_, asker, std::move(answer), 0, 0}, now);
}

std::optional<LongAnswers::Piece> LongAnswers::go_on(std::uint64_t more, const char* asker, std::uint64_t now) {
  const auto found = std::find_if(kept_.begin(), kept_.end(),
                                  [&](const Answer& answer) { return answer.name == more && answer.asker == asker; });
  if (found == kept_.end()) {
    return std::nullopt;
  }
  Answer answer = std::move(*found);
  kept_.erase(found);
  return take_piece(std::move(answer), now);
}

LongAnswers::Piece LongAnswers::take_piece(Answer answer, std::uint64_t now) {
  const auto is_inside_character = [&](std::size_t at) {
    return (static_cast<unsigned char>(answer.text[at]) & 0xc0) == 0x80;
  };
  std::size_t end = answer.given + kPiece;
  if (end >= answer.text.size()) {
    return {answer.text.substr(answer.given), 0};
  }
  while (is_inside_character(end)) {
    --end;
  }
  Piece piece{answer.text.substr(answer.given, end - answer.given), answer.name};
  answer.given = end;
  answer.overdue = now + kPatienceUs;
  kept_.push_back(std::move(answer));
  std::size_t total = 0;
  const auto first_to_stay = std::find_if(kept_.rbegin(), kept_.rend(), [&](const Answer& any) {
    total += any.text.size();
    return total > kKept;
  });
  kept_.erase(kept_.begin(), first_to_stay.base());
  return piece;
}

void LongAnswers::drop_overdue(std::uint64_t now) {
  std::erase_if(kept_, [now](const Answer& answer) { return answer.overdue <= now; });
}

std::uint64_t LongAnswers::next_overdue() const { return kept_.empty() ? UINT64_MAX : kept_.front().overdue; }

}  // namespace qel::platform
