#include <benchmark/benchmark.h>
#include <ev.h>
#include <fcntl.h>
#include <qelipc.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "qel/daemon/log.h"
#include "qel/daemon/mainloop.h"
#include "tests/platform/private_bus.h"

/// Compares the cost of the runtime with that of the system's own means in the same run: ready descriptors with epoll,
/// timers with libev, a log line with a write to a pipe, an IPC message with a socket pair. The results are the ratios;
/// a table of them follows the measurements. The message bus is private.

namespace {

using qel::daemon::Mainloop;

constexpr int READY_DESCRIPTORS = 100;
constexpr unsigned OUTSTANDING_TIMERS = 10'000;
constexpr std::string_view LOG_TEXT = "neighbour 02:51:4C:00:00:01 answered the topology query after 12 ms";

int checked(int result) {
  if (result < 0) {
    throw std::system_error(errno, std::generic_category());
  }
  return result;
}

/// An eventfd that stays readable.
class ReadyDescriptor {
 public:
  ReadyDescriptor() : fd_(checked(eventfd(1, 0))) {}
  ReadyDescriptor(const ReadyDescriptor&) = delete;
  ReadyDescriptor& operator=(const ReadyDescriptor&) = delete;
  ~ReadyDescriptor() { close(fd_); }
  int get() const { return fd_; }

