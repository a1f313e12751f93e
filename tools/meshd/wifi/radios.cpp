#include "tools/meshd/wifi/radios.h"

#include <algorithm>
#include <functional>
#include <system_error>
#include <utility>
#include <vector>

namespace meshd::wifi {

namespace {

using Topic = Question::Topic;
using Kind = Nl80211Socket::Kind;
using Result = Nl80211Socket::Result;

/// Where things change all the time, the answer is taken as it is after this many attempts.
constexpr std::size_t MOST_ATTEMPTS = 5;
/// The latest refresh after an event: a station, for example, is authorized or moves to an interface of its own only
/// later, which causes no event.
constexpr std::chrono::milliseconds SETTLING{1000};
/// The pause after a failure doubles up to this multiple of the first one: opening a socket starts modprobe if the
/// kernel has no nl80211.
constexpr int LONGEST_PAUSE = 16;

nl80211_commands command_for(Topic topic) {
  switch (topic) {
    case Topic::REGULATORY:
      return NL80211_CMD_GET_REG;
    case Topic::INTERFACES:
      return NL80211_CMD_GET_INTERFACE;
    case Topic::STATIONS:
      return NL80211_CMD_GET_STATION;
    case Topic::SURVEYS:
      return NL80211_CMD_GET_SURVEY;
    case Topic::WIPHYS:
      break;
  }
  return NL80211_CMD_GET_WIPHY;
}

}  // namespace

/// A socket of nl80211 that the loop watches.
class Radios::Watch final : public qel::daemon::ISimpleFDWatch {
 public:
  Watch(const std::string& name, bool with_events, std::function<void()> read)
      : ISimpleFDWatch(-1, name), socket_(with_events), read_(std::move(read)) {
    set_fd(socket_.get_fd());
  }

  Nl80211Socket& socket() { return socket_; }

  void on_readable() override { read_(); }
  void on_writable() override {}

 private:
  Nl80211Socket socket_;
  std::function<void()> read_;
};

Radios::Radios(qel::daemon::Mainloop& loop, std::chrono::milliseconds refresh)
    : loop_(loop), refresh_(refresh), pause_(refresh) {
  open_in(std::chrono::milliseconds(0));
}

Radios::~Radios() { close(); }

/// As in refresh_in(), the timer is restarted before its work, without allocating memory, so that it continues even if
/// the work fails.
void Radios::open_in(std::chrono::milliseconds duration) {
  timer_.start(duration, [this] {
    timer_.start_ctimer(pause_);
    open();
  });
}

void Radios::open() {
  close();
  try {
    events_ = std::make_shared<Watch>("nl80211 events", true, [this] { read_events(); });
    answers_ = std::make_shared<Watch>("nl80211 answers", false, [this] { read_answers(); });
  } catch (const std::system_error& error) {
    model_ = Model();
    fail(error.what());
    updated();
    return;
  }
  loop_.add_watch(events_);
  loop_.add_watch(answers_);
  refresh_in(refresh_);
  queue_everything();
  ask_next();
}

void Radios::close() {
  for (std::shared_ptr<Watch>* const watch : {&events_, &answers_}) {
    if (*watch) {
      loop_.remove_watch(*watch);
      watch->reset();
    }
  }
  current_.reset();
  waiting_.clear();
}

void Radios::fail(const std::string& why) {
  close();
  open_in(pause_);
  pause_ = std::min(2 * pause_, LONGEST_PAUSE * refresh_);
  if (!std::exchange(has_failed_, true)) {
    failed(why);
  }
}

void Radios::refresh() {
  if (answers_) {
    queue({Topic::INTERFACES});
    ask_next();
  }
}

void Radios::refresh_in(std::chrono::milliseconds duration) {
  timer_.start(duration, [this] {
    timer_.start_ctimer(refresh_);
    refresh();
  });
}

void Radios::queue(const Question& question) {
  if (std::find(waiting_.begin(), waiting_.end(), question) == waiting_.end()) {
    waiting_.push_back(question);
  }
}

void Radios::queue_everything() {
  queue({Topic::WIPHYS});
  queue({Topic::REGULATORY});
  queue({Topic::INTERFACES});
}

void Radios::ask_next() {
  if (current_ || waiting_.empty()) {
    return;
  }
  current_ = waiting_.front();
  waiting_.pop_front();
  attempts_ = 0;
  send();
}

void Radios::send() {
  model_.begin(*current_);
  try {
    answers_->socket().ask_all(command_for(current_->topic), current_->interface);
  } catch (const std::system_error& error) {
    fail(error.what());
  }
}

void Radios::finish(const Nl80211Socket::Received& end) {
  const Topic topic = current_->topic;
  if (end.kind == Kind::INTERRUPTED && ++attempts_ < MOST_ATTEMPTS) {
    send();
    return;
  }
  if (end.kind == Kind::REFUSED && (topic == Topic::WIPHYS || topic == Topic::INTERFACES)) {
    fail("nl80211: " + std::generic_category().message(end.error));
    return;
  }
  // Other questions are refused if the interface is gone or its driver does not know the answer.
  model_.end();
  current_.reset();
  if (topic == Topic::INTERFACES) {
    for (const auto& [number, interface] : model_.get_interfaces()) {
      for (const Question& question : Model::questions_about(interface)) {
        queue(question);
      }
    }
  }
  if (!waiting_.empty()) {
    ask_next();
    return;
  }
  has_failed_ = false;
  pause_ = refresh_;
  updated();
}

void Radios::read_answers() {
  const auto now = qel::LastChanged<float>::now();
  std::optional<Nl80211Socket::Received> end;
  try {
    const Result result = answers_->socket().receive([&](const Nl80211Socket::Received& received) {
      if (received.kind != Kind::MESSAGE) {
        end = received;
      } else if (current_) {
        model_.add(received.message, now);
      }
    });
    if (result == Result::OVERRUN) {
      fail("nl80211: part of an answer is lost");
      return;
    }
  } catch (const std::system_error& error) {
    fail(error.what());
    return;
  }
  if (end && current_) {
    finish(*end);
  }
}

void Radios::read_events() {
  const auto now = qel::LastChanged<float>::now();
  std::vector<Event> events;
  try {
    const Result result = events_->socket().receive([&](const Nl80211Socket::Received& received) {
      if (received.kind == Kind::MESSAGE) {
        if (auto event = event_of(received.message, now)) {
          events.push_back(std::move(*event));
        }
      }
    });
    if (result == Result::OVERRUN) {
      queue_everything();
    }
  } catch (const std::system_error& error) {
    fail(error.what());
    return;
  }
  for (const Event& event : events) {
    for (const Question& question : model_.take(event)) {
      if (question.topic != Topic::STATIONS) {  // which anybody on the air can cause: left to the refresh below
        queue(question);
      }
    }
    happened(event);
  }
  if (!events.empty() && events_ && timer_.get_remaining_time() > SETTLING) {
    refresh_in(SETTLING);
  }
  ask_next();
}

}  // namespace meshd::wifi
