#include "tools/meshd/wifi/control.h"

#include <sys/socket.h>
#include <wpa_ctrl.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <utility>

#include "qel/daemon/watches.h"

namespace meshd::wifi {

namespace {

/// What the daemons put into one datagram at most.
constexpr std::size_t MESSAGE_SIZE = 8192;
/// Messages in a turn. More come in the next one.
constexpr int MOST_IN_A_TURN = 16;
constexpr std::size_t MOST_COMMANDS = 64;

}  // namespace

/// The connection. A reply has nothing that says to which command it belongs, so one that came too late could be taken
/// for the next one's. After a timeout the connection is therefore given up, and with it its address.
class Control::Watch final : public qel::daemon::ISimpleFDWatch {
 public:
  Watch(wpa_ctrl* connection, Control& control)
      : ISimpleFDWatch(wpa_ctrl_get_fd(connection), "control socket"),
        connection_(connection, wpa_ctrl_close),
        control_(control) {}
  ~Watch() override { remove_from_evsock(); }  // before the descriptor is closed

  wpa_ctrl* connection() { return connection_.get(); }

  void on_readable() override { control_.on_readable(); }
  void on_writable() override {}

 private:
  std::unique_ptr<wpa_ctrl, void (*)(wpa_ctrl*)> connection_;
  Control& control_;
};

Control::Control(qel::daemon::Mainloop& loop, std::string path) : Control(loop, std::move(path), Times()) {}

Control::Control(qel::daemon::Mainloop& loop, std::string path, const Times& times)
    : loop_(loop), path_(std::move(path)), times_(times) {
  connect();
}

Control::~Control() {
  if (watch_) {
    loop_.remove_watch(watch_);
  }
}

void Control::connect() {
  wpa_ctrl* const connection = wpa_ctrl_open(path_.c_str());
  if (connection == nullptr) {
    connect_timer_.start(times_.retry, [this] { connect(); });
    return;
  }
  watch_ = std::make_shared<Watch>(connection, *this);
  loop_.add_watch(watch_);
  commands_.push_back({"ATTACH", [this](const std::optional<std::string>& reply) {
                         if (reply == "OK\n") {
                           is_attached_ = true;
                           check_timer_.start(times_.check, [this] { check(); });
                           connected(true);
                         } else if (reply) {
                           disconnect();
                         }
                       }});
  send_first();
}

void Control::disconnect() {
  if (!watch_) {
    return;
  }
  loop_.remove_watch(std::exchange(watch_, nullptr));
  answer_timer_.stop();
  check_timer_.stop();
  connect_timer_.start(times_.retry, [this] { connect(); });
  const std::deque<Command> left = std::exchange(commands_, {});
  const bool was_attached = std::exchange(is_attached_, false);
  for (const Command& command : left) {
    command.on_reply(std::nullopt);
  }
  if (was_attached) {
    connected(false);
  }
}

void Control::check() {
  request("PING", [](const std::optional<std::string>&) {});  // without a reply the connection ends
  check_timer_.start(times_.check, [this] { check(); });
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
  // Not by wpa_ctrl_request, which waits for the reply. The reply comes as a message that is no event.
  const std::string& text = commands_.front().text;
  answer_timer_.start(times_.answer, [this] { disconnect(); });
  if (::send(wpa_ctrl_get_fd(watch_->connection()), text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL) < 0) {
    answer_timer_.start(std::chrono::milliseconds(0), [this] { disconnect(); });  // not within the caller's call
  }
}

void Control::on_readable() {
  const std::shared_ptr<Watch> watch = watch_;  // it may be given up meanwhile
  for (int i = 0; i < MOST_IN_A_TURN && watch_ == watch; ++i) {
    std::array<char, MESSAGE_SIZE> octets;
    std::size_t size = octets.size();
    if (wpa_ctrl_recv(watch->connection(), octets.data(), &size) == 0) {
      on_message(std::string(octets.data(), size));
    } else if (errno == EAGAIN || errno == EINTR) {
      return;
    } else {
      disconnect();
    }
  }
}

void Control::on_message(const std::string& message) {
  if (message.starts_with('<')) {  // "<3>", its level, is before an event
    event(message.substr(message.find('>') + 1));
    return;
  }
  if (commands_.empty()) {
    return;
  }
  answer_timer_.stop();
  const Command command = std::move(commands_.front());
  commands_.pop_front();
  if (!commands_.empty()) {
    send_first();
  }
  command.on_reply(message);
}

}  // namespace meshd::wifi
