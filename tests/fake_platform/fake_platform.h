#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// A platform that only records its calls, under the names of the platform libraries. Each call becomes a text such as
/// "qelipc_create(node)"; the test chooses the results.
namespace fake_platform {

/// Resets the platform: nothing is recorded, every call succeeds, the time is 0. Earlier handles must not be used.
void reset();

/// Returns the calls so far, in order, and forgets them. Calls of the timers' clock are not recorded.
std::vector<std::string> take_calls();

/// Makes the function return `result` from now on. A function that returns a pointer returns null unless `result` is 0;
/// evsock_bwrite() accepts at most that many octets.
void set_result(const std::string& function, int result);

/// Advances the timers' clock and fires the timers that are due, in order of expiry and then of arming.
void advance_microseconds(std::int64_t time);

/// Calls the callbacks of the descriptor's watch in the order of evsock_add_fd()'s parameters.
void trigger(int fd);

}  // namespace fake_platform
