#pragma once

#include <cstddef>

#include "ctlcmd.h"

/// What the command shell, in the event-loop library, needs of an IPC endpoint, in the IPC library. The IPC library
/// depends on the event-loop library, not the reverse, so the endpoint provides these functions.
namespace qel::platform {

/// Runs commands that arrive through an endpoint.
class CommandServer {
 public:
  /// Runs the command of `count` words, followed by a null pointer, and passes its answer to `output`. Returns a result
  /// as in ctlcmd.h.
  virtual int run(const char* const* words, std::size_t count, ctlcmd_output output, void* output_context) = 0;
  /// Runs a command in the same way, from a line to be split into words.
  virtual int run_line(const char* line, ctlcmd_output output, void* output_context) = 0;
  /// Called when the endpoint is destroyed; it no longer uses this object.
  virtual void endpoint_gone() = 0;

 protected:
  ~CommandServer() = default;
};

class EndpointOperations {
 public:
  /// Sets the server of commands; null for none. The object belongs to the caller.
  virtual void serve_commands(CommandServer* server) = 0;

 protected:
  ~EndpointOperations() = default;
};

}  // namespace qel::platform

/// The part of an endpoint that both libraries know. None of its virtual functions takes or throws anything that C
/// lacks.
struct qelipc : qel::platform::EndpointOperations {
 protected:
  ~qelipc() = default;
};
