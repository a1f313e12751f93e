/// Measures the turns of an event loop from outside, as a library to be preloaded: a turn lasts from the end of one
/// wait in epoll_wait() to the begin of the next. What the process waits for a processor meanwhile is none of its doing
/// and not counted (proc(5), schedstat), but what it is blocked in a system call is.
///
/// The figures stand in the file named by SOAK_TURNS, as three 64-bit numbers in the machine's own order: how many
/// turns there were, and the longest one in ns, without and with the waits for a processor. They outlive a SIGKILL.
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
  std::uint64_t longest;
  std::uint64_t longest_on_the_clock;
};

using Wait = int (*)(int, epoll_event*, int, int);

/// Below this the wait for a processor is not looked up: there is nothing to excuse.
constexpr std::uint64_t WORTH_A_LOOK_NS = 1'000'000;

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

std::uint64_t now_ns() {
  timespec time{};
  ::clock_gettime(CLOCK_MONOTONIC, &time);
  return static_cast<std::uint64_t>(time.tv_sec) * 1'000'000'000U + static_cast<std::uint64_t>(time.tv_nsec);
}

/// How long the process was ready to run and did not, since it began.
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

}  // namespace

extern "C" __attribute__((visibility("default"))) int epoll_wait(int epoll, epoll_event* events, int room,
                                                                 int timeout) {
  static const auto wait = reinterpret_cast<Wait>(::dlsym(RTLD_NEXT, "epoll_wait"));
  static Figures* const figures = map_figures();
  static int loop = -1;  // the descriptor of the loop itself; there are others that are only looked at
  static std::uint64_t begin = 0;
  static std::uint64_t waited_before = 0;
  if (loop < 0 && timeout != 0) {
    loop = epoll;
  }
  if (epoll != loop) {
    return wait(epoll, events, room, timeout);
  }
  if (begin != 0) {
    const std::uint64_t turn = now_ns() - begin;
    ++figures->turns;
    figures->longest_on_the_clock = std::max(figures->longest_on_the_clock, turn);
    const std::uint64_t excused = turn < WORTH_A_LOOK_NS ? 0 : waited_for_processor_ns() - waited_before;
    figures->longest = std::max(figures->longest, turn - std::min(turn, excused));
  }
  const int count = wait(epoll, events, room, timeout);
  waited_before = waited_for_processor_ns();
  begin = now_ns();
  return count;
}
