#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>

#include "qel/daemon/signal.h"
#include "qel/daemon/timer.h"
#include "tools/meshctl/web/bus_client.h"

namespace meshctl::web {

/// A message of an event stream (HTML Living Standard, 9.2), shared by all who still send it.
using Message = std::shared_ptr<const std::string>;

/// What the page shows: the mesh as the daemon last described it, its radios and their clients if it has Wi-Fi, its
/// agents if it is a controller, whether it answers, and its latest events. The daemon is asked again after each event,
/// and every second, but only while somebody is interested. Neither daemon nor bus need be there: both may come and go.
/// Needs the loop of the platform.
class Feed {
 public:
  /// `allows_actions` is a part of the state, for the page.
  Feed(std::string daemon, bool allows_actions);
  Feed(const Feed&) = delete;
  Feed& operator=(const Feed&) = delete;
  ~Feed();

  /// The commands whose answers are fed.
  static constexpr std::size_t SUBJECTS = 4;

  /// Where a reader of the feed is. A new one first gets the state, the answers, and the events that are kept.
  struct Place {
    std::uint64_t state = 0;
    std::array<std::uint64_t, SUBJECTS> answers{};
    std::uint64_t event = 0;
  };
  /// The next message, and moves on; null if there is none yet. A slow reader misses answers that were replaced and
  /// events that are no longer kept.
  Message next(Place& place) const;

  /// Shows interest: the daemon is asked now, and during the next seconds.
  void want();
  /// Says that something has changed: if anybody is interested, the daemon is asked in a moment.
  void refresh();
  /// The topology as one line of JSON if it is recent, else empty.
  std::string_view recent_topology() const;
  /// Whether the daemon's last answer was an error, and no other is on its way.
  bool has_failed() const { return !reason_.empty() && !subjects_[0].is_asking; }
  /// Why the daemon does not answer; empty if it does.
  const std::string& reason() const { return reason_; }

  /// Emitted after each answer and each event. Never inside a call of this object, but for want().
  qel::signals::Signal<> changed;

 private:
  using Clock = std::chrono::steady_clock;

  /// What the daemon is asked for, and its last answer.
  struct Subject {
    Feed* feed = nullptr;
    const char* module = nullptr;
    const char* command = nullptr;
    std::string_view head{};  ///< of the messages
    bool is_asking = false;
    std::string compared{};  ///< the answer without ages
    Message message{};
    std::uint64_t number = 0;

    void take(std::string_view json);
  };

  void connect();
  void ask();
  void ask(Subject& subject);
  void ask_again();
  void take_answer(Subject& subject, int status, int result, std::string_view text);
  void take_event(std::string_view event, std::string_view data);
  void tell_state(const std::string& reason);

  std::string daemon_;
  bool allows_actions_;
  BusClient client_;
  Clock::time_point wanted_until_{};
  Clock::time_point answered_at_{};
  qel::time::Timer again_;
  qel::time::Timer soon_;
  std::string reason_;
  Message state_;
  std::uint64_t state_number_ = 0;
  std::array<Subject, SUBJECTS> subjects_;  ///< the topology is the first
  std::deque<Message> events_;
  std::uint64_t next_event_ = 0;
};

}  // namespace meshctl::web
