#include "tools/meshd/wifi/control.h"

#include <sys/ioctl.h>
#include <sys/socket.h>
#include <wpa_ctrl.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <ostream>
#include <utility>

#include "qel/daemon/log.h"
#include "qel/daemon/watches.h"

namespace meshd::wifi {

namespace {

constexpr std::size_t MOST_COMMANDS = 64;

}  // namespace

/// The connection. A reply does not say to which command it belongs. After a timeout the connection is therefore given
/// up, and with it the address to which a late reply goes.
class Control::Watch final : public qel::daemon::ISimpleFDWatch {
 public:
  using Connection = std::unique_ptr<wpa_ctrl, void (*)(wpa_ctrl*)>;

  Watch(Connection connection, Control& control)
      : ISimpleFDWatch(wpa_ctrl_get_fd(connection.get()), "control socket"),
        connection_(std::move(connection)),
        control_(control) {}
  ~Watch() override { remove_from_evsock(); }  // before the descriptor is closed

  wpa_ctrl* connection() { return connection_.get(); }

  void on_readable() override { control_.on_readable(); }
  void on_writable() override {}

 private:
  Connection connection_;
  Control& control_;
};

Control::Control(qel::daemon::Mainloop& loop, std::string path, std::string own_directory, const ControlTimes& times)
    : loop_(loop), path_(std::move(path)), own_directory_(std::move(own_directory)), times_(times) {
  connect_in(std::chrono::milliseconds(0));
}

Control::~Control() {
  if (watch_) {
    loop_.remove_watch(watch_);
  }
}

/// The timer is restarted before its work, without allocating memory, so that it continues even if the work fails.
void Control::connect_in(std::chrono::milliseconds duration) {
  connect_timer_.start(duration, [this] {
    connect_timer_.start_ctimer(times_.retry);
    connect();
  });
}

void Control::connect() {
  if (watch_) {  // left when memory ran out
    loop_.remove_watch(std::exchange(watch_, nullptr));
    commands_.clear();
  }
  Watch::Connection connection(wpa_ctrl_open2(path_.c_str(), own_directory_.c_str()), wpa_ctrl_close);
  if (connection == nullptr) {
    // That the daemon does not run is no trouble.
    if (errno != ENOENT && errno != ECONNREFUSED && !std::exchange(is_refusal_told_, true)) {
      qel::debug::stream("meshd") << qel::debug::LogLevels::ERROR << "cannot connect to " << path_ << ": "
                                  << std::strerror(errno) << std::endl;
    }
    return;
  }
  is_refusal_told_ = false;
  watch_ = std::make_shared<Watch>(std::move(connection), *this);
  loop_.add_watch(watch_);
  commands_.push_back({"ATTACH", [this](const std::optional<std::string>& reply) { on_attached(reply); }});
  send_first();
  connect_timer_.stop();
}

void Control::on_attached(const std::optional<std::string>& reply) {
  if (reply == "OK\n") {
    is_attached_ = true;
    check_timer_.start(times_.check, [this] { check(); });
    connected(true);
  } else if (reply) {
    disconnect();
  }
}

void Control::disconnect() {
  loop_.remove_watch(std::exchange(watch_, nullptr));
  answer_timer_.stop();
  check_timer_.stop();
  connect_in(times_.retry);
  const std::deque<Command> left = std::exchange(commands_, {});
  const bool was_attached = std::exchange(is_attached_, false);
  const std::weak_ptr<const char> life = life_;
  for (const Command& command : left) {
    command.on_reply(std::nullopt);
    if (life.expired()) {
      return;
    }
  }
  if (was_attached) {
    connected(false);
  }
}

void Control::check() {
  check_timer_.start_ctimer(times_.check);
  request("PING", [](const std::optional<std::string>&) {});  // the connection ends unless there is a reply
}

void Control::request(std::string command, OnReply on_reply) {
  if (!is_attached_ || commands_.size() >= MOST_COMMANDS) {
    on_reply(std::nullopt);
    return;
  }
  commands_.push_back({std::move(command), std::move(on_reply)});
  if (commands_.size() == 1) {
    send_first();
  }
}

void Control::send_first() {
  // Not by wpa_ctrl_request, which waits for the reply.
  const std::string& text = commands_.front().text;
  const bool is_sent =
      ::send(wpa_ctrl_get_fd(watch_->connection()), text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL) >= 0;
  // A failure ends the connection in the next turn, not while the caller is in the middle of something.
  answer_timer_.start(is_sent ? times_.answer : std::chrono::milliseconds(0), [this] { disconnect(); });
}

/// One message in each turn, since what is called with it may destroy this object.
void Control::on_readable() {
  int next = 0;  // the octets of the next message
  ioctl(watch_->get_fd(), FIONREAD, &next);
  std::string message(static_cast<std::size_t>(std::max(next, 1)), '\0');
  std::size_t size = message.size();
  if (wpa_ctrl_recv(watch_->connection(), message.data(), &size) != 0) {
    if (errno != EAGAIN && errno != EINTR) {
      disconnect();
    }
    return;
  }
  message.resize(size);
  if (message.starts_with('<')) {  // "<3>" is the level of an event
    take_event(std::string_view(message).substr(message.find('>') + 1));
  } else {
    take_reply(message);
  }
}

void Control::take_event(std::string_view text) {
  if (text.starts_with(WPA_EVENT_TERMINATING)) {
    disconnect();
  } else {
    event(std::string(text));
  }
}

void Control::take_reply(const std::string& reply) {
  if (commands_.empty()) {
    return;
  }
  answer_timer_.stop();
  const Command command = std::move(commands_.front());
  commands_.pop_front();
  if (!commands_.empty()) {
    send_first();
  }
  command.on_reply(reply);
}

}  // namespace meshd::wifi
