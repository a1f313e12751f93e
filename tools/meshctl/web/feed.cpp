#include "tools/meshctl/web/feed.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "qelipc_client.h"
#include "tools/json_line.h"
#include "tools/meshctl/log_reader.h"
#include "tools/safe_text.h"

namespace meshctl::web {

namespace {

using namespace std::chrono_literals;

constexpr auto INTERVAL = 1s;       // between questions
constexpr auto AFTER_EVENT = 50ms;  // several events often come together
constexpr auto INTEREST = 5s;       // how long one who wanted to know is taken to want more
constexpr auto RECENT = 2s;         // age of a topology that is given out without asking
constexpr std::size_t KEPT_EVENTS = 100;
constexpr std::size_t LONGEST_EVENT = 4096;
constexpr std::string_view END = "\n\n";

Message make_message(std::string_view head, std::string_view data) {
  std::string text;
  text.reserve(head.size() + data.size() + END.size());
  text.append(head).append(data).append(END);
  return std::make_shared<const std::string>(std::move(text));
}

/// The members that hold the time since something happened, in the answers of all subjects.
constexpr std::string_view AGES[] = {"age",      "heard",     "utilization_age", "measured",
                                     "switched", "connected", "asked_to_move",   "inactive"};

/// Without the values of ages, which change every second. A string cannot contain such a key, since it would escape the
/// quotes.
std::string without_ages(std::string_view json) {
  constexpr std::string_view KEY_END = "\":";
  std::string rest;
  rest.reserve(json.size());
  for (;;) {
    const std::size_t end = json.find(KEY_END);
    rest.append(json.substr(0, end));
    if (end == std::string_view::npos) {
      return rest;
    }
    const std::string_view key = std::string_view(rest).substr(rest.rfind('"') + 1);
    const bool is_age = std::ranges::find(AGES, key) != std::ranges::end(AGES);
    rest.append(KEY_END);
    json.remove_prefix(end + KEY_END.size());
    if (is_age) {
      json.remove_prefix(std::min(json.find_first_not_of("0123456789"), json.size()));
    }
  }
}

/// As one line. Outside of strings, a line break means the same as a blank; inside, JSON has none.
std::string in_one_line(std::string_view json) {
  std::string line = tools::to_utf8(json);
  std::ranges::replace(line, '\n', ' ');
  std::ranges::replace(line, '\r', ' ');
  line.erase(line.find_last_not_of(' ') + 1);
  return line;
}

/// An object in one line, without the line's end.
template <class Members>
std::string object(Members members) {
  std::string line = tools::json_line(members);
  line.pop_back();
  return line;
}

}  // namespace

Feed::Feed(std::string daemon, bool allows_actions)
    : daemon_(std::move(daemon)),
      allows_actions_(allows_actions),
      subjects_{Subject{this, "mesh", "TOPOLOGY", "event: topology\ndata: "},
                Subject{this, "WIFI", "RADIOS", "event: radios\ndata: "},
                Subject{this, "WIFI", "CLIENTS", "event: clients\ndata: "},
                Subject{this, "CONTROLLER", "MESH", "event: controller\ndata: "}} {
  tell_state("");
  connect();
  ask_again();
}

Feed::~Feed() = default;

void Feed::connect() {
  const auto lost = [](void* self) {
    Feed& feed = *static_cast<Feed*>(self);
    feed.client_.reset();
    feed.tell_state("lost the message bus");
  };
  client_ = open_bus_client(lost, this);
  const auto take = [](void* self, const char*, const char* event, const void* data, unsigned size) {
    static_cast<Feed*>(self)->take_event(event, {static_cast<const char*>(data), size});
  };
  if (client_ == nullptr) {
    tell_state(no_bus());
  } else if (const int result = qelipc_client_subscribe(client_.get(), daemon_.c_str(), take, this); result < 0) {
    client_.reset();
    tell_state("cannot watch the events of '" + daemon_ + "': " + std::strerror(-result));
  }
}

void Feed::ask_again() {
  again_.start(INTERVAL, [this] { ask_again(); });
  if (client_ == nullptr) {
    connect();
  }
  if (Clock::now() < wanted_until_) {
    ask();
  }
}

void Feed::ask() {
  for (Subject& subject : subjects_) {
    ask(subject);
  }
}

void Feed::ask(Subject& subject) {
  if (subject.is_asking || client_ == nullptr) {
    return;
  }
  const char* const words[] = {subject.module, subject.command, "JSON", nullptr};
  const auto take = [](void* context, int status, int result, const char* answer) {
    Subject& asked = *static_cast<Subject*>(context);
    asked.feed->take_answer(asked, status, result, answer != nullptr ? answer : "");
  };
  subject.is_asking = true;
  const int status = qelipc_client_start_command(client_.get(), daemon_.c_str(), words, ANSWER_TIMEOUT, take, &subject);
  if (status < 0) {
    take_answer(subject, status, 0, "");
  }
}

void Feed::want() {
  const bool is_new = Clock::now() >= wanted_until_;
  wanted_until_ = Clock::now() + INTEREST;
  if (is_new) {
    ask();
  }
}

void Feed::refresh() {
  if (Clock::now() < wanted_until_) {
    soon_.start(AFTER_EVENT, [this] { ask(); });
  }
}

void Feed::take_answer(Subject& subject, int status, int result, std::string_view text) {
  subject.is_asking = false;
  if (status == 0 && result == 0) {
    subject.take(text);
  }
  if (&subject != subjects_.data()) {
    if (status == 0 && result != 0 && subject.message != nullptr) {
      subject.take("null");  // unlike the daemon before it, this one has no Wi-Fi or is no controller
    }
  } else if (status == 0 && result == 0) {
    answered_at_ = Clock::now();
    tell_state("");
  } else if (status < 0) {
    tell_state(no_answer(daemon_, status));
  } else {
    tell_state("no answer from '" + daemon_ + "': " + tools::for_terminal_line(text));
  }
  changed();
}

void Feed::Subject::take(std::string_view json) {
  std::string without = without_ages(json);
  if (message != nullptr && without == compared) {
    return;
  }
  compared = std::move(without);
  message = make_message(head, in_one_line(json));
  ++number;
}

void Feed::take_event(std::string_view event, std::string_view data) {
  using std::chrono::system_clock;
  const auto now = std::chrono::duration_cast<std::chrono::microseconds>(system_clock::now().time_since_epoch());
  const std::string line = object([&](tools::JsonLine& json) {
    json.member("time", time_text(now.count()));
    json.member("event", tools::to_utf8(event.substr(0, LONGEST_EVENT)));
    json.member("data", tools::to_utf8(data.substr(0, LONGEST_EVENT)));
  });
  events_.push_back(make_message("event: mesh\ndata: ", line));
  ++next_event_;
  if (events_.size() > KEPT_EVENTS) {
    events_.pop_front();
  }
  refresh();
  changed();
}

void Feed::tell_state(const std::string& reason) {
  if (state_ != nullptr && reason == reason_) {
    return;
  }
  reason_ = reason;
  const std::string line = object([&](tools::JsonLine& json) {
    json.member("name", tools::to_utf8(daemon_));
    json.member("answers", reason.empty());
    json.member("reason", tools::to_utf8(reason));
    json.member("actions", allows_actions_);
  });
  state_ = make_message("event: state\ndata: ", line);
  ++state_number_;
  changed();
}

Message Feed::next(Place& place) const {
  if (std::exchange(place.state, state_number_) != state_number_) {
    return state_;
  }
  for (std::size_t index = 0; index < SUBJECTS; ++index) {
    if (std::exchange(place.answers[index], subjects_[index].number) != subjects_[index].number) {
      return subjects_[index].message;
    }
  }
  if (place.event == next_event_) {
    return nullptr;
  }
  place.event = std::max(place.event, next_event_ - events_.size());
  return events_[static_cast<std::size_t>(place.event++ - (next_event_ - events_.size()))];
}

std::string_view Feed::recent_topology() const {
  const Subject& topology = subjects_.front();
  if (topology.message == nullptr || !reason_.empty() || Clock::now() - answered_at_ > RECENT) {
    return {};
  }
  std::string_view text = *topology.message;
  text.remove_prefix(topology.head.size());
  text.remove_suffix(END.size());
  return text;
}

}  // namespace meshctl::web
