#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

struct ctlcmd_command;
struct evsock;
struct qelipc;

/// A platform that only writes down what is asked of it, under the platform libraries' own names. Every call becomes a
/// text such as "qelipc_create(node)"; what is returned and what happens in a turn is up to the test. Who registers for
/// messages or an event gets one with the content "up" at once.
namespace fake_platform {

/// A fresh platform: nothing recorded, every call succeeds, the time is 0. Handles from before must not be used.
void reset();

/// The calls so far, in order, and forgets them. Calls of the timers' clock are not recorded.
std::vector<std::string> take_calls();

/// From now on the function returns `result`; a function that returns a pointer returns null.
void set_result(const std::string& function, int result);
void clear_result(const std::string& function);

/// What happens inside each evsock_select_with_msecs().
void on_turn(std::function<void()> action);

/// Moves the clock of the timers and fires what has become due, by time and then in the order of arming.
void advance_microseconds(std::int64_t time);
std::size_t count_timers();

enum class Event { READABLE, WRITABLE, AUX_1, AUX_2 };
/// Calls the callback of every watch of the descriptor; false when none has one.
bool trigger(int fd, Event event);
/// A registration as evsock_add_fd() would return it, to be used until reset().
evsock* make_evsock();

/// What evsock_bwrite() takes at most, and what it took.
void set_write_limit(std::size_t octets);
std::string written();

/// The lines in the log ring set up last, also after its end.
std::vector<std::string> ring_lines();

/// The handler's result when a command of a registered module is run by hand, as the shell would.
int run_command(const std::string& module, const std::string& command);

}  // namespace fake_platform
