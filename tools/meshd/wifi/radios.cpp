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

/// Where things change all the time, an answer is taken as it is after so many.
constexpr std::size_t MOST_REPETITIONS = 5;

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

/// A socket of nl80211 in the loop.
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
    : loop_(loop),
      events_(std::make_shared<Watch>("nl80211 events", true, [this] { read_events(); })),
      answers_(std::make_shared<Watch>("nl80211 answers", false, [this] { read_answers(); })),
      refresh_(refresh) {
  loop_.add_watch(events_);
  loop_.add_watch(answers_);
  ask_everything();
}

Radios::~Radios() {
  loop_.remove_watch(events_);
  loop_.remove_watch(answers_);
}

void Radios::ask(const Question& question) {
  // The first one is under way: its answer may be older than what is asked about.
  const auto waiting = questions_.begin() + (questions_.empty() ? 0 : 1);
  if (std::find(waiting, questions_.end(), question) != questions_.end()) {
    return;
  }
  questions_.push_back(question);
  if (questions_.size() == 1) {
    repetitions_ = 0;
    send_first();
  }
}

void Radios::ask_everything() {
  ask({Topic::WIPHYS});
  ask({Topic::REGULATORY});
  ask({Topic::INTERFACES});
}

void Radios::refresh() {
  for (const auto& [number, interface] : model_.get_interfaces()) {
    for (const Question& question : Model::questions_about(interface)) {
      ask(question);
    }
  }
  timer_.start(refresh_, [this] { refresh(); });
}

void Radios::send_first() {
  const Question& question = questions_.front();
  const bool has_interface = question.topic == Topic::STATIONS || question.topic == Topic::SURVEYS;
  model_.begin(question);
  try {
    answers_->socket().ask_all(command_for(question.topic),
                               has_interface ? Subject{.wiphy = {}, .interface = question.interface} : Subject{});
  } catch (const std::system_error& error) {
    fail(answers_, error.what());
  }
}

void Radios::finish_first(Kind kind) {
  if (kind == Kind::INTERRUPTED && ++repetitions_ < MOST_REPETITIONS) {
    send_first();
    return;
  }
  const Question question = questions_.front();
  // A refusal: the interface is gone, or its driver does not know. Nothing is known of it then.
  model_.end();
  questions_.pop_front();
  repetitions_ = 0;
  if (!questions_.empty()) {
    send_first();
  }
  if (question.topic == Topic::INTERFACES) {
    refresh();
  }
  if (questions_.empty()) {
    updated();
  }
}

void Radios::read_answers() {
  const auto now = qel::LastChanged<float>::now();
  std::optional<Kind> end;
  try {
    const Result result = answers_->socket().receive([&](const Nl80211Socket::Received& received) {
      if (received.kind != Kind::MESSAGE) {
        end = received.kind;
      } else if (!questions_.empty()) {
        model_.add(received.message, now);
      }
    });
    if (result == Result::OVERRUN) {  // part of the answer is lost, and its end may be
      end = Kind::INTERRUPTED;
    }
  } catch (const std::system_error& error) {
    fail(answers_, error.what());
    return;
  }
  if (end && !questions_.empty()) {
    finish_first(*end);
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
      ask_everything();
    }
  } catch (const std::system_error& error) {
    fail(events_, error.what());
    return;
  }
  for (const Event& event : events) {
    for (const Question& question : model_.take(event)) {
      ask(question);
    }
    happened(event);
  }
}

void Radios::fail(const std::shared_ptr<Watch>& watch, const std::string& why) {
  loop_.remove_watch(watch);
  failed(why);
}

}  // namespace meshd::wifi
