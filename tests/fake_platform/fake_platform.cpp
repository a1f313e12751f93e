#include "tests/fake_platform/fake_platform.h"

#include <ctimer.h>
#include <ctlcmd.h>
#include <qeldaemon.h>
#include <qelevsock.h>
#include <qelipc.h>
#include <qellog.h>
#include <shringbuf.h>
#include <slab.h>
#include <velolib.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <list>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <utility>

struct evsock {
  int fd;
  evsock_callback callbacks[4];
  void* context;
};

struct qelipc {};

struct shringbuf {};

struct debughandle {
  std::string component;
};

namespace fake_platform {
namespace {

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

struct State {
  std::vector<std::string> calls;
  std::map<std::string, int> results;
  std::function<void()> turn;
  std::int64_t now = 0;
  std::list<Timer> timers;
  std::list<std::unique_ptr<evsock>> watches;
  std::size_t write_limit = SIZE_MAX;
  std::string written;
  std::vector<std::string> ring;
  std::map<std::string, Module> modules;
};

State& state() {
  // Never destroyed: static objects of the tested code call the platform at process exit.
  static State& state = *new State;
  return state;
}

/// Writes down "function(arguments)" and returns the result that was set, else 0.
template <class... Args>
int record(const std::string& function, const Args&... args) {
  std::ostringstream call;
  [[maybe_unused]] const char* separator = "";
  ((call << separator << args, separator = ", "), ...);
  state().calls.push_back(function + "(" + call.str() + ")");
  const auto result = state().results.find(function);
  return result == state().results.end() ? 0 : result->second;
}

bool fails(const std::string& function) { return state().results.contains(function); }

std::string format_text(const char* format, va_list values) {
  char text[4096];
  std::vsnprintf(text, sizeof text, format, values);
  return text;
}

ctimer_tval time_value(std::int64_t time) { return {time / 1'000'000, static_cast<std::int32_t>(time % 1'000'000)}; }

int deliver(qelipc* ipc, qelipc_callback handler, const char* name, void* context) {
  char data[] = {'u', 'p'};
  handler(ipc, name, data, 2, context);
  return 0;
}

}  // namespace

void reset() { state() = State(); }
std::vector<std::string> take_calls() { return std::exchange(state().calls, {}); }
void set_result(const std::string& function, int result) { state().results[function] = result; }
void clear_result(const std::string& function) { state().results.erase(function); }
void on_turn(std::function<void()> action) { state().turn = std::move(action); }
std::size_t count_timers() { return state().timers.size(); }
void set_write_limit(std::size_t octets) { state().write_limit = octets; }
std::string written() { return state().written; }
std::vector<std::string> ring_lines() { return state().ring; }
evsock* make_evsock() { return state().watches.emplace_back(std::make_unique<evsock>()).get(); }

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

bool trigger(int fd, Event event) {
  std::vector<evsock*> ready;
  for (const auto& watch : state().watches) {
    if (watch->fd == fd && watch->callbacks[static_cast<int>(event)] != nullptr) {
      ready.push_back(watch.get());
    }
  }
  for (evsock* watch : ready) {
    watch->callbacks[static_cast<int>(event)](watch, watch->context);
  }
  return !ready.empty();
}

int run_command(const std::string& module, const std::string& command) {
  const Module& found = state().modules.at(module);
  const auto* end = found.commands + found.count;
  const auto* row = std::find_if(found.commands, end, [&](const auto& each) { return each.name == command; });
  const char* const argv[] = {command.c_str(), nullptr};
  return row == end ? throw std::out_of_range(command) : row->handler(nullptr, 1, argv, found.context);
}

}  // namespace fake_platform

using fake_platform::deliver;
using fake_platform::fails;
using fake_platform::format_text;
using fake_platform::make_evsock;
using fake_platform::record;
using fake_platform::state;
using fake_platform::time_value;

