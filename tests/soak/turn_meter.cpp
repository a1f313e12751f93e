/// Measures the turns of an event loop from outside, as a preloaded library. A turn lasts from the end of one wait in
/// epoll_wait() to the beginning of the next. Time that it waits for a processor does not count (proc(5), schedstat).
///
/// The results are in the file named by SOAK_TURNS, as three 64-bit numbers in the machine's byte order: the number of
/// turns, and in ns the longest processor time of a turn and the longest time for which one was blocked in system
/// calls. They survive a SIGKILL.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace {

struct Figures {
  std::uint64_t turns;
  std::uint64_t longest_processor;
  std::uint64_t longest_blocked;
};

Figures* map_figures() {
  const char* path = std::getenv("SOAK_TURNS");
  const int file = path == nullptr ? -1 : ::open(path, O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (file < 0 || ::ftruncate(file, sizeof(Figures)) != 0) {
    std::abort();
  }
  void* memory = ::mmap(nullptr, sizeof(Figures), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  ::close(file);
  if (memory == MAP_FAILED) {
    std::abort();
  }
  return static_cast<Figures*>(memory);
}

std::uint64_t read_ns(clockid_t clock) {
  timespec time{};
  ::clock_gettime(clock, &time);
  return static_cast<std::uint64_t>(time.tv_sec) * 1'000'000'000U + static_cast<std::uint64_t>(time.tv_nsec);
}

/// How long the process has been ready to run without running, since it started.
std::uint64_t waited_for_processor_ns() {
  static const int file = ::open("/proc/self/schedstat", O_RDONLY | O_CLOEXEC);
  char text[96] = {};
  unsigned long long running = 0;
  unsigned long long waiting = 0;
  if (::pread(file, text, sizeof(text) - 1, 0) <= 0 || std::sscanf(text, "%llu %llu", &running, &waiting) != 2) {
    return 0;
  }
  return waiting;
}

struct Moment {
  std::uint64_t clock = read_ns(CLOCK_MONOTONIC);
  std::uint64_t processor = read_ns(CLOCK_THREAD_CPUTIME_ID);
  std::uint64_t waiting = waited_for_processor_ns();
};

void count_turn(const Moment& begin, Figures& figures) {
  const Moment end;
  const std::uint64_t processor = end.processor - begin.processor;
  const std::uint64_t elapsed = end.clock - begin.clock;
  const std::uint64_t blocked = elapsed - std::min(elapsed, processor + end.waiting - begin.waiting);
  ++figures.turns;
  figures.longest_processor = std::max(figures.longest_processor, processor);
  figures.longest_blocked = std::max(figures.longest_blocked, blocked);
}

}  // namespace

#pragma GCC visibility push(default)
extern "C" int epoll_wait(int epoll, epoll_event* events, int room, int timeout) {
  static const auto wait = reinterpret_cast<decltype(&::epoll_wait)>(::dlsym(RTLD_NEXT, "epoll_wait"));
  static Figures* const figures = map_figures();
  static int loop = -1;  // the descriptor of the loop itself; others are only checked
  static Moment begin;
  if (loop < 0 && timeout != 0) {
    loop = epoll;
  } else if (epoll == loop) {
    count_turn(begin, *figures);
  }
  const int count = wait(epoll, events, room, timeout);
  if (epoll == loop) {
    begin = {};
  }
  return count;
}
#pragma GCC visibility pop
