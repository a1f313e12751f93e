#include "platform/linux/endpoint.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <optional>
#include <utility>

#include "qellog.h"

namespace qel::platform {

namespace {

constexpr std::uint64_t CALL_TIMEOUT_US = 1'000'000;
constexpr std::uint64_t RECONNECT_US = 250'000;
/// Maximum number of incoming messages handled in one turn, so that a flood leaves time for the rest of the loop.
constexpr int MESSAGES_IN_TURN = 32;
/// Maximum number of octets queued for the bus.
constexpr std::size_t WAITING_MAX = std::size_t{8} * 1024 * 1024;

/// The output of a command.
struct Output {
  LongAnswers::Text text = {};
  int result = 0;  ///< not 0 once it has failed; the text says why then

  static void append(void* output, const char* text, size_t length) {
    auto& self = *static_cast<Output*>(output);
    if (self.result != 0) {
      return;
    }
    if (length > QELIPC_ANSWER_MAX - self.text.size()) {
      self.fail(CTLCMD_TOO_LONG,
                "the answer is longer than " + std::to_string(QELIPC_ANSWER_MAX / 1024 / 1024) + " MiB\n");
      return;
    }
    try {
      self.text.insert(self.text.end(), text, text + length);
    } catch (const std::bad_alloc&) {
      self.fail(CTLCMD_FAILED, "out of memory\n");
    }
  }

