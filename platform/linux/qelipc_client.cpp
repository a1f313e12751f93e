#include "qelipc_client.h"

#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <cerrno>
#include <new>

#include "platform/linux/client.h"
#include "platform/linux/export.h"
#include "qelipc.h"

using namespace qel::platform;

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
  if (sd_bus_path_decode(sd_bus_message_get_path(message), PATH_PREFIX, &endpoint) > 0) {
    if (sd_bus_message_read(message, "s", &event) >= 0 && sd_bus_message_read_array(message, 'y', &data, &size) >= 0) {
      subscription.client->delivered = true;
      subscription.take(subscription.context, endpoint, event, size > 0 ? data : "", static_cast<unsigned>(size));
    }
    free(endpoint);
  }
  return 0;
}

/// Whether the words can be sent: 0 or a negative errno.
int check_words(const char* const* words) {
  std::size_t octets = 0;
  for (const char* const* word = words; *word != nullptr; ++word) {
    if (!is_utf8(*word)) {
      return -EINVAL;
    }
    octets += strlen(*word) + 1;
  }
  return octets > QELIPC_COMMAND_MAX ? -EMSGSIZE : 0;
}

/// A command and its answer, piece by piece.
class Conversation {
 public:
  Conversation(qelipc_client* client, const char* endpoint, int timeout_ms)
      : bus_(client->bus.get()),
        place_(place_of(endpoint)),
        until_(now_us() + static_cast<std::uint64_t>(std::max(timeout_ms, 1)) * 1000) {}

  /// As qelipc_client_command(); `append` adds the command to the call of `method`.
  template <class Append>
  int run(const char* method, int* result, char** answer, Append append) {
    if (place_.bus_name.empty()) {
      return -ENXIO;
    }
    int status = call(method, append);
    std::int32_t code = 0;
    if (status >= 0) {
      status = sd_bus_message_read(reply_.get(), "i", &code);
    }
    std::string text;
    std::uint64_t more = 0;
    while (status >= 0 && (status = take_piece(text, more)) >= 0 && more != 0) {
      status = call("More", [&more](sd_bus_message* next) { return sd_bus_message_append(next, "t", more); });
    }
    char* copy = status >= 0 ? strdup(text.c_str()) : nullptr;
    if (copy == nullptr) {
      return status < 0 ? status : -ENOMEM;
    }
    *result = code;
    *answer = copy;
    return 0;
  }

 private:
  template <class Append>
  int call(const char* method, Append append) {
    sd_bus_message* created = nullptr;
    int status =
        sd_bus_message_new_method_call(bus_, &created, place_.bus_name.c_str(), place_.path.c_str(), INTERFACE, method);
    const BusMessage call(created);
    if (status < 0 || (status = sd_bus_message_set_auto_start(created, 0)) < 0 || (status = append(created)) < 0) {
      return status;
    }
    BusError error;
    sd_bus_message* replied = nullptr;
    status = sd_bus_call(bus_, created, time_left_us(until_), &error.error, &replied);
    reply_.reset(replied);
    return status < 0 ? to_errno(error.error, status) : status;
  }

  int take_piece(std::string& text, std::uint64_t& more) {
    const char* piece = nullptr;
    const int status = sd_bus_message_read(reply_.get(), "st", &piece, &more);
    text += status >= 0 ? piece : "";
    return status;
  }

  sd_bus* bus_;
  BusPlace place_;
  std::uint64_t until_;
  BusMessage reply_;
};

}  // namespace

