#pragma once

// Endpoints and clients of the message bus that close themselves.

#include <memory>

#include "platform/include/qelipc.h"
#include "platform/include/qelipc_client.h"

struct CloseIpc {
  void operator()(qelipc* ipc) const { qelipc_destroy(ipc); }
  void operator()(qelipc_client* client) const { qelipc_client_close(client); }
};
using Endpoint = std::unique_ptr<qelipc, CloseIpc>;
using Client = std::unique_ptr<qelipc_client, CloseIpc>;