  void fail(int with, const std::string& why) {
    result = with;
    LongAnswers::Text(why.begin(), why.end()).swap(text);
  }
};

}  // namespace

const sd_bus_vtable Endpoint::VTABLE[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD_WITH_ARGS("Message", SD_BUS_ARGS("s", source, "ay", data), SD_BUS_NO_RESULT,
                            on_call<&Endpoint::take_message>,
                            SD_BUS_VTABLE_UNPRIVILEGED | SD_BUS_VTABLE_METHOD_NO_REPLY),
    SD_BUS_METHOD_WITH_ARGS("Command", SD_BUS_ARGS("as", words), SD_BUS_RESULT("i", result, "s", answer, "t", more),
                            on_call<&Endpoint::take_command>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("CommandLine", SD_BUS_ARGS("s", line), SD_BUS_RESULT("i", result, "s", answer, "t", more),
                            on_call<&Endpoint::take_command_line>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("More", SD_BUS_ARGS("t", more), SD_BUS_RESULT("s", answer, "t", more),
                            on_call<&Endpoint::take_more>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_SIGNAL_WITH_ARGS("Event", SD_BUS_ARGS("s", event, "ay", data), 0),
    SD_BUS_VTABLE_END};

Endpoint::~Endpoint() {
  if (server_ != nullptr) {
    server_->endpoint_gone();
  }
  close();
}

void Endpoint::destroy() {
  if (processing_) {
    destroyed_ = true;
  } else {
    delete this;
  }
}

// ---- The connection

int Endpoint::open() {
  if (place_.bus_name.empty()) {
    return -EINVAL;
  }
  const std::uint64_t until = now_us() + CONNECT_TIMEOUT_US;
  int result = connect(CONNECT_TIMEOUT_US);
  if (result >= 0) {
    result = wait_for_bus(bus_.get(), until);
  }
  const auto request = [&](const char* name, std::uint64_t flags) {
    sd_bus_set_method_call_timeout(bus_.get(), time_left_us(until));
    return sd_bus_request_name(bus_.get(), name, flags);
  };
  if (result >= 0) {
    result = request(COMMON_BUS_NAME, SD_BUS_NAME_QUEUE);
  }
  if (result >= 0) {
    result = request(place_.bus_name.c_str(), 0);
  }
  if (result >= 0) {
    sd_bus_set_method_call_timeout(bus_.get(), CALL_TIMEOUT_US);
    result = watch_connection();
  }
  if (result < 0) {
    drop_connection();
    return result;
  }
  named_ = true;
  schedule();
  return 0;
}

void Endpoint::close() {
  if (named_) {
    sd_bus_release_name(bus_.get(), place_.bus_name.c_str());
  }
  drop_connection();
}

// Starts to connect, and requests everything except the name.
int Endpoint::connect(std::uint64_t call_timeout_us) {
  int result = connect_to_bus(bus_, call_timeout_us);
  if (result < 0) {
    return result;
  }
  result = sd_bus_add_object_vtable(bus_.get(), nullptr, place_.path.c_str(), INTERFACE, VTABLE, this);
  return result < 0 || notifiers_.empty() ? result : listen_for_events();
}

int Endpoint::watch_connection() {
  const auto go_on = [](evsock*, void* self) { static_cast<Endpoint*>(self)->process(); };
  watch_ = evsock_add_fd(sd_bus_get_fd(bus_.get()), "qelipc", go_on, go_on, nullptr, nullptr, nullptr, this);
  return watch_ != nullptr ? 0 : -errno;
}

int Endpoint::listen_for_events() {
  return sd_bus_match_signal_async(bus_.get(), nullptr, nullptr, nullptr, INTERFACE, "Event", on_event, nullptr, this);
}

void Endpoint::begin_reconnect() {
  give_up_at_ = now_us() + CONNECT_TIMEOUT_US;
  int result = connect(CALL_TIMEOUT_US);
  if (result >= 0) {
    result = watch_connection();
  }
  if (result >= 0) {
    // Without a callback, sd-bus closes the connection if this fails.
    result = sd_bus_request_name_async(bus_.get(), nullptr, COMMON_BUS_NAME, SD_BUS_NAME_QUEUE, nullptr, nullptr);
  }
  if (result >= 0) {
    result = sd_bus_request_name_async(bus_.get(), nullptr, place_.bus_name.c_str(), 0, on_name_reply, this);
  }
  if (result < 0) {
    drop_connection();
    start_timer_at(now_us() + RECONNECT_US);
    return;
  }
  schedule();
}

int Endpoint::on_name_reply(sd_bus_message* message, void* endpoint, sd_bus_error*) {
  constexpr std::uint32_t owner = 1;
  auto& self = *static_cast<Endpoint*>(endpoint);
  std::uint32_t result = 0;
  if (sd_bus_message_is_method_error(message, nullptr) != 0 || sd_bus_message_read(message, "u", &result) < 0 ||
      result != owner) {
    self.broken_ = true;  // another process has the name; try again
    return 0;
  }
  self.named_ = true;
  infomsg("IPC endpoint \"%s\" is on the bus again", self.name_.c_str());
  return 0;
}

void Endpoint::drop_connection() {
  named_ = false;
  broken_ = false;
  long_answers_.clear();
  timer_.stop();
  evsock_remove_fd(watch_);
  watch_ = nullptr;
  bus_.reset();
}

void Endpoint::reopen_later() {
  drop_connection();
  start_timer_at(now_us() + RECONNECT_US);
}

// Lets sd-bus do its pending work.
void Endpoint::process() {
  if (processing_) {
    return;
  }
  if (bus_ == nullptr) {
    begin_reconnect();
    return;
  }
  processing_ = true;
  int result = 1;
  for (int i = 0; i < MESSAGES_IN_TURN && result > 0 && !destroyed_ && !broken_ && thrown_ == nullptr; ++i) {
    result = sd_bus_process(bus_.get(), nullptr);
  }
  processing_ = false;
  broken_ = broken_ || (!named_ && now_us() >= give_up_at_);
  long_answers_.drop_overdue(now_us());
  const std::exception_ptr thrown = std::exchange(thrown_, nullptr);
  if (destroyed_) {
    delete this;
  } else if (broken_ || result < 0 || sd_bus_is_open(bus_.get()) <= 0) {
    if (named_) {
      infomsg("IPC endpoint \"%s\" has lost the bus", name_.c_str());
    }
    reopen_later();
  } else {
    schedule();
  }
  if (thrown != nullptr) {
    std::rethrow_exception(thrown);
  }
}

// Waits for the events that sd-bus waits for. Must be called after every call that made it send or read.
void Endpoint::schedule() {
  if (processing_ || bus_ == nullptr) {
    return;  // process() will do it
  }
  const std::optional<std::uint64_t> until = broken_ ? std::nullopt : next_step_of(bus_.get(), watch_);
  broken_ = !until;
  start_timer_at(until ? std::min(*until, named_ ? long_answers_.next_overdue() : give_up_at_) : now_us());
}

void Endpoint::start_timer_at(std::uint64_t time_us) {
  if (!timer_.start_at(time_us)) {
    errmsg("IPC endpoint \"%s\" cannot arm its timer", name_.c_str());
  }
}

// ---- Incoming

// Stores the first exception for process().
template <class Function>
void Endpoint::keep_exception(Function run) noexcept {
  try {
    run();
  } catch (...) {
    if (thrown_ == nullptr) {
      thrown_ = std::current_exception();
    }
  }
}

template <int (Endpoint::*take)(sd_bus_message*, sd_bus_error*)>
int Endpoint::on_call(sd_bus_message* message, void* endpoint, sd_bus_error* error) {
  auto& self = *static_cast<Endpoint*>(endpoint);
  int result = -EIO;
  self.keep_exception([&] { result = guarded([&] { return (self.*take)(message, error); }); });
  return result;
}

int Endpoint::on_event(sd_bus_message* message, void* endpoint, sd_bus_error*) {
  auto& self = *static_cast<Endpoint*>(endpoint);
  int result = 0;
  self.keep_exception([&] { result = self.take_event(message); });
  return result;
}

// Passes the octets that come next in the message to the callbacks. A callback may remove others.
void Endpoint::deliver(const char* name, sd_bus_message* message, const std::vector<Notifier>& to) {
  const void* octets = nullptr;
  size_t size = 0;
  if (sd_bus_message_read_array(message, 'y', &octets, &size) < 0 || size > QELIPC_DATA_MAX) {
    return;
  }
  std::vector<unsigned char> data(static_cast<const unsigned char*>(octets),
                                  static_cast<const unsigned char*>(octets) + size);
  data.push_back(0);  // provides an address even for no octets
  for (const Notifier& notifier : to) {
    const bool still_wanted =
        notifier == handler_ || std::find(notifiers_.begin(), notifiers_.end(), notifier) != notifiers_.end();
    if (still_wanted && !destroyed_) {
      keep_exception(
          [&] { notifier.callback(this, name, data.data(), static_cast<unsigned>(size), notifier.context); });
    }
  }
}

int Endpoint::take_message(sd_bus_message* message, sd_bus_error*) {
  const char* source = nullptr;
  const int result = sd_bus_message_read(message, "s", &source);
  if (result < 0) {
    return result;
  }
  if (handler_.callback != nullptr) {
    deliver(unescape(source).c_str(), message, {handler_});
  }
  return 1;
}

int Endpoint::take_event(sd_bus_message* message) {
  const char* event = nullptr;
  if (sd_bus_message_read(message, "s", &event) < 0) {
    return 0;
  }
  std::vector<Notifier> listeners;
  std::copy_if(notifiers_.begin(), notifiers_.end(), std::back_inserter(listeners),
               [&](const Notifier& notifier) { return notifier.event == event; });
  if (!listeners.empty()) {
    deliver(event, message, listeners);
  }
  return 0;
}

int Endpoint::take_command(sd_bus_message* message, sd_bus_error* error) {
  std::vector<const char*> words;
  std::size_t octets = 0;
  int result = sd_bus_message_enter_container(message, 'a', "s");
  for (const char* word = nullptr; result >= 0 && (result = sd_bus_message_read_basic(message, 's', &word)) > 0;) {
    octets += strlen(word) + 1;
    if (octets > QELIPC_COMMAND_MAX) {
      return sd_bus_error_set(error, SD_BUS_ERROR_LIMITS_EXCEEDED, "the command is too long");
    }
    words.push_back(word);
  }
  words.push_back(nullptr);
  return result < 0 ? result : run_command(message, error, [&](Output& output) {
    return server_->run(words.data(), words.size() - 1, Output::append, &output);
  });
}

int Endpoint::take_command_line(sd_bus_message* message, sd_bus_error* error) {
  const char* line = nullptr;
  const int result = sd_bus_message_read(message, "s", &line);
  if (result >= 0 && strlen(line) >= QELIPC_COMMAND_MAX) {
    return sd_bus_error_set(error, SD_BUS_ERROR_LIMITS_EXCEEDED, "the command is too long");
  }
  return result < 0 ? result : run_command(message, error, [&](Output& output) {
    return server_->run_line(line, Output::append, &output);
  });
}

template <class Run>
int Endpoint::run_command(sd_bus_message* message, sd_bus_error* error, Run run) {
  if (server_ == nullptr) {
    return sd_bus_error_set(error, SD_BUS_ERROR_NOT_SUPPORTED, "this endpoint serves no commands");
  }
  if (!has_room_for(LongAnswers::PIECE)) {
    return sd_bus_error_set(error, SD_BUS_ERROR_LIMITS_EXCEEDED, "too many answers wait for the bus");
  }
  Output output;
  const int result = run(output);
  if (sd_bus_message_get_expect_reply(message) <= 0) {
    return 1;
  }
  const auto piece = long_answers_.begin(std::move(output.text), sd_bus_message_get_sender(message), now_us());
  return sd_bus_reply_method_return(message, "ist", output.result != 0 ? output.result : result,
                                    to_utf8(piece.text).c_str(), piece.more);
}

int Endpoint::take_more(sd_bus_message* message, sd_bus_error* error) {
  std::uint64_t more = 0;
  const int result = sd_bus_message_read(message, "t", &more);
  if (result < 0) {
    return result;
  }
  const auto piece = has_room_for(LongAnswers::PIECE)
                         ? long_answers_.go_on(more, sd_bus_message_get_sender(message), now_us())
                         : std::nullopt;
  if (!piece) {
    return sd_bus_error_set(error, SD_BUS_ERROR_LIMITS_EXCEEDED, "the rest of this answer is no longer available");
  }
  return sd_bus_reply_method_return(message, "st", to_utf8(piece->text).c_str(), piece->more);
}

// ---- Outgoing

int Endpoint::add_notifier(const char* event, qelipc_callback callback, void* context) {
  if (notifiers_.empty() && bus_ != nullptr) {
    const int result = listen_for_events();
    if (result < 0) {
      return result;
    }
    schedule();
  }
  notifiers_.push_back({event, callback, context});
  return 0;
}

int Endpoint::remove_notifiers(const char* event, qelipc_callback callback, void* context) {
  return static_cast<int>(std::erase(notifiers_, Notifier{event, callback, context}));
}

int Endpoint::send_message(const char* destination, const void* data, unsigned size) {
  if (!named_) {
    return -ENOTCONN;
  }
  const BusPlace place = place_of(destination);
  int result = place.bus_name.empty() ? -ENXIO : look_up_owner(place.bus_name);
  if (result < 0) {
    return result;
  }
  sd_bus_message* created = nullptr;
  result = sd_bus_message_new_method_call(bus_.get(), &created, place.bus_name.c_str(), place.path.c_str(), INTERFACE,
                                          "Message");
  BusMessage message(created);
  if (result < 0 || (result = sd_bus_message_set_expect_reply(created, 0)) < 0 ||
      (result = sd_bus_message_set_auto_start(created, 0)) < 0) {
    return result;
  }
  return send(std::move(message), place_.label.c_str(), data, size);
}

int Endpoint::send_event(const char* event, const void* data, unsigned size) {
  if (!named_) {
    return -ENOTCONN;
  }
  sd_bus_message* created = nullptr;
  const int result = sd_bus_message_new_signal(bus_.get(), &created, place_.path.c_str(), INTERFACE, "Event");
  BusMessage message(created);
  return result < 0 ? result : send(std::move(message), event, data, size);
}

/// True if this much more may be queued for the bus; it is then counted.
bool Endpoint::has_room_for(std::size_t octets) {
  std::uint64_t messages = 0;
  if (sd_bus_get_n_queued_write(bus_.get(), &messages) < 0 || messages == 0) {
    waiting_octets_ = 0;
  }
  if (octets > WAITING_MAX - waiting_octets_) {
    return false;
  }
  waiting_octets_ += octets;
  return true;
}

int Endpoint::send(BusMessage message, const char* first, const void* data, unsigned size) {
  if (!has_room_for(size)) {
    return -ENOBUFS;
  }
  int result = sd_bus_message_append(message.get(), "s", first);
  if (result >= 0) {
    result = sd_bus_message_append_array(message.get(), 'y', data, size);
  }
  if (result >= 0) {
    result = sd_bus_send(bus_.get(), message.get(), nullptr);
  }
  schedule();
  return result < 0 ? result : 0;
}

// Returns 0 if the name has an owner. A bus that does not answer counts as lost.
int Endpoint::look_up_owner(const std::string& bus_name) {
  BusError error;
  const int result =
      sd_bus_call_method(bus_.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                         "GetNameOwner", &error.error, nullptr, "s", bus_name.c_str());
  const int mapped = result < 0 ? to_errno(error.error, result) : 0;
  if (result < 0 && mapped != -ENXIO) {
    broken_ = true;
  }
  schedule();
  return mapped;
}

}  // namespace qel::platform
