#pragma once

#include <chrono>
#include <cstddef>
#include <future>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "qel/core/export.h"
#include "qel/daemon/ctlcmd_shell.h"
#include "qel/daemon/future_pool.h"
#include "qel/daemon/timer.h"
#include "qel/daemon/watches.h"

struct qelipc;

namespace qel::daemon {

/// The event loop of a daemon process, and the platform services that the process needs: log ring, IPC endpoint, debug
/// shell, daemon start and watchdog. It uses one thread and no locks: everything happens inside run(), which runs one
/// turn:
///
///     Mainloop loop("meshd", false);
///     loop.run_until_finished();
class QEL_EXPORT Mainloop {
 public:
  static constexpr const char* DEFAULT_NAME_PREFIX = "app_";
  static constexpr std::chrono::milliseconds MIN_RUN_TIMEOUT{1};
  /// No time limit.
  static constexpr std::chrono::milliseconds DEFAULT_RUN_TIMEOUT{-1};

  /// Called for an event with the endpoint, the event name, the data and its size in octets, and the context given at
  /// registration.
  using EventNotifier = void (*)(qelipc*, const char*, void*, unsigned, void*);

  /// An empty name becomes "app_" and the thread id. Throws std::runtime_error if no log ring is available or the name
  /// is in use on the IPC, and std::system_error from the timer.
  Mainloop(const std::string& name, bool daemonize);
  Mainloop(const Mainloop&) = delete;
  Mainloop& operator=(const Mainloop&) = delete;
  ~Mainloop();

  /// Returns the loop of the process: created by the first call, destroyed at exit. The arguments of later calls are
  /// ignored.
  static Mainloop& get(const std::string& name, bool daemonize);

  const std::string& get_name() const { return name_; }
  bool finished() const { return finished_; }
  /// Makes run() return at once from now on.
  void finish() { finished_ = true; }

  /// Runs one turn: waits at most `timeout` for descriptors and timers, runs their callbacks, then delivers ready
  /// futures. Returns the timeout for the next turn: 1 ms while futures are pending, otherwise no limit. The caller may
  /// wait longer, which delays futures; but while there are futures that no turn has reported yet, the wait ends after
  /// 1 ms. An exception from a handler propagates.
  std::chrono::milliseconds run(std::chrono::milliseconds timeout);
  /// Runs turns until finish() is called. While futures are pending, it waits at most
  /// async::FuturePool::get_poll_interval(), so that a long-running future does not wake the process every millisecond.
  void run_until_finished();

  /// Starts the process as a daemon. Returns 0 or the platform's error. If run() is not called within 15 seconds, the
  /// start is reported as failed and the process exits with status 1; this guard fires only in a turn of the platform's
  /// loop. The arguments are passed to the platform's daemon_start.
  int daemonize(bool no_chdir, bool no_close);
  bool daemonized() const { return daemonized_; }
  void trigger_watchdog();

  /// Registers the watch and keeps it. A watch that is added twice is kept twice.
  bool add_watch(const std::shared_ptr<IWatchBase>& watch);
  /// Unregisters the watch and drops its first entry. Returns false if there is none.
  bool remove_watch(const std::shared_ptr<IWatchBase>& watch);
  void remove_watches();
  std::size_t count_watches() const { return watches_.size(); }
  /// Drops watches and futures, and stops the housekeeping.
  void clear();

  /// Adds a future to the loop's pool; see async::FuturePool::add for the handler.
  template <class T, class Handler>
  async::FutureConnection add_future(std::future<T> future, Handler&& handler) {
    return futures_.add(std::move(future), std::forward<Handler>(handler));
  }
  std::size_t count_futures() const { return futures_.count_futures(); }
  void clear_futures() { futures_.clear_futures(); }

  /// The commands of the debug shell; these functions call those of Ctlcmd.
  std::shared_ptr<CtlcmdModule> create_ctlcmd_module(const std::string& name, void* context);
  std::shared_ptr<CtlcmdModule> get_ctlcmd_module(const std::string& name) const;
  bool remove_ctlcmd_module(const std::string& name);
  bool send_command(const std::string& module, const std::string& command);

  qelipc* get_qelipc() const { return qelipc_.get(); }
  /// Returns false and logs an error if the message cannot be sent.
  bool send_qelipc_message(const char* destination, const std::string& message);
  bool send_qelipc_event(const std::string& event, const void* data, unsigned size);
  /// Returns the platform's result.
  int register_qelipc_event_notifier(const char* event, EventNotifier notifier, void* context);

 private:
  using Watches = std::vector<std::shared_ptr<IWatchBase>>;
  class Turn;

  void on_second_timer();
  void keep_for_turn(const Watches& removed);

  std::string name_;
  bool daemonized_ = false;
  bool finished_ = false;
  time::Timer startup_timer_;
  Watches watches_;
  async::FuturePool futures_;
  time::Timer second_timer_;
  std::shared_ptr<qelipc> qelipc_;
  std::unique_ptr<Ctlcmd> ctlcmd_;
  /// Null between turns.
  Watches* removed_in_turn_ = nullptr;
  /// The result of the last turn reported pending futures.
  bool told_of_futures_ = false;
  /// Ends a wait after which futures must be polled.
  time::Timer poll_timer_;
};

}  // namespace qel::daemon