// The platform's functions, as the headers in platform/include declare them.
extern "C" {

int evsock_init() { return record("evsock_init"); }
void evsock_exit() { record("evsock_exit"); }

evsock* evsock_add_fd(int fd, const char* name, evsock_callback readable, evsock_callback writable,
                      evsock_callback hangup, evsock_callback priority, void* reserved, void* context) {
  std::string callbacks;
  for (const evsock_callback callback : {readable, writable, hangup, priority}) {
    callbacks += callback == nullptr ? '-' : 'x';
  }
  record("evsock_add_fd", fd, name, callbacks, reserved == nullptr ? "null" : "reserved");
  if (fails("evsock_add_fd")) {
    return nullptr;
  }
  evsock* const watch = make_evsock();
  *watch = {fd, {readable, writable, hangup, priority}, context};
  return watch;
}

void evsock_remove_fd(evsock* handle) {
  record("evsock_remove_fd", handle->fd);
  state().watches.remove_if([handle](const auto& watch) { return watch.get() == handle; });
}

int evsock_fd_blocking(evsock* handle) { return record("evsock_fd_blocking", handle->fd); }
int evsock_getobufsize(const evsock*) { return record("evsock_getobufsize"); }

int evsock_bwrite(evsock*, const void* data, size_t length) {
  if (const int result = record("evsock_bwrite", length); result < 0) {
    return result;
  }
  const size_t taken = std::min(length, state().write_limit);
  state().written.append(static_cast<const char*>(data), taken);
  return static_cast<int>(taken);
}

int evsock_select_with_msecs(int milliseconds) {
  const int result = record("evsock_select_with_msecs", milliseconds);
  if (const auto turn = state().turn) {
    turn();
  }
  return result;
}

int ctimer_setup_internal(int flags, ctimerhandle* handle, int kind, int reserved1, int count, unsigned units,
                          ctimer_callback_fn callback, void* cbdata, int reserved2, int reserved3) {
  const int result = record("ctimer_setup_internal", flags, kind, reserved1, count, units, reserved2, reserved3);
  if (result == 0) {
    // Any address of its own will do as a name.
    *handle = reinterpret_cast<ctimerhandle>(handle);
    state().timers.push_back({handle, state().now + std::int64_t{count} * 1'000'000 / units, callback, cbdata});
  }
  return result;
}

int ctimer_unsetup_internal(ctimerhandle* handle, int kind) {
  const int result = record("ctimer_unsetup_internal", kind);
  if (result == 0) {
    state().timers.remove_if([handle](const auto& timer) { return timer.variable == handle; });
    *handle = nullptr;
  }
  return result;
}

int ctimer_endtval_internal(const ctimerhandle* handle, int kind, ctimer_tval* end) {
  if (const int result = record("ctimer_endtval_internal", kind); result != 0) {
    return result;
  }
  for (const auto& timer : state().timers) {
    if (timer.variable == handle) {
      *end = time_value(timer.due);
      return 0;
    }
  }
  return CTIMER_EINVALID;
}

void ctimer_elapsedtval(ctimer_tval* now) { *now = time_value(state().now); }

int daemon_start(int nochdir, int noclose) { return record("daemon_start", nochdir, noclose); }
void daemon_ready() { record("daemon_ready"); }
void daemon_start_failed() { record("daemon_start_failed"); }
int watchdog_evsock_init(const char* name) { return record("watchdog_evsock_init", name); }
void watchdog_evsock_trigger() { record("watchdog_evsock_trigger"); }
void watchdog_evsock_exit() { record("watchdog_evsock_exit"); }
void slab_reap() { record("slab_reap"); }
int veloenv_VeloHasLittleRAM() { return record("veloenv_VeloHasLittleRAM"); }

const char* kelvar_getenv(const char* name) {
  record("kelvar_getenv", name);
  return nullptr;
}

debughandle* debug_gethandle(const char* component) {
  static auto& handles = *new std::map<std::string, debughandle>;
  return &handles.try_emplace(component, debughandle{component}).first->second;
}

void debug_handle_set(debughandle* handle, int on) { record("debug_handle_set", handle->component, on); }

void debugmsg(const debughandle* handle, const char* format, ...) {
  va_list values;
  va_start(values, format);
  record("debugmsg", handle->component, format, format_text(format, values));
  va_end(values);
}

void infomsg(const char* format, ...) {
  va_list values;
  va_start(values, format);
  record("infomsg", format, format_text(format, values));
  va_end(values);
}

void errmsg(const char* format, ...) {
  va_list values;
  va_start(values, format);
  record("errmsg", format, format_text(format, values));
  va_end(values);
}

shringbuf* shringbuf_init(const char* name, size_t size) {
  record("shringbuf_init", name, size);
  state().ring.clear();
  return fails("shringbuf_init") ? nullptr : new shringbuf;
}

void shringbuf_deinit(shringbuf* ring) {
  record("shringbuf_deinit");
  delete ring;
}

int shringbuf_add(shringbuf*, const char* format, ...) {
  va_list values;
  va_start(values, format);
  state().ring.push_back(std::string(format) + "|" + format_text(format, values));
  va_end(values);
  return 0;
}

int ctlcmd_help(ctlcmd_session*, int, const char* const*, void*) { return 0; }
int ctlcmd_slabdump(ctlcmd_session*, int, const char* const*, void*) { return 0; }
int ctlcmd_slabshow(ctlcmd_session*, int, const char* const*, void*) { return 0; }
int ctlcmd_quit(ctlcmd_session*, int, const char* const*, void*) { return 0; }

int ctlcmd_listen_start(qelipc*, const char* endpoint, const ctlcmd_table* table) {
  const ctlcmd_handler own[] = {ctlcmd_help, ctlcmd_slabdump, ctlcmd_slabshow, ctlcmd_quit};
  std::string commands;
  for (size_t i = 0; i < table->count; ++i) {
    const ctlcmd_command& command = table->commands[i];
    commands +=
        std::string(i == 0 ? "" : ", ") + command.name + (command.handler == own[i] ? ": " : "? ") + command.help;
  }
  return record("ctlcmd_listen_start", endpoint, commands);
}

int ctlcmd_register_library(const char* name, const ctlcmd_command* commands, size_t count) {
  const int result = record("ctlcmd_register_library", name, count);
  if (result == 0) {
    state().modules[name] = {commands, count, nullptr};
  }
  return result;
}

int ctlcmd_module_set_ctx(const char* name, void* context) {
  const int result = record("ctlcmd_module_set_ctx", name);
  if (result == 0) {
    state().modules.at(name).context = context;
  }
  return result;
}

int ctlcmd_unregister_library(const char* name) {
  state().modules.erase(name);
  return record("ctlcmd_unregister_library", name);
}

int ctlcmd_docommand(const char* module, const char* command) { return record("ctlcmd_docommand", module, command); }

qelipc* qelipc_create(const char* name) {
  record("qelipc_create", name);
  return fails("qelipc_create") ? nullptr : new qelipc;
}

void qelipc_destroy(qelipc* ipc) {
  record("qelipc_destroy");
  delete ipc;
}

int qelipc_msg_register(qelipc* ipc, qelipc_callback handler, void* context) {
  return record("qelipc_msg_register") + deliver(ipc, handler, "peer", context);
}

void qelipc_msg_unregister(qelipc*) { record("qelipc_msg_unregister"); }

int qelipc_msg_send(qelipc*, const char* destination, const void* data, unsigned size) {
  return record("qelipc_msg_send", destination, std::string(static_cast<const char*>(data), size));
}

int qelipc_event_send(qelipc*, const char* event, const void* data, unsigned size) {
  return record("qelipc_event_send", event, std::string(static_cast<const char*>(data), size));
}

int qelipc_event_register_notifier(qelipc* ipc, const char* event, qelipc_callback notifier, void* context) {
  return record("qelipc_event_register_notifier", event) + deliver(ipc, notifier, event, context);
}

}  // extern "C"
