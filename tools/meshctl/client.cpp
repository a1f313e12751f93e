#include "tools/meshctl/client.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>

#include "qelipc.h"
#include "qelipc_client.h"

namespace meshctl {

namespace {

constexpr int ANSWER_TIMEOUT = 5000;  // milliseconds

/// Throws if `result` is a negative errno.
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

std::string Client::the_only_one() {
  const std::vector<std::string> names = list();
  if (names.empty()) {
    throw std::runtime_error("no daemon is running");
  }
  if (names.size() > 1) {
    std::string all;
    for (const std::string& name : names) {
      all += (all.empty() ? "" : ", ") + name;
    }
    throw AmbiguousName("several daemons are running, name one of them: " + all);
  }
  return names.front();
}

Answer Client::command(const std::string& daemon, const std::vector<std::string>& words) {
  std::vector<const char*> argv;
  argv.reserve(words.size() + 1);
  for (const std::string& word : words) {
    argv.push_back(word.c_str());
  }
  argv.push_back(nullptr);
  return ask(daemon, [&](int& result, char*& text) {
    return qelipc_client_command(client_.get(), daemon.c_str(), argv.data(), ANSWER_TIMEOUT, &result, &text);
  });
}

Answer Client::command_line(const std::string& daemon, const std::string& line) {
  return ask(daemon, [&](int& result, char*& text) {
    return qelipc_client_command_line(client_.get(), daemon.c_str(), line.c_str(), ANSWER_TIMEOUT, &result, &text);
  });
}

template <class Call>
Answer Client::ask(const std::string& daemon, Call call) {
  Answer answer{};
  char* text = nullptr;
  const int status = call(answer.result, text);
  switch (-status) {
    case ENXIO:
      throw std::runtime_error("no daemon named '" + daemon + "' is running");
    case EINVAL:
      throw std::runtime_error("the command is not valid UTF-8");
    case EMSGSIZE:
      throw std::runtime_error("the command is longer than " + std::to_string(QELIPC_COMMAND_MAX / 1024) + " KiB");
    case ENOBUFS:
      throw std::runtime_error("'" + daemon + "' has too many long answers pending; try again");
    default:
      check(status, "no answer from '" + daemon + "'");
  }
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
  check(qelipc_client_subscribe(client_.get(), daemon.c_str(), pass_on, &watch),
        "cannot watch the events of '" + daemon + "'");
  while (watch.failure == nullptr) {
    check(qelipc_client_wait(client_.get(), -1), "lost the message bus");
  }
  std::rethrow_exception(watch.failure);
}

}  // namespace meshctl
