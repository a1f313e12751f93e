#include "platform/linux/long_answers.h"

#include <algorithm>
#include <utility>

namespace qel::platform {

namespace {

constexpr int LONGEST_CHARACTER = 4;  // octets, in UTF-8

}  // namespace

LongAnswers::Piece LongAnswers::begin(Text answer, const char* asker, std::uint64_t now) {
  return take_piece({++last_name_, asker, std::move(answer), 0}, now);
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
  const auto is_inside_character = [](const Text::const_iterator& at) {
    return (static_cast<unsigned char>(*at) & 0xc0) == 0x80;
  };
  const bool is_last = answer.text.size() <= PIECE;
  auto end = is_last ? answer.text.cend() : answer.text.cbegin() + PIECE;
  for (int octets = 1; !is_last && octets < LONGEST_CHARACTER && is_inside_character(end); ++octets) {
    --end;
  }
  Piece piece{{answer.text.cbegin(), end}, is_last ? 0 : answer.name};
  if (is_last) {
    return piece;
  }
  answer.text.erase(answer.text.cbegin(), end);
  answer.overdue = now + PATIENCE_US;
  kept_.push_back(std::move(answer));
  std::size_t total = 0;
  const auto first_to_stay = std::find_if(kept_.rbegin(), kept_.rend(), [&](const Answer& any) {
    total += any.text.size();
    return total > KEPT;
  });
  kept_.erase(kept_.begin(), first_to_stay.base());
  return piece;
}

void LongAnswers::drop_overdue(std::uint64_t now) {
  std::erase_if(kept_, [now](const Answer& answer) { return answer.overdue <= now; });
}

std::uint64_t LongAnswers::next_overdue() const { return kept_.empty() ? UINT64_MAX : kept_.front().overdue; }

}  // namespace qel::platform
