// What endpoints and clients share: the bus's address, the names on it, and owning handles for sd-bus objects.
#ifndef QEL_PLATFORM_BUS_H
#define QEL_PLATFORM_BUS_H

#include <systemd/sd-bus.h>

#include <cerrno>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <string_view>

namespace qel::platform {

/// Every endpoint owns this name or waits for it, before it has its own: the bus's policy counts both as owners.
constexpr char kCommonBusName[] = "org.qel.ipc";
constexpr char kBusNamePrefix[] = "org.qel.ipc.";
constexpr char kPathPrefix[] = "/org/qel/ipc";
constexpr char kInterface[] = "org.qel.ipc.Endpoint1";

struct UnrefBus {
  void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
};
using Bus = std::unique_ptr<sd_bus, UnrefBus>;

struct UnrefMessage {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using BusMessage = std::unique_ptr<sd_bus_message, UnrefMessage>;

struct BusError {
  sd_bus_error error{};
  BusError() = default;
  BusError(const BusError&) = delete;
  BusError& operator=(const BusError&) = delete;
  ~BusError() { sd_bus_error_free(&error); }
};

/// Runs what may be out of memory, which is a negative errno then.
template <class Call>
int guarded(Call call) {
  try {
    return call();
  } catch (const std::bad_alloc&) {
    return -ENOMEM;
  }
}

/// How long the bus may take to let us in. sd-bus itself would wait 90 s for a bus that takes the connection and is
/// silent then.
constexpr std::uint64_t kConnectTimeoutUs = 5'000'000;

/// Microseconds of the clock that sd-bus goes by.
std::uint64_t now_us();

/// Microseconds until then, at least one: for sd-bus, no time at all means its own time-out.
std::uint64_t time_left_us(std::uint64_t until_us);

/// Begins to connect to the bus; the handshake goes on as the connection is processed. Returns 0 or a negative errno.
int connect_to_bus(Bus& bus, std::uint64_t call_timeout_us);

/// Waits until the connection stands. Returns 0 or a negative errno, -ETIMEDOUT when it does not until then.
int wait_for_bus(sd_bus* bus, std::uint64_t until_us);

/// An endpoint's place on the bus.
struct BusPlace {
  std::string label;     ///< the name, escaped
  std::string bus_name;  ///< empty when the name is too long
  std::string path;
};
BusPlace place_of(const char* endpoint);

/// The name behind an escaped one.
std::string unescape(const char* label);

/// The negative errno for a failed call: from the error that the bus answered, or else the call's own result.
int to_errno(const sd_bus_error& error, int result);

/// Whether D-Bus can carry the text as a string.
bool is_utf8(std::string_view text);

/// The text with everything that D-Bus cannot carry in a string replaced by U+FFFD.
std::string to_utf8(std::string text);

}  // namespace qel::platform

#endif
