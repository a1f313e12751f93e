/// Measures the turns of an event loop from outside, as a preloaded library. A turn lasts from the end of one wait in
/// epoll_wait() to the beginning of the next. It counts processor time and time blocked in system calls, but no delays
/// that others cause:
///
///   - A turn that never gave up its processor counts with the processor time of its thread. Time that a hypervisor
///     takes from this machine is thus excluded, if the kernel knows it.
///   - Any other turn counts with its elapsed time, less the time that it was ready to run and waited for a processor
///     (proc(5), schedstat), and less the time that it was blocked in calls that set up, query and close sockets,
///     interfaces and packet rules: there the kernel waits for whoever changes an interface anywhere on the machine,
///     and for all processors to have seen the change.
///
/// The results are in the file named by SOAK_TURNS, as three 64-bit numbers in the machine's byte order: the number of
/// turns, and in ns the longest turn as counted and the longest elapsed time. They survive a SIGKILL.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
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

/// A shorter turn counts with its elapsed time, without corrections.
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
  std::uint64_t clock;
  std::uint64_t processor;  ///< used by the thread
  std::uint64_t waiting;    ///< for a processor
  long given_up;            ///< how many times the thread gave up its processor to wait

  static Moment now() {
    rusage usage{};
    ::getrusage(RUSAGE_THREAD, &usage);
    return {read_ns(CLOCK_MONOTONIC), read_ns(CLOCK_THREAD_CPUTIME_ID), waited_for_processor_ns(), usage.ru_nvcsw};
  }
};

std::uint64_t blocked_by_network = 0;

/// The function that the meter stands before.
template <auto FUNCTION>
auto next(const char* name) {
  return reinterpret_cast<decltype(FUNCTION)>(::dlsym(RTLD_NEXT, name));
}

/// Makes one of the calls in which the kernel waits for others.
template <auto FUNCTION, class... Arguments>
auto call_network(const char* name, Arguments... arguments) {
  static const auto function = next<FUNCTION>(name);
  const Moment begin = Moment::now();
  const auto result = function(arguments...);
  const int error = errno;
  const Moment end = Moment::now();
  const std::uint64_t other = end.processor - begin.processor + end.waiting - begin.waiting;
  blocked_by_network += end.clock - begin.clock - std::min(end.clock - begin.clock, other);
  errno = error;
  return result;
}

void count_turn(const Moment& begin, Figures& figures) {
  const std::uint64_t on_the_clock = read_ns(CLOCK_MONOTONIC) - begin.clock;
  std::uint64_t counted = on_the_clock;
  if (on_the_clock >= WORTH_A_LOOK_NS) {
    const Moment end = Moment::now();
    const std::uint64_t excused = end.waiting - begin.waiting + blocked_by_network;
    counted = end.given_up == begin.given_up ? end.processor - begin.processor
                                             : on_the_clock - std::min(on_the_clock, excused);
  }
  ++figures.turns;
  figures.longest = std::max(figures.longest, counted);
  figures.longest_on_the_clock = std::max(figures.longest_on_the_clock, on_the_clock);
}

}  // namespace

#pragma GCC visibility push(default)
extern "C" {

int bind(int socket, const sockaddr* address, socklen_t size) noexcept {
  return call_network<&::bind>("bind", socket, address, size);
}

int close(int file) { return call_network<&::close>("close", file); }

int ioctl(int file, unsigned long request, ...) noexcept {
  std::va_list list;
  va_start(list, request);
  void* const argument = va_arg(list, void*);
  va_end(list);
  return call_network<&::ioctl>("ioctl", file, request, argument);
}

ssize_t recvfrom(int socket, void* data, std::size_t room, int flags, sockaddr* sender, socklen_t* size) {
  return call_network<&::recvfrom>("recvfrom", socket, data, room, flags, sender, size);
}

ssize_t send(int socket, const void* data, std::size_t size, int flags) {
  return call_network<&::send>("send", socket, data, size, flags);
}

ssize_t sendmsg(int socket, const msghdr* message, int flags) {
  return call_network<&::sendmsg>("sendmsg", socket, message, flags);
}

int setsockopt(int socket, int level, int option, const void* value, socklen_t size) noexcept {
  return call_network<&::setsockopt>("setsockopt", socket, level, option, value, size);
}

int epoll_wait(int epoll, epoll_event* events, int room, int timeout) {
  static const auto wait = next<&::epoll_wait>("epoll_wait");
  static Figures* const figures = map_figures();
  static int loop = -1;  // the descriptor of the loop itself; others are only checked
  static Moment begin{};
  if (loop < 0 && timeout != 0) {
    loop = epoll;
  }
  if (epoll != loop) {
    return wait(epoll, events, room, timeout);
  }
  if (begin.clock != 0) {
    count_turn(begin, *figures);
  }
  const int count = wait(epoll, events, room, timeout);
  blocked_by_network = 0;
  begin = Moment::now();
  return count;
}
}
#pragma GCC visibility pop
