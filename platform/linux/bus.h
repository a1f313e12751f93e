#pragma once

#include <systemd/sd-bus.h>

#include <cerrno>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <string_view>

/// Shared by endpoints and clients: the bus's address, the names on it, and owning handles for sd-bus objects.
namespace qel::platform {

/// Every endpoint owns this name or queues for it before it has its own name: the bus's policy treats both as owners.
constexpr char COMMON_BUS_NAME[] = "org.qel.ipc";
constexpr char BUS_NAME_PREFIX[] = "org.qel.ipc.";
constexpr char PATH_PREFIX[] = "/org/qel/ipc";
constexpr char INTERFACE[] = "org.qel.ipc.Endpoint1";

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

/// Runs a call that may run out of memory, and turns that into a negative errno.
template <class Call>
int guarded(Call call) {
  try {
    return call();
  } catch (const std::bad_alloc&) {
    return -ENOMEM;
  }
}

/// How long the bus may take to accept us. sd-bus itself would wait 90 s for a bus that accepts the connection and then
/// stays silent.
constexpr std::uint64_t CONNECT_TIMEOUT_US = 5'000'000;

/// Microseconds of the clock that sd-bus uses.
std::uint64_t now_us();

/// Microseconds until then, at least one: sd-bus takes 0 to mean its own timeout.
std::uint64_t time_left_us(std::uint64_t until_us);

/// Starts to connect to the bus; the handshake continues while the connection is processed. Returns 0 or a negative
/// errno.
int connect_to_bus(Bus& bus, std::uint64_t call_timeout_us);

/// Waits until the connection is established. Returns 0 or a negative errno, -ETIMEDOUT if it is not by then.
int wait_for_bus(sd_bus* bus, std::uint64_t until_us);

/// An endpoint's place on the bus.
struct BusPlace {
  std::string label;     ///< the name, escaped
  std::string bus_name;  ///< empty when the name is too long
  std::string path;
};
BusPlace place_of(const char* endpoint);

/// Reverses the escaping of a name.
std::string unescape(const char* label);

/// The negative errno of a failed call: from the bus's error reply, or else from the call's own result.
int to_errno(const sd_bus_error& error, int result);

/// True if D-Bus can carry the text as a string.
bool is_utf8(std::string_view text);

/// Replaces everything that D-Bus cannot carry in a string with U+FFFD.
std::string to_utf8(std::string text);

}  // namespace qel::platform
