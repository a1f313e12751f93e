#include "platform/linux/client_service.h"

#include <algorithm>
#include <cerrno>
#include <optional>

#include "qelipc.h"

namespace qel::platform {
namespace {

/// Maximum number of incoming messages handled in one turn, so that a flood leaves time for the rest of the loop.
constexpr int MESSAGES_IN_TURN = 32;

}  // namespace

ClientService::ClientService(sd_bus* bus, void (*lost)(void* context), void* context)
    : bus_(bus), lost_(lost), context_(context), give_up_at_(now_us() + CONNECT_TIMEOUT_US) {}

ClientService::~ClientService() { drop(); }

int ClientService::start() {
  const auto go_on = [](evsock*, void* self) { static_cast<ClientService*>(self)->process(); };
  watch_ = evsock_add_fd(sd_bus_get_fd(bus_), "qelipc_client", go_on, go_on, nullptr, nullptr, nullptr, this);
  if (watch_ == nullptr) {
    return -errno;
  }
  schedule();
  return 0;
}

void ClientService::drop() {
  timer_.stop();
  evsock_remove_fd(watch_);
  watch_ = nullptr;
}

// Lets sd-bus do its pending work.
void ClientService::process() {
  processing_ = true;
  int result = 1;
  for (int i = 0; i < MESSAGES_IN_TURN && result > 0; ++i) {
    result = sd_bus_process(bus_, nullptr);
  }
  processing_ = false;
  const bool is_late = sd_bus_is_ready(bus_) <= 0 && now_us() >= give_up_at_;
  if (result >= 0 && !is_late && sd_bus_is_open(bus_) > 0) {
    schedule();
    return;
  }
  drop();
  while (!questions_.empty()) {
    finish(questions_.front(), -ENOTCONN);
  }
  lost_(context_);  // may delete this
}

void ClientService::schedule() {
  if (processing_ || watch_ == nullptr) {
    return;  // process() will do it, or there is nothing left to do
  }
  const std::optional<std::uint64_t> until = next_step_of(bus_, watch_);
  if (!until) {
    timer_.start(0);
    return;
  }
  timer_.start_at(sd_bus_is_ready(bus_) <= 0 ? std::min(*until, give_up_at_) : *until);
}

int ClientService::command(const char* endpoint, const char* const* words, int timeout_ms, qelipc_client_answer take,
                           void* context) {
  BusPlace place = place_of(endpoint);
  if (place.bus_name.empty()) {
    return -ENXIO;
  }
  if (watch_ == nullptr) {
    return -ENOTCONN;
  }
  const std::uint64_t until = now_us() + static_cast<std::uint64_t>(std::max(timeout_ms, 1)) * 1000;
  Question& question = questions_.emplace_back(Question{this, std::move(place), until, take, context});
  const int status = send(question, "Command", [words](sd_bus_message* call) {
    return sd_bus_message_append_strv(call, const_cast<char**>(words));
  });
  if (status < 0) {
    questions_.pop_back();
    return status;
  }
  schedule();
  return 0;
}

template <class Append>
int ClientService::send(Question& question, const char* method, Append append) {
  sd_bus_message* created = nullptr;
  int status = sd_bus_message_new_method_call(bus_, &created, question.place.bus_name.c_str(),
                                              question.place.path.c_str(), INTERFACE, method);
  const BusMessage call(created);
  if (status < 0 || (status = sd_bus_message_set_auto_start(created, 0)) < 0 || (status = append(created)) < 0) {
    return status;
  }
  sd_bus_slot* slot = nullptr;
  status = sd_bus_call_async(bus_, &slot, created, on_reply, &question, time_left_us(question.until));
  question.call.reset(slot);
  return status;
}

int ClientService::on_reply(sd_bus_message* reply, void* question, sd_bus_error*) {
  auto& asked = *static_cast<Question*>(question);
  const int status = guarded([&] { return asked.service->take_piece(asked, reply); });
  if (status != 0) {
    asked.service->finish(asked, std::min(status, 0));
  }
  return 0;
}

// Returns 1 with the last piece, 0 if the next one is on its way, or a negative errno.
int ClientService::take_piece(Question& question, sd_bus_message* reply) {
  if (const sd_bus_error* error = sd_bus_message_get_error(reply)) {
    // sd-bus itself replies "no reply" when the connection is closing.
    return sd_bus_is_open(bus_) > 0 ? to_errno(*error, -sd_bus_message_get_errno(reply)) : -ENOTCONN;
  }
  const bool is_first = question.text.empty() && sd_bus_message_has_signature(reply, "ist") > 0;
  const char* piece = nullptr;
  std::uint64_t more = 0;
  std::int32_t code = question.result;
  int status = is_first ? sd_bus_message_read(reply, "ist", &code, &piece, &more)
                        : sd_bus_message_read(reply, "st", &piece, &more);
  if (status < 0) {
    return status;
  }
  question.result = code;
  question.text += piece;
  if (question.text.size() > QELIPC_ANSWER_MAX) {
    return -EMSGSIZE;
  }
  if (more == 0) {
    return 1;
  }
  status = send(question, "More", [more](sd_bus_message* next) { return sd_bus_message_append(next, "t", more); });
  return std::min(status, 0);
}

void ClientService::finish(Question& question, int status) {
  std::list<Question> done;  // the handler may ask the next one
  done.splice(done.begin(), questions_, std::find_if(questions_.begin(), questions_.end(), [&](const Question& one) {
                return &one == &question;
              }));
  question.take(question.context, status, question.result, status == 0 ? question.text.c_str() : nullptr);
}

}  // namespace qel::platform
