#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "qel/daemon/mainloop.h"
#include "qel/daemon/signal.h"
#include "qel/daemon/timer.h"

namespace meshd::wifi {

/// The control socket of a hostapd or a wpa_supplicant: one for each interface, such as /run/hostapd/wlan0. The daemon
/// may start later, end and start again: it is tried until it answers, asked from time to time whether it is still
/// there, and connected to anew when it is not. Nothing here waits.
class Control {
 public:
  struct Times {
    std::chrono::milliseconds retry{1000};   ///< between two attempts to connect
    std::chrono::milliseconds answer{5000};  ///< the longest that a command takes
    std::chrono::milliseconds check{10000};  ///< between two questions whether it is there
  };

  /// Gets the reply, such as "OK\n" or "FAIL\n"; nothing when there was none in time or the connection ended.
  using OnReply = std::function<void(const std::optional<std::string>& reply)>;

  /// Begins to connect.
  Control(qel::daemon::Mainloop& loop, std::string path);
  Control(qel::daemon::Mainloop& loop, std::string path, const Times& times);
  Control(const Control&) = delete;
  Control& operator=(const Control&) = delete;
  /// Commands under way get no reply.
  ~Control();

  bool is_connected() const { return is_attached_; }

  /// Sends a command when those before it are done. Without a connection it gets nothing, at once.
  void request(std::string command, OnReply on_reply);

  /// What the daemon tells by itself, such as "AP-STA-CONNECTED 02:00:00:00:01:00", without its level.
  qel::signals::Signal<const std::string&> event;
  /// The daemon answered for the first time since it was away (true), or is away (false).
  qel::signals::Signal<bool> connected;

 private:
  class Watch;
  struct Command {
    std::string text;
    OnReply on_reply;
  };

  void connect();
  void disconnect();
  void check();
  void send_first();
  void on_readable();
  void on_message(const std::string& message);

  qel::daemon::Mainloop& loop_;
  std::string path_;
  Times times_;
  std::shared_ptr<Watch> watch_;  ///< null without a connection
  bool is_attached_ = false;
  std::deque<Command> commands_;  ///< the first one is under way
  qel::time::Timer connect_timer_;
  qel::time::Timer answer_timer_;
  qel::time::Timer check_timer_;
};

}  // namespace meshd::wifi
