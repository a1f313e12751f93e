#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// A platform that only writes down what is asked of it, under the platform libraries' own names. Every call becomes a
/// text such as "qelipc_create(node)"; what is returned is up to the test.
namespace fake_platform {

/// A fresh platform: nothing recorded, every call succeeds, the time is 0. Handles from before must not be used.
void reset();

/// The calls so far, in order, and forgets them. Calls of the timers' clock are not recorded.
std::vector<std::string> take_calls();

/// From now on the function returns `result`; a function that returns a pointer returns null unless it is 0, and
/// evsock_bwrite() takes at most so many octets.
void set_result(const std::string& function, int result);

/// Moves the clock of the timers and fires what has become due, by time and then in the order of arming.
void advance_microseconds(std::int64_t time);

/// Calls the callbacks of the watch of the descriptor, in the order in which evsock_add_fd() takes them.
void trigger(int fd);

}  // namespace fake_platform
