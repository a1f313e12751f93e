#include "qel/daemon/mainloop.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <exception>
#include <iomanip>
#include <limits>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <thread>

#include "qel/core/text.h"
#include "qel/daemon/log.h"
#include "qeldaemon.h"
#include "qelevsock.h"
#include "qelipc.h"
#include "shringbuf.h"
#include "slab.h"
#include "velolib.h"

namespace qel::daemon {

namespace {

constexpr std::size_t RING_SIZE = 65536;
constexpr std::size_t RING_SIZE_LITTLE_RAM = 16384;
constexpr std::chrono::seconds STARTUP_LIMIT{15};
constexpr std::chrono::seconds HOUSEKEEPING_INTERVAL{1};

std::ostream& log_error() { return debug::stream("mainloop") << debug::LogLevels::ERROR; }

/// Logs the cause in addition to the exception, whose text is fixed. The platform need not set errno.
void log_cause(const char* what, const std::string& name, int error) {
  log_error() << "Failed to create the " << what << ' ' << std::quoted(name) << ": "
              << (error != 0 ? std::generic_category().message(error) : "no cause given") << std::endl;
}

void init_log_ring(const std::string& name) {
  const std::size_t size = veloenv_VeloHasLittleRAM() != 0 ? RING_SIZE_LITTLE_RAM : RING_SIZE;
  // If the log still holds a ring of this name from an earlier loop, the new ring cannot take the name.
  debug::set_shringbuf(nullptr);
  errno = 0;
  std::unique_ptr<shringbuf, debug::shringbuf_deleter> ring(shringbuf_init(name.c_str(), size));
  if (!ring) {
    log_cause("log ring", name, errno);
    throw std::runtime_error("Could not initialize shared ring buffer");
  }
  debug::set_shringbuf(std::move(ring));
}

std::shared_ptr<qelipc> create_qelipc(const std::string& name) {
  errno = 0;
  qelipc* ipc = qelipc_create(name.c_str());
  if (ipc == nullptr) {
    log_cause("IPC endpoint", name, errno);
    std::ostringstream text;
    text << "qelipc_create() failed - program with ipc endpoint " << std::quoted(name) << " might already be running";
    throw std::runtime_error(std::move(text).str());
  }
  return {ipc, qelipc_destroy};
}

void ignore_message(qelipc*, const char*, void*, unsigned, void*) {}

}  // namespace

/// Keeps watches that are removed during a turn until its end, because the remover may be their own handler.
class Mainloop::Turn {
 public:
  explicit Turn(Watches*& current) : current_(current), outer_(current) {
    if (outer_ == nullptr) {
      current_ = &removed_;
    }
  }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;
  ~Turn() { current_ = outer_; }

