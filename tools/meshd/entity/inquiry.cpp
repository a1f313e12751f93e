#include "tools/meshd/entity/inquiry.h"

#include <algorithm>
#include <utility>

namespace meshd {

void Inquiry::put(std::uint16_t message_id, TimePoint due) {
  if (!is_open_) {
    is_open_ = true;
    tries_ = 0;
    message_ids_.fill(message_id);
  }
  message_ids_[tries_ % message_ids_.size()] = message_id;
  due_ = due;
  ++tries_;
}

bool Inquiry::answer(Question question, std::uint16_t message_id) {
  if (!is_open_ || question != question_ || std::ranges::find(message_ids_, message_id) == message_ids_.end()) {
    return false;
  }
  is_open_ = false;
  return true;
}

void Inquiry::go_on_with(std::vector<qel::MACAddress> neighbors, TimePoint now) {
  question_ = Question::METRICS;
  is_open_ = false;
  due_ = now;
  neighbors_ = std::move(neighbors);
}

bool Inquiry::next_neighbor(TimePoint now) {
  neighbors_.pop_back();
  is_open_ = false;
  due_ = now;
  return !neighbors_.empty();
}

void Inquiry::rest(TimePoint until) {
  question_ = Question::TOPOLOGY;
  is_open_ = false;
  due_ = hurried_ ? std::min(until, *hurried_) : until;
  hurried_.reset();
  std::vector<qel::MACAddress>().swap(neighbors_);
}

void Inquiry::give_way(TimePoint now) {
  if (question_ == Question::METRICS && hurried_ && *hurried_ <= now) {
    rest(now);
  }
}

void Inquiry::hurry(TimePoint due) {
  if (is_open_ || question_ == Question::METRICS) {
    hurried_ = hurried_ ? std::min(due, *hurried_) : due;
  } else {
    due_ = std::min(due, due_);
  }
}

}  // namespace meshd
