#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <memory>
#include <optional>
#include <string>

#include "qel/daemon/mainloop.h"
#include "qel/daemon/signal.h"
#include "qel/daemon/timer.h"
#include "tools/meshd/wifi/model.h"
#include "tools/meshd/wifi/nl80211_socket.h"

namespace meshd::wifi {

/// Keeps the model of the radios, interfaces and stations in this network namespace up to date, by events and by
/// questions. It asks one question after another and reads one datagram in each turn of the loop, so it never blocks.
/// An answer during which things changed is requested again; after lost events, everything is. If the kernel has no
/// nl80211 yet, or a socket fails, it tries again after a pause.
class Radios {
 public:
  /// How often interfaces, stations and surveys are requested, because some of their changes cause no event.
  static constexpr std::chrono::seconds REFRESH{5};

  /// Starts in the next turn of the loop, which must outlive it.
  explicit Radios(qel::daemon::Mainloop& loop, std::chrono::milliseconds refresh = REFRESH);
  Radios(const Radios&) = delete;
  Radios& operator=(const Radios&) = delete;
  ~Radios();

  const Model& get_model() const { return model_; }

  /// Requests interfaces, stations and surveys now. Use it after a change that causes no event.
  void refresh();

  // A function connected to these signals must not destroy the object.

  /// The model is complete, after a change or a refresh; or it is empty because the kernel has no nl80211.
  qel::signals::Signal<> updated;
  /// The model has taken the event. What the event does not contain is requested; `updated` follows.
  qel::signals::Signal<const Event&> happened;
  /// A socket failed, or the kernel has no nl80211, with the reason. Emitted once for several failures in a row.
  qel::signals::Signal<const std::string&> failed;

 private:
  class Watch;

  void open();
  void close();
  void fail(const std::string& why);
  void open_in(std::chrono::milliseconds duration);
  void refresh_in(std::chrono::milliseconds duration);
  /// Adds the question to those that wait, unless it is among them.
  void queue(const Question& question);
  void queue_everything();
  /// Sends the first question that waits, unless an answer is expected.
  void ask_next();
  void send();
  void finish(const Nl80211Socket::Received& end);
  void read_answers();
  void read_events();

  qel::daemon::Mainloop& loop_;
  Model model_;
  std::optional<Question> current_;  ///< its answer is expected
  std::deque<Question> waiting_;
  std::size_t attempts_ = 0;  ///< in which things changed, of the current question
  std::shared_ptr<Watch> events_;
  std::shared_ptr<Watch> answers_;
  qel::time::Timer timer_;
  std::chrono::milliseconds refresh_;
  std::chrono::milliseconds pause_;  ///< after the next failure
  bool has_failed_ = false;
};

}  // namespace meshd::wifi
