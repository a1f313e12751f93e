#include "tools/meshd/memory_limit.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>

namespace meshd {

namespace {

constexpr rlim_t LEAST_LIMIT = rlim_t{32} * 1024 * 1024;
/// Covers a device in the map, in a view, and in the answer to a command.
constexpr rlim_t DATA_OF_DEVICE = rlim_t{32} * 1024;
/// The stations of our own access points, as many as there is room for on eight of them.
constexpr rlim_t DATA_OF_STATIONS = rlim_t{16} * 1024 * 1024;
/// All that a controller keeps at most, most of it about clients (controller/limits.h).
constexpr rlim_t DATA_OF_CONTROLLER = rlim_t{96} * 1024 * 1024;

/// What this process has now; see proc(5).
rlim_t data_size() {
  std::ifstream file("/proc/self/statm");
  rlim_t pages = 0;
  for (int column = 1; column <= 6; ++column) {
    file >> pages;
  }
  return pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE));
}

}  // namespace

std::error_code limit_memory(std::size_t devices, bool is_controller) {
  const rlim_t most =
      std::max(LEAST_LIMIT, devices * DATA_OF_DEVICE) + DATA_OF_STATIONS + (is_controller ? DATA_OF_CONTROLLER : 0);
  rlimit limit{};
  if (getrlimit(RLIMIT_DATA, &limit) != 0 || limit.rlim_cur <= most || data_size() > most / 2) {
    return {};  // a sanitizer uses more from the start
  }
  limit.rlim_cur = most;
  return setrlimit(RLIMIT_DATA, &limit) == 0 ? std::error_code() : std::error_code(errno, std::generic_category());
}

}  // namespace meshd
