#include "qelipc_client.h"

#include <stdlib.h>
#include <string.h>
#include <time.h>

#include <cerrno>
#include <new>

#include "bus.h"
#include "export.h"

using namespace qel::platform;

struct qelipc_client {
  Bus bus;
  bool delivered = false;  ///< an event reached its taker since the last look
};

namespace {

struct Subscription {
  qelipc_client* client;
  qelipc_client_event take;
  void* context;
};

int on_event(sd_bus_message* message, void* userdata, sd_bus_error*) {
  const auto& subscription = *static_cast<const Subscription*>(userdata);
  const char* event = nullptr;
  const void* data = nullptr;
  size_t size = 0;
  char* endpoint = nullptr;
  if (sd_bus_path_decode(sd_bus_message_get_path(message), kPathPrefix, &endpoint) > 0) {
    if (sd_bus_message_read(message, "s", &event) >= 0 && sd_bus_message_read_array(message, 'y', &data, &size) >= 0) {
      subscription.client->delivered = true;
      subscription.take(subscription.context, endpoint, event, size > 0 ? data : "", static_cast<unsigned>(size));
    }
    free(endpoint);
  }
  return 0;
}

}  // namespace

extern "C" {

QEL_EXPORT qelipc_client* qelipc_client_open(void) {
  std::unique_ptr<qelipc_client> client(new (std::nothrow) qelipc_client);
  const std::uint64_t until = now_us() + kConnectTimeoutUs;
  int result = client != nullptr ? connect_to_bus(client->bus, kConnectTimeoutUs) : -ENOMEM;
  if (result >= 0) {
    result = wait_for_bus(client->bus.get(), until);
  }
  if (result < 0) {
    errno = -result;
    return nullptr;
  }
  return client.release();
}

QEL_EXPORT void qelipc_client_close(qelipc_client* client) { delete client; }

QEL_EXPORT int qelipc_client_list(qelipc_client* client, void (*take)(void* context, const char* name), void* context) {
  char** names = nullptr;
  const int result = sd_bus_list_names(client->bus.get(), &names, nullptr);
  if (result < 0) {
    return result;
  }
  int count = 0;
  constexpr std::size_t prefix_length = sizeof kBusNamePrefix - 1;
  for (char** name = names; *name != nullptr; ++name) {
    if (strncmp(*name, kBusNamePrefix, prefix_length) == 0) {
      take(context, unescape(*name + prefix_length).c_str());
      ++count;
    }
    free(*name);
  }
  free(names);
  return count;
}

QEL_EXPORT int qelipc_client_command(qelipc_client* client, const char* endpoint, const char* module, const char* line,
                                     int timeout_ms, int* result, char** answer) {
  if (module == nullptr) {
    module = "";
  }
  if (!is_utf8(module) || !is_utf8(line)) {
    return -EINVAL;
  }
  const BusPlace place = place_of(endpoint);
  if (place.bus_name.empty()) {
    return -ENXIO;
  }
  sd_bus_message* created = nullptr;
  int status = sd_bus_message_new_method_call(client->bus.get(), &created, place.bus_name.c_str(), place.path.c_str(),
                                              kInterface, "Command");
  const BusMessage call(created);
  if (status < 0 || (status = sd_bus_message_set_auto_start(created, 0)) < 0 ||
      (status = sd_bus_message_append(created, "ss", module, line)) < 0) {
    return status;
  }
  BusError error;
  sd_bus_message* replied = nullptr;
  status = sd_bus_call(client->bus.get(), created, static_cast<std::uint64_t>(timeout_ms > 0 ? timeout_ms : 1) * 1000,
                       &error.error, &replied);
  const BusMessage reply(replied);
  if (status < 0) {
    return to_errno(error.error, status);
  }
  std::int32_t code = 0;
  const char* text = nullptr;
  status = sd_bus_message_read(replied, "is", &code, &text);
  if (status < 0) {
    return status;
  }
  char* copy = strdup(text);
  if (copy == nullptr) {
    return -ENOMEM;
  }
  *result = code;
  *answer = copy;
  return 0;
}

QEL_EXPORT int qelipc_client_subscribe(qelipc_client* client, const char* endpoint, qelipc_client_event take,
                                       void* context) {
  auto* subscription = new (std::nothrow) Subscription{client, take, context};
  if (subscription == nullptr) {
    return -ENOMEM;
  }
  sd_bus_slot* slot = nullptr;
  const int result = sd_bus_match_signal(client->bus.get(), &slot, nullptr,
                                         endpoint != nullptr ? place_of(endpoint).path.c_str() : nullptr, kInterface,
                                         "Event", on_event, subscription);
  if (result < 0) {
    delete subscription;
    return result;
  }
  // The connection keeps the slot from now on, and the slot its subscription.
  sd_bus_slot_set_destroy_callback(slot, [](void* data) { delete static_cast<Subscription*>(data); });
  sd_bus_slot_set_floating(slot, 1);
  sd_bus_slot_unref(slot);
  return 0;
}

QEL_EXPORT int qelipc_client_wait(qelipc_client* client, int timeout_ms) {
  const bool is_limited = timeout_ms >= 0;
  const std::uint64_t until = is_limited ? now_us() + static_cast<std::uint64_t>(timeout_ms) * 1000 : UINT64_MAX;
  client->delivered = false;
  while (true) {
    int result = sd_bus_process(client->bus.get(), nullptr);
    if (result < 0) {
      return result;
    }
    if (client->delivered) {
      return 1;
    }
    if (result > 0) {
      continue;
    }
    result = sd_bus_wait(client->bus.get(), is_limited ? time_left_us(until) : UINT64_MAX);
    if (result == -EINTR || (result == 0 && is_limited)) {
      return 0;
    }
    if (result < 0) {
      return result;
    }
  }
}

}  // extern "C"
