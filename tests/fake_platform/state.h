#pragma once

#include <ctimer.h>
#include <ctlcmd.h>
#include <qelevsock.h>
#include <qelipc.h>

#include <list>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "tests/fake_platform/fake_platform.h"

struct evsock {
  int fd;
  evsock_callback callbacks[4];
  void* context;
};

struct qelipc {
  qelipc_callback message_handler = nullptr;
  void* message_context = nullptr;
};

namespace fake_platform {

struct Timer {
  ctimerhandle* variable;
  std::int64_t due;
  ctimer_callback_fn callback;
  void* cbdata;
};

struct Module {
  const ctlcmd_command* commands;
  std::size_t count;
  void* context;
};

struct Notifier {
  qelipc* ipc;
  std::string event;
  qelipc_callback callback;
  void* context;
};

struct State {
  std::vector<std::string> calls;
  std::map<std::string, int> results;
  std::function<void()> turn;
  std::int64_t now = 0;
  std::list<Timer> timers;
  std::list<std::unique_ptr<evsock>> watches;
  std::list<std::unique_ptr<evsock>> loose_watches;
  std::size_t write_limit = SIZE_MAX;
  std::string written;
  std::vector<std::string> ring;
  std::map<std::string, Module> modules;
  std::vector<Notifier> notifiers;
};

State& state();

inline std::string text(const char* value) { return value == nullptr ? "null" : value; }
template <class T>
std::string text(const T& value) {
  std::ostringstream os;
  os << value;
  return os.str();
}

/// Writes down "function(arguments)" and returns the result that was set, else 0.
template <class... Args>
int record(const std::string& function, const Args&... args) {
  std::string call = function + "(";
  [[maybe_unused]] const char* separator = "";
  ((call += separator + text(args), separator = ", "), ...);
  state().calls.push_back(call + ")");
  const auto result = state().results.find(function);
  return result == state().results.end() ? 0 : result->second;
}

inline bool fails(const std::string& function) { return state().results.contains(function); }

}  // namespace fake_platform
