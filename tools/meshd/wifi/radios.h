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

/// The radios of this network namespace, with their interfaces and stations, kept as the kernel has them. Questions are
/// asked one after another, and of an answer one datagram is read in a turn of the loop, so it never waits. An answer
/// during which things changed is asked for again; when events were lost, everything is.
class Radios {
 public:
  /// How often signals, counts and channel times are asked for.
  static constexpr std::chrono::seconds REFRESH{5};

  /// Begins to ask. Throws std::system_error: with ENOENT where the kernel has no nl80211.
  explicit Radios(qel::daemon::Mainloop& loop, std::chrono::milliseconds refresh = REFRESH);
  Radios(const Radios&) = delete;
  Radios& operator=(const Radios&) = delete;
  ~Radios();

  const Model& get_model() const { return model_; }

  /// All questions are answered: the model is complete, or has been refreshed.
  qel::signals::Signal<> updated;
  /// After the model took the event; what it does not tell is asked for, and told by `updated`.
  qel::signals::Signal<const Event&> happened;
  /// A socket failed, which then stays silent. With the error's text.
  qel::signals::Signal<const std::string&> failed;

 private:
  class Watch;

  void ask(const Question& question);
  void ask_everything();
  void refresh();
  void send_first();
  void finish_first(Nl80211Socket::Kind kind);
  void read_answers();
  void read_events();
  /// Gives up the watch and tells why.
  void fail(const std::shared_ptr<Watch>& watch, const std::string& why);

  qel::daemon::Mainloop& loop_;
  Model model_;
  std::deque<Question> questions_;  ///< the first one is being answered
  std::size_t repetitions_ = 0;     ///< of the first one
  std::shared_ptr<Watch> events_;
  std::shared_ptr<Watch> answers_;
  qel::time::Timer timer_;
  std::chrono::milliseconds refresh_;
};

}  // namespace meshd::wifi
