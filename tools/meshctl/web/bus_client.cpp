#include "tools/meshctl/web/bus_client.h"

#include <cerrno>
#include <cstring>

#include "qelipc_client.h"

namespace meshctl::web {

void CloseBusClient::operator()(qelipc_client* client) const { qelipc_client_close(client); }

BusClient open_bus_client(void (*lost)(void* context), void* context) {
  return BusClient(qelipc_client_open_in_loop(lost, context));
}

std::string no_bus() { return std::string("cannot reach the message bus: ") + std::strerror(errno); }

std::string no_answer(const std::string& daemon, int status) {
  return status == -ENXIO ? "no daemon named '" + daemon + "' is running"
                          : "no answer from '" + daemon + "': " + std::strerror(-status);
}

}  // namespace meshctl::web