 private:
  Watches*& current_;
  Watches* outer_;
  Watches removed_;
};

Mainloop::Mainloop(const std::string& name, bool daemonize)
    : name_(name.empty() ? DEFAULT_NAME_PREFIX + to_string(std::this_thread::get_id()) : name) {
  evsock_init();
  init_log_ring(name_ + "_log");
  qelipc_ = create_qelipc(name_);
  qelipc_msg_register(qelipc_.get(), ignore_message, nullptr);
  ctlcmd_ = std::make_unique<Ctlcmd>(qelipc_, name_);
  if (daemonize) {
    if (const int error = this->daemonize(false, false); error != 0) {
      log_error() << "Failed to start as a daemon, error " << Decimal(error) << ": "
                  << std::generic_category().message(std::abs(error)) << std::endl;
    }
  }
  second_timer_.start(HOUSEKEEPING_INTERVAL, [this] { on_second_timer(); });
  watchdog_evsock_init(name_.c_str());
}

Mainloop::~Mainloop() {
  finish();
  try {
    clear();
  } catch (const std::exception& error) {
    log_error() << "Failed to clear the main loop: " << error.what() << std::endl;
  } catch (...) {
    log_error() << "Failed to clear the main loop" << std::endl;
  }
  watchdog_evsock_exit();
  ctlcmd_.reset();
  qelipc_msg_unregister(qelipc_.get());
  qelipc_.reset();
  evsock_exit();
}

Mainloop& Mainloop::get(const std::string& name, bool daemonize) {
  static Mainloop loop(name, daemonize);
  return loop;
}

int Mainloop::daemonize(bool no_chdir, bool no_close) {
  if (const int error = daemon_start(no_chdir ? 1 : 0, no_close ? 1 : 0); error != 0) {
    return error;
  }
  daemonized_ = true;
  startup_timer_.stop();
  startup_timer_.start(STARTUP_LIMIT, [] {
    daemon_start_failed();
    std::exit(1);
  });
  return 0;
}

void Mainloop::trigger_watchdog() { watchdog_evsock_trigger(); }

std::chrono::milliseconds Mainloop::run(std::chrono::milliseconds timeout) {
  if (startup_timer_.is_running()) {
    startup_timer_.stop();
    daemon_ready();
  }
  if (finished_) {
    return DEFAULT_RUN_TIMEOUT;
  }
  const bool told = std::exchange(told_of_futures_, false);
  if (!told && count_futures() > 0 && !poll_timer_.is_running()) {
    poll_timer_.start(MIN_RUN_TIMEOUT, [] {});
  }
  const Turn turn(removed_in_turn_);
  evsock_select_with_msecs(static_cast<int>(timeout.count()));
  told_of_futures_ = futures_.process_futures();
  return told_of_futures_ ? MIN_RUN_TIMEOUT : DEFAULT_RUN_TIMEOUT;
}

void Mainloop::run_until_finished() {
  for (auto timeout = DEFAULT_RUN_TIMEOUT; !finished_;) {
    timeout = run(timeout);
    if (told_of_futures_) {
      timeout = futures_.get_poll_interval(std::chrono::steady_clock::now());
    }
  }
}

void Mainloop::on_second_timer() {
  slab_reap();
  second_timer_.start_ctimer(HOUSEKEEPING_INTERVAL);  // the same callback again, for which no memory is needed
}

bool Mainloop::add_watch(const std::shared_ptr<IWatchBase>& watch) {
  watch->add_to_evsock();
  watches_.push_back(watch);
  return true;
}

bool Mainloop::remove_watch(const std::shared_ptr<IWatchBase>& watch) {
  const auto found = std::find(watches_.begin(), watches_.end(), watch);
  if (found == watches_.end()) {
    return false;
  }
  const Watches removed{*found};
  keep_for_turn(removed);  // first, since it may lack memory
  removed.front()->remove_from_evsock();
  watches_.erase(found);
  return true;
}

void Mainloop::remove_watches() {
  keep_for_turn(watches_);  // first, since it may lack memory
  for (const auto& watch : watches_) {
    watch->remove_from_evsock();
  }
  const Watches removed = std::exchange(watches_, {});  // gone from the loop before they are destroyed
}

void Mainloop::clear() {
  remove_watches();
  clear_futures();
  poll_timer_.stop();
  second_timer_.stop();
}

void Mainloop::keep_for_turn(const Watches& removed) {
  if (removed_in_turn_ != nullptr) {
    removed_in_turn_->insert(removed_in_turn_->end(), removed.begin(), removed.end());
  }
}

std::shared_ptr<CtlcmdModule> Mainloop::create_ctlcmd_module(const std::string& name, void* context) {
  return ctlcmd_->create_module(name, context);
}

std::shared_ptr<CtlcmdModule> Mainloop::get_ctlcmd_module(const std::string& name) const {
  return ctlcmd_->get_module(name);
}

bool Mainloop::remove_ctlcmd_module(const std::string& name) { return ctlcmd_->remove_module(name); }

bool Mainloop::send_command(const std::string& module, const std::string& command) {
  return ctlcmd_->send_command(module, command);
}

bool Mainloop::send_qelipc_message(const char* destination, const std::string& message) {
  if (message.size() <= std::numeric_limits<unsigned>::max() &&
      qelipc_msg_send(qelipc_.get(), destination, message.data(), static_cast<unsigned>(message.size())) >= 0) {
    return true;
  }
  log_error() << "Failed to send qelipc message " << std::quoted(message) << " to destination "
              << std::quoted(destination) << std::endl;
  return false;
}

bool Mainloop::send_qelipc_event(const std::string& event, const void* data, unsigned size) {
  if (qelipc_event_send(qelipc_.get(), event.c_str(), data, size) >= 0) {
    return true;
  }
  log_error() << "Failed to send qelipc event " << std::quoted(event) << " with parameter of size " << Decimal(size)
              << std::endl;
  return false;
}

int Mainloop::register_qelipc_event_notifier(const char* event, EventNotifier notifier, void* context) {
  return qelipc_event_register_notifier(qelipc_.get(), event, notifier, context);
}

}  // namespace qel::daemon
