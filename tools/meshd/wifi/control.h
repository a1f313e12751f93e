#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "qel/daemon/mainloop.h"
#include "qel/daemon/signal.h"
#include "qel/daemon/timer.h"

namespace meshd::wifi {

/// The periods of a Control.
struct ControlTimes {
  std::chrono::milliseconds retry{1000};   ///< between two attempts to connect
  std::chrono::milliseconds answer{5000};  ///< the longest that a command may take
  std::chrono::milliseconds check{5000};   ///< between two checks whether the daemon still answers
};

/// A connection to the control socket of a hostapd or wpa_supplicant, which has one for each interface, such as
/// /run/hostapd/wlan0. The daemon may start later, stop and start again: it is tried until it answers and connected to
/// again after it was away. Nothing here blocks. All functions that it calls may destroy it.
class Control {
 public:
  /// Gets the reply, such as "OK\n" or "FAIL\n"; nothing if there was none in time or the connection ended.
  using OnReply = std::function<void(const std::optional<std::string>& reply)>;

  /// Begins to connect in the next turn of the loop, which is borrowed. The daemon must be able to write to
  /// `own_directory`, where our end of the connection gets a file: hostapd does not see a private /tmp.
  Control(qel::daemon::Mainloop& loop, std::string path, std::string own_directory, const ControlTimes& times = {});
  Control(const Control&) = delete;
  Control& operator=(const Control&) = delete;
  /// Commands that have no reply yet get none.
  ~Control();

  bool is_connected() const { return is_attached_; }

  /// Sends a command once those before it are done. If there is no connection, or too many commands wait, `on_reply`
  /// gets nothing before this returns.
  void request(std::string command, OnReply on_reply);

  /// A message that the daemon sends by itself, such as "AP-STA-CONNECTED 02:00:00:00:01:00", without its level.
  qel::signals::Signal<const std::string&> event;
  /// The daemon answered for the first time since it was away (true), or is away (false).
  qel::signals::Signal<bool> connected;

 private:
  class Watch;
  struct Command {
    std::string text;
    OnReply on_reply;
  };

  void connect_in(std::chrono::milliseconds duration);
  void connect();
  void disconnect();
  void on_attached(const std::optional<std::string>& reply);
  void check();
  void send_first();
  void on_readable();
  void take_event(std::string_view text);
  void take_reply(const std::string& reply);

  qel::daemon::Mainloop& loop_;
  std::string path_;
  std::string own_directory_;
  ControlTimes times_;
  std::shared_ptr<Watch> watch_;  ///< null without a connection
  bool is_attached_ = false;
  std::deque<Command> commands_;  ///< the first one has been sent
  bool is_refusal_told_ = false;
  qel::time::Timer connect_timer_;
  qel::time::Timer answer_timer_;
  qel::time::Timer check_timer_;
  std::shared_ptr<const char> life_ = std::make_shared<const char>();  ///< expires with the object
};

}  // namespace meshd::wifi