 private:
  int fd_;
};

/// Seconds until the n-th timer, spread over several hours.
int delay(unsigned n) { return 1000 + static_cast<int>(n * 7919U % 10'007U); }

class CountingWatch final : public qel::daemon::ISimpleFDWatch {
 public:
  CountingWatch(int fd, std::int64_t& calls) : ISimpleFDWatch(fd, "ready"), calls_(calls) {}
  void on_readable() override { ++calls_; }
  void on_writable() override {}

 private:
  std::int64_t& calls_;
};

void expect_calls(std::int64_t calls, const benchmark::State& state) {
  if (calls < READY_DESCRIPTORS * static_cast<std::int64_t>(state.iterations())) {
    std::cerr << "not every ready descriptor was dispatched\n";
    std::exit(1);
  }
}

void dispatch(benchmark::State& state, Mainloop& loop) {
  const std::vector<ReadyDescriptor> descriptors(READY_DESCRIPTORS);
  std::int64_t calls = 0;
  for (const ReadyDescriptor& descriptor : descriptors) {
    loop.add_watch(std::make_shared<CountingWatch>(descriptor.get(), calls));
  }
  loop.run(std::chrono::milliseconds(0));  // makes the first call of the write handlers
  calls = 0;
  for (auto turn : state) {
    loop.run(std::chrono::milliseconds(0));
  }
  loop.remove_watches();
  expect_calls(calls, state);
}

void dispatch_by_epoll(benchmark::State& state) {
  struct Handler {
    void (*function)(void*);
    void* context;
  };
  const std::vector<ReadyDescriptor> descriptors(READY_DESCRIPTORS);
  const int epoll = checked(epoll_create1(0));
  std::int64_t calls = 0;
  std::vector<Handler> handlers(READY_DESCRIPTORS, {[](void* count) { ++*static_cast<std::int64_t*>(count); }, &calls});
  for (std::size_t i = 0; i < descriptors.size(); ++i) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.ptr = &handlers[i];
    checked(epoll_ctl(epoll, EPOLL_CTL_ADD, descriptors[i].get(), &event));
  }
  std::array<epoll_event, READY_DESCRIPTORS> events;
  for (auto turn : state) {
    const int count = epoll_wait(epoll, events.data(), READY_DESCRIPTORS, 0);
    for (int i = 0; i < count; ++i) {
      const auto* handler = static_cast<Handler*>(events[static_cast<std::size_t>(i)].data.ptr);
      handler->function(handler->context);
    }
  }
  close(epoll);
  expect_calls(calls, state);
}

/// Alternately stops and arms timers, as messages from many neighbours do with their ageing timers.
void timer(benchmark::State& state) {
  std::vector<qel::time::Timer> timers(OUTSTANDING_TIMERS);
  int fired = 0;
  const auto start = [&](std::size_t i, unsigned n) {
    timers[i].start(std::chrono::seconds(delay(n)), [&fired] { ++fired; });
  };
  for (unsigned i = 0; i < OUTSTANDING_TIMERS; ++i) {
    start(i, i);
  }
  unsigned n = 0;
  for (auto iteration : state) {
    const std::size_t i = ++n % OUTSTANDING_TIMERS;
    timers[i].stop();
    start(i, n);
  }
}

/// libev arms a timer from the time at which its turn began; a timer that is never early must read the clock.
template <bool reads_clock>
void timer_by_libev(benchmark::State& state) {
  struct ev_loop* loop = ev_loop_new(EVFLAG_AUTO);
  std::vector<ev_timer> timers(OUTSTANDING_TIMERS);
  const auto start = [&](std::size_t i, unsigned n) {
    const auto callback = [](struct ev_loop*, ev_timer*, int) {};
    ev_timer_init(&timers[i], callback, delay(n), 0.);
    ev_timer_start(loop, &timers[i]);
  };
  for (unsigned i = 0; i < OUTSTANDING_TIMERS; ++i) {
    start(i, i);
  }
  unsigned n = 0;
  for (auto iteration : state) {
    const std::size_t i = ++n % OUTSTANDING_TIMERS;
    ev_timer_stop(loop, &timers[i]);
    if (reads_clock) {
      ev_now_update(loop);
    }
    start(i, n);
  }
  ev_loop_destroy(loop);
}

void log_line(benchmark::State& state) {
  // A DEBUG line of a disabled component goes only into the ring.
  for (auto iteration : state) {
    qel::debug::stream("bench") << LOG_TEXT << std::endl;
  }
}

void log_line_by_pipe(benchmark::State& state) {
  int pipe_ends[2];
  checked(pipe2(pipe_ends, O_NONBLOCK));
  std::array<char, 65536> room;
  const std::string line = "bench: " + std::string(LOG_TEXT) + "\n";
  for (auto iteration : state) {
    if (write(pipe_ends[1], line.data(), line.size()) < 0) {
      checked(static_cast<int>(read(pipe_ends[0], room.data(), room.size())));
    }
  }
  close(pipe_ends[0]);
  close(pipe_ends[1]);
}

void ipc_message(benchmark::State& state, Mainloop& loop) {
  std::int64_t received = 0;
  qelipc_msg_register(
      loop.get_qelipc(),
      [](qelipc*, const char*, void*, unsigned, void* count) { ++*static_cast<std::int64_t*>(count); }, &received);
  std::int64_t sent = 0;
  const std::string text(LOG_TEXT);
  for (auto iteration : state) {
    if (!loop.send_qelipc_message(loop.get_name().c_str(), text)) {
      std::exit(1);
    }
    ++sent;
    while (received < sent) {
      loop.run(std::chrono::milliseconds(1000));
    }
  }
}

void ipc_message_by_socketpair(benchmark::State& state) {
  int ends[2];
  checked(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends));
  std::array<char, 256> room;
  for (auto iteration : state) {
    checked(static_cast<int>(write(ends[0], LOG_TEXT.data(), LOG_TEXT.size())));
    checked(static_cast<int>(read(ends[1], room.data(), room.size())));
  }
  close(ends[0]);
  close(ends[1]);
}

/// Collects the fastest of the repeated runs for the table while the usual reporter prints them.
class Figures : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Iteration && !run.error_occurred) {
        const bool waits = run.run_name.time_type == "real_time";
        const double nanoseconds = waits ? run.GetAdjustedRealTime() : run.GetAdjustedCPUTime();
        const auto [place, added] = figures_.emplace(run.run_name.function_name, nanoseconds);
        if (!added && nanoseconds < place->second) {
          place->second = nanoseconds;
        }
      }
    }
  }

  void print_table(std::ostream& os) const {
    os << "\nstep                                     library       beside   ratio   goal\n" << std::fixed;
    print_row(os, "100 ready descriptors (epoll)", "dispatch", "dispatch", "1.5");
    print_row(os, "timer among 10000 (libev)", "timer", "timer", "3");
    print_row(os, "the same (libev, its clock read)", "timer", "timer_by_clock", "-");
    print_row(os, "log line into the ring (pipe)", "log_line", "log_line", "2000 ns");
    print_row(os, "IPC message (socket pair)", "ipc_message", "ipc_message", "-");
  }

 private:
  void print_row(std::ostream& os, const char* title, const char* name, const std::string& other,
                 const char* goal) const {
    const auto library = figures_.find(name);
    const auto beside = figures_.find(other + "_beside");
    if (library == figures_.end() || beside == figures_.end()) {
      return;  // excluded by --benchmark_filter
    }
    os << std::left << std::setw(36) << title << std::right << std::setprecision(0) << std::setw(9) << library->second
       << " ns" << std::setw(10) << beside->second << " ns" << std::setprecision(2) << std::setw(8)
       << library->second / beside->second << std::setw(10) << goal << '\n';
  }

  std::map<std::string, double> figures_;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 2;
  }
  PrivateBus bus;
  Mainloop loop("bench-" + std::to_string(getpid()), false);
  const auto with_loop = [&loop](void (*step)(benchmark::State&, Mainloop&)) {
    return [&loop, step](benchmark::State& state) { step(state, loop); };
  };
  benchmark::RegisterBenchmark("dispatch", with_loop(dispatch));
  benchmark::RegisterBenchmark("dispatch_beside", dispatch_by_epoll);
  benchmark::RegisterBenchmark("timer", timer);
  benchmark::RegisterBenchmark("timer_beside", timer_by_libev<false>);
  benchmark::RegisterBenchmark("timer_by_clock_beside", timer_by_libev<true>);
  benchmark::RegisterBenchmark("log_line", log_line);
  benchmark::RegisterBenchmark("log_line_beside", log_line_by_pipe);
  benchmark::RegisterBenchmark("ipc_message", with_loop(ipc_message))->UseRealTime();
  benchmark::RegisterBenchmark("ipc_message_beside", ipc_message_by_socketpair)->UseRealTime();
  Figures figures;
  benchmark::RunSpecifiedBenchmarks(&figures);
  figures.print_table(std::cout);
}
