#include "tests/fake_platform/fake_platform.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "tests/fake_platform/state.h"

namespace fake_platform {

State& state() {
  // Never destroyed: static objects of the tested code call the platform at process exit.
  static State& state = *new State;
  return state;
}

void reset() { state() = State(); }

std::vector<std::string> take_calls() { return std::exchange(state().calls, {}); }

void set_result(const std::string& function, int result) { state().results[function] = result; }

void clear_result(const std::string& function) { state().results.erase(function); }

void on_turn(std::function<void()> action) { state().turn = std::move(action); }

void advance_microseconds(std::int64_t time) {
  state().now += time;
  auto& timers = state().timers;
  for (;;) {
    const auto first =
        std::min_element(timers.begin(), timers.end(), [](const auto& a, const auto& b) { return a.due < b.due; });
    if (first == timers.end() || first->due > state().now) {
      return;
    }
    const Timer timer = *first;
    timers.erase(first);
    const ctimerhandle handle = std::exchange(*timer.variable, nullptr);
    timer.callback(handle, timer.cbdata);
  }
}

std::size_t count_timers() { return state().timers.size(); }

bool trigger(int fd, Event event) {
  std::vector<evsock*> ready;
  for (const auto& watch : state().watches) {
    if (watch->fd == fd) {
      ready.push_back(watch.get());
    }
  }
  bool called = false;
  for (evsock* watch : ready) {
    if (const auto callback = watch->callbacks[static_cast<int>(event)]) {
      callback(watch, watch->context);
      called = true;
    }
  }
  return called;
}

evsock* make_evsock() { return state().loose_watches.emplace_back(std::make_unique<evsock>()).get(); }

void set_write_limit(std::size_t octets) { state().write_limit = octets; }

std::string written() { return state().written; }

std::vector<std::string> ring_lines() { return state().ring; }

int run_command(const std::string& module, const std::string& command) {
  const Module& found = state().modules.at(module);
  for (std::size_t i = 0; i < found.count; ++i) {
    if (found.commands[i].name == command) {
      const char* const argv[] = {command.c_str(), nullptr};
      return found.commands[i].handler(nullptr, 1, argv, found.context);
    }
  }
  throw std::out_of_range(command);
}

bool deliver_message(qelipc* ipc, const std::string& source, const std::string& data) {
  if (ipc->message_handler == nullptr) {
    return false;
  }
  std::string copy = data;
  ipc->message_handler(ipc, source.c_str(), copy.data(), static_cast<unsigned>(copy.size()), ipc->message_context);
  return true;
}

bool deliver_event(qelipc* ipc, const std::string& event, const std::string& data) {
  bool called = false;
  for (const Notifier& notifier : std::vector<Notifier>(state().notifiers)) {
    if (notifier.ipc == ipc && notifier.event == event) {
      std::string copy = data;
      notifier.callback(ipc, event.c_str(), copy.data(), static_cast<unsigned>(copy.size()), notifier.context);
      called = true;
    }
  }
  return called;
}

}  // namespace fake_platform