extern "C" {

QEL_EXPORT qelipc_client* qelipc_client_open(void) {
  std::unique_ptr<qelipc_client> client(new (std::nothrow) qelipc_client);
  const std::uint64_t until = now_us() + CONNECT_TIMEOUT_US;
  int result = client != nullptr ? connect_to_bus(client->bus, CONNECT_TIMEOUT_US) : -ENOMEM;
  if (result >= 0) {
    result = wait_for_bus(client->bus.get(), until);
  }
  if (result < 0) {
    errno = -result;
    return nullptr;
  }
  return client.release();
}

QEL_EXPORT qelipc_client* qelipc_client_open_in_loop(void (*lost)(void* context), void* context) {
  std::unique_ptr<qelipc_client> client(new (std::nothrow) qelipc_client);
  int result = client != nullptr ? connect_to_bus(client->bus, CONNECT_TIMEOUT_US) : -ENOMEM;
  if (result >= 0) {
    client->service.reset(new (std::nothrow) ClientService(client->bus.get(), lost, context));
    result = client->service != nullptr ? client->service->start() : -ENOMEM;
  }
  if (result < 0) {
    errno = -result;
    return nullptr;
  }
  return client.release();
}

QEL_EXPORT int qelipc_client_start_command(qelipc_client* client, const char* endpoint, const char* const* words,
                                           int timeout_ms, qelipc_client_answer take, void* context) {
  const int valid = client->service != nullptr ? check_words(words) : -EINVAL;
  return valid < 0 ? valid
                   : guarded([&] { return client->service->command(endpoint, words, timeout_ms, take, context); });
}

QEL_EXPORT void qelipc_client_close(qelipc_client* client) { delete client; }

QEL_EXPORT int qelipc_client_list(qelipc_client* client, void (*take)(void* context, const char* name), void* context) {
  char** names = nullptr;
  const int result = sd_bus_list_names(client->bus.get(), &names, nullptr);
  if (result < 0) {
    return result;
  }
  int count = 0;
  constexpr std::size_t prefix_length = sizeof BUS_NAME_PREFIX - 1;
  for (char** name = names; *name != nullptr; ++name) {
    if (strncmp(*name, BUS_NAME_PREFIX, prefix_length) == 0) {
      take(context, unescape(*name + prefix_length).c_str());
      ++count;
    }
    free(*name);
  }
  free(names);
  return count;
}

QEL_EXPORT int qelipc_client_command(qelipc_client* client, const char* endpoint, const char* const* words,
                                     int timeout_ms, int* result, char** answer) {
  const int valid = check_words(words);
  return valid < 0 ? valid : guarded([&] {
    return Conversation(client, endpoint, timeout_ms).run("Command", result, answer, [&](sd_bus_message* call) {
      return sd_bus_message_append_strv(call, const_cast<char**>(words));
    });
  });
}

QEL_EXPORT int qelipc_client_command_line(qelipc_client* client, const char* endpoint, const char* line, int timeout_ms,
                                          int* result, char** answer) {
  if (!is_utf8(line)) {
    return -EINVAL;
  }
  return strlen(line) >= QELIPC_COMMAND_MAX ? -EMSGSIZE : guarded([&] {
    return Conversation(client, endpoint, timeout_ms).run("CommandLine", result, answer, [&](sd_bus_message* call) {
      return sd_bus_message_append(call, "s", line);
    });
  });
}

QEL_EXPORT int qelipc_client_subscribe(qelipc_client* client, const char* endpoint, qelipc_client_event take,
                                       void* context) {
  auto* subscription = new (std::nothrow) Subscription{client, take, context};
  if (subscription == nullptr) {
    return -ENOMEM;
  }
  sd_bus_slot* slot = nullptr;
  const std::string path = endpoint != nullptr ? place_of(endpoint).path : "";
  const char* const from = endpoint != nullptr ? path.c_str() : nullptr;
  sd_bus* const bus = client->bus.get();
  const int result =
      client->service != nullptr
          ? sd_bus_match_signal_async(bus, &slot, nullptr, from, INTERFACE, "Event", on_event, nullptr, subscription)
          : sd_bus_match_signal(bus, &slot, nullptr, from, INTERFACE, "Event", on_event, subscription);
  if (result < 0) {
    delete subscription;
    return result;
  }
  // From now on the connection owns the slot, and the slot owns its subscription.
  sd_bus_slot_set_destroy_callback(slot, [](void* data) { delete static_cast<Subscription*>(data); });
  sd_bus_slot_set_floating(slot, 1);
  sd_bus_slot_unref(slot);
  if (client->service != nullptr) {
    client->service->schedule();
  }
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
