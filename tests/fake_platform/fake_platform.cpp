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
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <list>
#include <map>
#include <sstream>
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

struct State {
  std::vector<std::string> calls;
  std::map<std::string, int> results;
  std::int64_t now = 0;
  std::list<Timer> timers;
  std::list<evsock> watches;
};

State& state() {
  // Never destroyed, because static objects of the tested code call the platform at process exit.
  static State& state = *new State;
  return state;
}

/// Records "function(arguments)" and returns the configured result, or 0.
template <class... Args>
int record(const std::string& function, const Args&... args) {
  std::ostringstream call;
  [[maybe_unused]] const char* separator = "";
  ((call << separator << args, separator = ", "), ...);
  state().calls.push_back(function + "(" + call.str() + ")");
  const auto result = state().results.find(function);
  return result == state().results.end() ? 0 : result->second;
}

[[gnu::format(printf, 1, 0)]] std::string format_text(const char* format, va_list values) {
  char text[4096];
  std::vsnprintf(text, sizeof text, format, values);
  return text;
}

ctimer_tval time_value(std::int64_t time) { return {time / 1'000'000, static_cast<std::int32_t>(time % 1'000'000)}; }

}  // namespace

void reset() { state() = State(); }
std::vector<std::string> take_calls() { return std::exchange(state().calls, {}); }
void set_result(const std::string& function, int result) { state().results[function] = result; }

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

void trigger(int fd) {
  const auto watch = std::ranges::find(state().watches, fd, &evsock::fd);
  for (const evsock_callback callback : watch->callbacks) {
    if (callback != nullptr) {
      callback(&*watch, watch->context);
    }
  }
}

}  // namespace fake_platform

using fake_platform::format_text;
using fake_platform::record;
using fake_platform::state;
using fake_platform::time_value;

// The platform's functions, as declared in platform/include.
extern "C" {

int evsock_init() { return record("evsock_init"); }
void evsock_exit() { record("evsock_exit"); }

evsock* evsock_add_fd(int fd, const char* name, evsock_callback readable, evsock_callback writable,
                      evsock_callback hangup, evsock_callback priority, void* reserved, void* context) {
  std::string callbacks;
  for (const evsock_callback callback : {readable, writable, hangup, priority}) {
    callbacks += callback == nullptr ? '-' : 'x';
  }
  if (record("evsock_add_fd", fd, name, callbacks, reserved == nullptr ? "null" : "reserved") != 0) {
    errno = EBADF;
    return nullptr;
  }
  return &state().watches.emplace_back(evsock{fd, {readable, writable, hangup, priority}, context});
}

void evsock_remove_fd(evsock* handle) {
  record("evsock_remove_fd", handle->fd);
  state().watches.remove_if([handle](const evsock& watch) { return &watch == handle; });
}

int evsock_fd_blocking(evsock* handle) { return record("evsock_fd_blocking", handle->fd); }
void evsock_want_write(evsock* handle) { record("evsock_want_write", handle->fd); }
void evsock_want_read(evsock* handle, int wanted) { record("evsock_want_read", handle->fd, wanted); }
int evsock_getobufsize(const evsock*) { return record("evsock_getobufsize"); }

int evsock_bwrite(evsock*, const void* data, size_t length) {
  const bool unlimited = !state().results.contains("evsock_bwrite");
  const int result = record("evsock_bwrite", std::string(static_cast<const char*>(data), length));
  return unlimited ? static_cast<int>(length) : std::min(result, static_cast<int>(length));
}

int evsock_select_with_msecs(int milliseconds) { return record("evsock_select_with_msecs", milliseconds); }

int ctimer_setup_internal(int flags, ctimerhandle* handle, int kind, int reserved1, int count, unsigned units,
                          ctimer_callback_fn callback, void* cbdata, int reserved2, int reserved3) {
  const int result = record("ctimer_setup_internal", flags, kind, reserved1, count, units, reserved2, reserved3);
  if (result == 0) {
    // Any unique address serves as a handle.
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
  return record("shringbuf_init", name, size) != 0 ? nullptr : new shringbuf;
}

void shringbuf_deinit(shringbuf* ring) {
  record("shringbuf_deinit");
  delete ring;
}

int shringbuf_add(shringbuf*, const char* format, ...) {
  va_list values;
  va_start(values, format);
  record("shringbuf_add", format, format_text(format, values));
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

int ctlcmd_register_library(const char* name, const ctlcmd_command*, size_t count) {
  return record("ctlcmd_register_library", name, count);
}
int ctlcmd_module_set_ctx(const char* name, void*) { return record("ctlcmd_module_set_ctx", name); }
int ctlcmd_unregister_library(const char* name) { return record("ctlcmd_unregister_library", name); }
int ctlcmd_docommand(const char* module, const char* command) { return record("ctlcmd_docommand", module, command); }

qelipc* qelipc_create(const char* name) { return record("qelipc_create", name) != 0 ? nullptr : new qelipc; }

void qelipc_destroy(qelipc* ipc) {
  record("qelipc_destroy");
  delete ipc;
}

int qelipc_msg_register(qelipc*, qelipc_callback, void*) { return record("qelipc_msg_register"); }
void qelipc_msg_unregister(qelipc*) { record("qelipc_msg_unregister"); }

int qelipc_msg_send(qelipc*, const char* destination, const void* data, unsigned size) {
  return record("qelipc_msg_send", destination, std::string(static_cast<const char*>(data), size));
}

int qelipc_event_send(qelipc*, const char* event, const void* data, unsigned size) {
  return record("qelipc_event_send", event, std::string(static_cast<const char*>(data), size));
}

int qelipc_event_register_notifier(qelipc*, const char* event, qelipc_callback, void*) {
  return record("qelipc_event_register_notifier", event);
}

}  // extern "C"
