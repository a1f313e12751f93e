#include "tools/capabilities.h"

#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>

namespace tools {

std::error_code keep_capabilities(std::initializer_list<unsigned int> kept) {
  std::array<std::uint32_t, _LINUX_CAPABILITY_U32S_3> masks{};
  for (const unsigned int capability : kept) {
    masks.at(capability / 32) |= std::uint32_t{1} << capability % 32;
  }
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> sets{};
  bool done = prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0;
  done = syscall(SYS_capget, &header, sets.data()) == 0 && done;
  bool has_more = false;
  for (std::size_t i = 0; i < sets.size(); ++i) {
    has_more = has_more || (sets[i].permitted & ~masks[i]) != 0;
    sets[i] = {sets[i].effective & masks[i], sets[i].permitted & masks[i], 0};
  }
  // A service starts with no more than these, and its system call filter may forbid this call.
  done = (!has_more || syscall(SYS_capset, &header, sets.data()) == 0) && done;
  return done ? std::error_code() : std::error_code(errno, std::generic_category());
}

}  // namespace tools
