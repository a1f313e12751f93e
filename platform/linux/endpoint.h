#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <vector>

#include "platform/linux/bus.h"
#include "platform/linux/endpoint_operations.h"
#include "platform/linux/long_answers.h"
#include "platform/linux/step_timer.h"
#include "qelevsock.h"
#include "qelipc.h"

/// An IPC endpoint on the D-Bus bus.
namespace qel::platform {

/// The receiver of messages, or of the events of one name.
struct Notifier {
  std::string event;
  qelipc_callback callback = nullptr;
  void* context = nullptr;

  bool operator==(const Notifier&) const = default;
};

/// An endpoint: one connection to the bus. While `named_` is false, it is reconnecting.
class Endpoint final : public qelipc {
 public:
  explicit Endpoint(const char* name) : name_(name), place_(place_of(name)) {}
  Endpoint(const Endpoint&) = delete;
  Endpoint& operator=(const Endpoint&) = delete;
  ~Endpoint();

  /// Connects and takes the name, waiting for both. Returns 0 or a negative errno.
  int open();
  /// Releases the name and disconnects, waiting for the bus to confirm.
  void close();
  /// Reconnects later, as after losing the bus.
  void reopen_later();

  void serve_commands(CommandServer* server) override { server_ = server; }
  void set_handler(qelipc_callback handler, void* context) { handler_ = {{}, handler, context}; }
  int add_notifier(const char* event, qelipc_callback callback, void* context);
  int remove_notifiers(const char* event, qelipc_callback callback, void* context);
  int send_message(const char* destination, const void* data, unsigned size);
  int send_event(const char* event, const void* data, unsigned size);

  const std::string& name() const { return name_; }
  bool connected() const { return named_; }

  /// Frees the endpoint; if its callback is running, when that returns.
  void destroy();

 private:
  int connect(std::uint64_t call_timeout_us);
  int watch_connection();
  int listen_for_events();
  void begin_reconnect();
  void drop_connection();
  void process();
  void schedule();
  void start_timer_at(std::uint64_t time_us);
  bool has_room_for(std::size_t octets);
  int send(BusMessage message, const char* first, const void* data, unsigned size);
  int look_up_owner(const std::string& bus_name);
  void deliver(const char* name, sd_bus_message* message, const std::vector<Notifier>& to);

  int take_message(sd_bus_message* message, sd_bus_error*);
  int take_event(sd_bus_message* message);
  int take_command(sd_bus_message* message, sd_bus_error* error);
  int take_command_line(sd_bus_message* message, sd_bus_error* error);
  template <class Run>
  int run_command(sd_bus_message* message, sd_bus_error* error, Run run);
  int take_more(sd_bus_message* message, sd_bus_error* error);
  template <class Function>
  void keep_exception(Function run) noexcept;

  template <int (Endpoint::*take)(sd_bus_message*, sd_bus_error*)>
  static int on_call(sd_bus_message* message, void* endpoint, sd_bus_error* error);
  static int on_event(sd_bus_message* message, void* endpoint, sd_bus_error*);
  static int on_name_reply(sd_bus_message* message, void* endpoint, sd_bus_error*);
  static const sd_bus_vtable VTABLE[];

  std::string name_;
  BusPlace place_;
  Bus bus_;
  evsock* watch_ = nullptr;
  StepTimer timer_{[](void* self) { static_cast<Endpoint*>(self)->process(); }, this};
  std::uint64_t give_up_at_ = 0;  ///< on the clock of now_us(): when to give up reconnecting
  bool named_ = false;
  bool broken_ = false;  ///< close the connection as soon as no sd-bus function is running
  bool processing_ = false;
  bool destroyed_ = false;
  std::exception_ptr thrown_;  ///< by a callback; kept until sd-bus, which is C, has returned
  Notifier handler_ = {};
  std::vector<Notifier> notifiers_;
  CommandServer* server_ = nullptr;
  LongAnswers long_answers_;
  std::size_t waiting_octets_ = 0;  ///< upper limit of the octets sent and queued for the bus
};

}  // namespace qel::platform
