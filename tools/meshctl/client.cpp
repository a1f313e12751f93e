#include "tools/meshctl/client.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <stdexcept>

#include "ctlcmd.h"
#include "qelipc_client.h"

namespace meshctl {

namespace {

constexpr int ANSWER_TIMEOUT = 5000;  // milliseconds

/// Throws for a negative errno.
int check(int result, const std::string& what) {
  if (result < 0) {
    throw std::runtime_error(what + ": " + std::strerror(-result));
  }
  return result;
}

}  // namespace

void Client::Closer::operator()(qelipc_client* client) const { qelipc_client_close(client); }

Client::Client() : client_(qelipc_client_open()) {
  if (client_ == nullptr) {
    throw std::runtime_error(std::string("cannot reach the message bus: ") + std::strerror(errno));
  }
}

std::vector<std::string> Client::list() {
  std::vector<std::string> names;
  const auto take = [](void* context, const char* name) {
    static_cast<std::vector<std::string>*>(context)->emplace_back(name);
  };
  check(qelipc_client_list(client_.get(), take, &names), "cannot list the daemons");
  std::sort(names.begin(), names.end());
  return names;
}

Answer Client::command(const std::string& daemon, const std::string& line) {
  constexpr const char* BLANKS = " \t";
  Answer answer = command_of(daemon, "", line);
  const std::size_t word = line.find_first_not_of(BLANKS);
  const std::size_t word_end = line.find_first_of(BLANKS, word);
  const std::size_t rest = line.find_first_not_of(BLANKS, word_end);
  if (answer.result != CTLCMD_NO_COMMAND || rest == std::string::npos) {
    return answer;
  }
  Answer of_module = command_of(daemon, line.substr(word, word_end - word), line.substr(rest));
  return of_module.result == CTLCMD_NO_MODULE ? answer : of_module;
}

Answer Client::command_of(const std::string& daemon, const std::string& module, const std::string& line) {
  Answer answer{};
  char* text = nullptr;
  const int status = qelipc_client_command(client_.get(), daemon.c_str(), module.c_str(), line.c_str(), ANSWER_TIMEOUT,
                                           &answer.result, &text);
  if (status == -ENXIO) {
    throw std::runtime_error("there is no daemon of the name '" + daemon + "'");
  }
  check(status, "no answer from '" + daemon + "'");
  const std::unique_ptr<char, void (*)(void*)> owner(text, std::free);
  answer.text = text;
  return answer;
}

void Client::watch_events(const std::string& daemon, const EventHandler& take) {
  struct Watch {
    const EventHandler& take;
    std::exception_ptr failure;  // must not pass through the platform's C code
  } watch{take, nullptr};
  const auto pass_on = [](void* context, const char*, const char* event, const void* data, unsigned size) {
    Watch& active = *static_cast<Watch*>(context);
    try {
      active.take(event, {static_cast<const char*>(data), size});
    } catch (...) {
      active.failure = std::current_exception();
    }
  };
  check(qelipc_client_subscribe(client_.get(), daemon.c_str(), pass_on, &watch), "cannot watch '" + daemon + "'");
  while (watch.failure == nullptr) {
    check(qelipc_client_wait(client_.get(), -1), "lost the message bus");
  }
  std::rethrow_exception(watch.failure);
}

}  // namespace meshctl
