#pragma once

#include <memory>
#include <string>

struct qelipc_client;

namespace meshctl::web {

/// Milliseconds that a daemon gets for an answer.
constexpr int ANSWER_TIMEOUT = 5000;

struct CloseBusClient {
  void operator()(qelipc_client* client) const;
};

/// A connection to the message bus that the loop of the platform serves.
using BusClient = std::unique_ptr<qelipc_client, CloseBusClient>;

/// Connects without waiting. Returns null with errno set if there is no bus; see qelipc_client_open_in_loop().
BusClient open_bus_client(void (*lost)(void* context), void* context);

/// Why there is no bus, by errno.
std::string no_bus();
/// Why a daemon did not answer, by the status of the command, a negative errno.
std::string no_answer(const std::string& daemon, int status);

}  // namespace meshctl::web
