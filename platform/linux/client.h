#pragma once

#include <memory>

#include "platform/linux/bus.h"
#include "platform/linux/client_service.h"

/// A connection of a client to the bus (qelipc_client.h).
struct qelipc_client {
  qel::platform::Bus bus;
  bool delivered = false;                                 ///< an event has been delivered since this was last checked
  std::unique_ptr<qel::platform::ClientService> service;  ///< null if it is in no loop
};
