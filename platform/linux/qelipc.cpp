#include "qelipc.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <new>
#include <vector>

#include "platform/linux/endpoint.h"
#include "platform/linux/export.h"
#include "platform/linux/fork_hooks.h"

namespace {

using qel::platform::Endpoint;
using qel::platform::guarded;

std::vector<Endpoint*>& endpoints() {
  static auto& all = *new std::vector<Endpoint*>;
  return all;
}

// A connection cannot be shared with a child, so the child connects again.
void let_go() {
  for (Endpoint* endpoint : endpoints()) {
    endpoint->close();
  }
}

int take_again() {
  int result = 0;
  for (Endpoint* endpoint : endpoints()) {
    const int opened = endpoint->open();
    if (opened < 0) {
      endpoint->reopen_later();
      result = opened;
    }
  }
  return result;
}

Endpoint& of(qelipc* ipc) { return *static_cast<Endpoint*>(ipc); }

}  // namespace

extern "C" {

QEL_EXPORT qelipc* qelipc_create(const char* name) {
  if (name == nullptr) {
    errno = EINVAL;
    return nullptr;
  }
  std::unique_ptr<Endpoint> endpoint;
  const int result = guarded([&] {
    endpoint = std::make_unique<Endpoint>(name);
    endpoints().reserve(endpoints().size() + 1);
    return endpoint->open();
  });
  if (result < 0) {
    errno = -result;
    return nullptr;
  }
  qel::platform::set_fork_hooks({let_go, take_again});
  endpoints().push_back(endpoint.get());
  return endpoint.release();
}

QEL_EXPORT void qelipc_destroy(qelipc* ipc) {
  if (ipc != nullptr) {
    std::erase(endpoints(), &of(ipc));
    of(ipc).destroy();
  }
}

QEL_EXPORT const char* qelipc_get_name(const qelipc* ipc) { return static_cast<const Endpoint*>(ipc)->name().c_str(); }

QEL_EXPORT int qelipc_is_connected(const qelipc* ipc) {
  return ipc != nullptr && static_cast<const Endpoint*>(ipc)->connected() ? 1 : 0;
}

QEL_EXPORT int qelipc_msg_register(qelipc* ipc, qelipc_callback handler, void* context) {
  if (ipc == nullptr || handler == nullptr) {
    return -EINVAL;
  }
  of(ipc).set_handler(handler, context);
  return 0;
}

QEL_EXPORT void qelipc_msg_unregister(qelipc* ipc) {
  if (ipc != nullptr) {
    of(ipc).set_handler(nullptr, nullptr);
  }
}

QEL_EXPORT int qelipc_msg_send(qelipc* ipc, const char* destination, const void* data, unsigned size) {
  if (ipc == nullptr || destination == nullptr || (data == nullptr && size > 0)) {
    return -EINVAL;
  }
  if (size > QELIPC_DATA_MAX) {
    return -EMSGSIZE;
  }
  return guarded([&] { return of(ipc).send_message(destination, data, size); });
}

QEL_EXPORT int qelipc_event_send(qelipc* ipc, const char* event, const void* data, unsigned size) {
  if (ipc == nullptr || event == nullptr || !qel::platform::is_utf8(event) || (data == nullptr && size > 0)) {
    return -EINVAL;
  }
  if (size > QELIPC_DATA_MAX) {
    return -EMSGSIZE;
  }
  return guarded([&] { return of(ipc).send_event(event, data, size); });
}

QEL_EXPORT int qelipc_event_register_notifier(qelipc* ipc, const char* event, qelipc_callback notifier, void* context) {
  if (ipc == nullptr || event == nullptr || notifier == nullptr) {
    return -EINVAL;
  }
  return guarded([&] { return of(ipc).add_notifier(event, notifier, context); });
}

QEL_EXPORT int qelipc_event_unregister_notifier(qelipc* ipc, const char* event, qelipc_callback notifier,
                                                void* context) {
  if (ipc == nullptr || event == nullptr) {
    return -EINVAL;
  }
  return guarded([&] { return of(ipc).remove_notifiers(event, notifier, context); });
}

}  // extern "C"
