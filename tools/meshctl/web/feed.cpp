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

constexpr auto INTERVAL = 1s;         // between questions
constexpr auto AFTER_EVENT = 50ms;    // several events often come together
constexpr auto INTEREST = 5s;         // how long one who wanted to know is taken to want more
constexpr auto RECENT = 2s;           // age of a topology that is given out without asking
constexpr int ANSWER_TIMEOUT = 5000;  // milliseconds
constexpr std::size_t KEPT_EVENTS = 100;
constexpr std::size_t LONGEST_EVENT = 4096;
constexpr std::string_view TOPOLOGY_HEAD = "event: topology\ndata: ";
constexpr std::string_view END = "\n\n";

Message make_message(std::string_view head, std::string_view data) {
  std::string text;
  text.reserve(head.size() + data.size() + END.size());
  text.append(head).append(data).append(END);
  return std::make_shared<const std::string>(std::move(text));
}

/// Without the ages, which change every second. A string cannot contain the key, since it would escape the quotes.
std::string without_ages(std::string_view json) {
  constexpr std::string_view KEY = "\"age\":";
  std::string rest;
  rest.reserve(json.size());
  for (;;) {
    const std::size_t place = json.find(KEY);
    rest.append(json.substr(0, place));
    if (place == std::string_view::npos) {
      return rest;
    }
    json.remove_prefix(place + KEY.size());
    json.remove_prefix(std::min(json.find_first_not_of("0123456789"), json.size()));
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

void Feed::Closer::operator()(qelipc_client* client) const { qelipc_client_close(client); }

Feed::Feed(std::string daemon) : daemon_(std::move(daemon)) {
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
  client_.reset(qelipc_client_open_in_loop(lost, this));
  const auto take = [](void* self, const char*, const char* event, const void* data, unsigned size) {
    static_cast<Feed*>(self)->take_event(event, {static_cast<const char*>(data), size});
  };
  if (client_ == nullptr) {
    tell_state(std::string("cannot reach the message bus: ") + std::strerror(errno));
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
  if (is_asking_ || client_ == nullptr) {
    return;
  }
  const char* const words[] = {"mesh", "TOPOLOGY", "JSON", nullptr};
  const auto take = [](void* self, int status, int result, const char* answer) {
    static_cast<Feed*>(self)->take_answer(status, result, answer != nullptr ? answer : "");
  };
  is_asking_ = true;
  const int status = qelipc_client_start_command(client_.get(), daemon_.c_str(), words, ANSWER_TIMEOUT, take, this);
  if (status < 0) {
    take_answer(status, 0, "");
  }
}

void Feed::want() {
  const bool is_new = Clock::now() >= wanted_until_;
  wanted_until_ = Clock::now() + INTEREST;
  if (is_new) {
    ask();
  }
}

void Feed::take_answer(int status, int result, std::string_view text) {
  is_asking_ = false;
  if (status == 0 && result == 0) {
    answered_at_ = Clock::now();
    take_topology(text);
    tell_state("");
  } else if (status == -ENXIO) {
    tell_state("no daemon named '" + daemon_ + "' is running");
  } else {
    const std::string reason = status < 0 ? std::strerror(-status) : tools::for_terminal_line(text);
    tell_state("no answer from '" + daemon_ + "': " + reason);
  }
  changed();
}

void Feed::take_topology(std::string_view json) {
  std::string compared = without_ages(json);
  if (topology_ != nullptr && compared == compared_) {
    return;
  }
  compared_ = std::move(compared);
  topology_ = make_message(TOPOLOGY_HEAD, in_one_line(json));
  ++topology_number_;
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
  if (Clock::now() < wanted_until_) {
    soon_.start(AFTER_EVENT, [this] { ask(); });
  }
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
  });
  state_ = make_message("event: state\ndata: ", line);
  ++state_number_;
  changed();
}

Message Feed::next(Place& place) const {
  if (std::exchange(place.state, state_number_) != state_number_) {
    return state_;
  }
  if (std::exchange(place.topology, topology_number_) != topology_number_) {
    return topology_;
  }
  if (place.event == next_event_) {
    return nullptr;
  }
  place.event = std::max(place.event, next_event_ - events_.size());
  return events_[static_cast<std::size_t>(place.event++ - (next_event_ - events_.size()))];
}

std::string_view Feed::recent_topology() const {
  if (topology_ == nullptr || !reason_.empty() || Clock::now() - answered_at_ > RECENT) {
    return {};
  }
  std::string_view text = *topology_;
  text.remove_prefix(TOPOLOGY_HEAD.size());
  text.remove_suffix(END.size());
  return text;
}

}  // namespace meshctl::web
