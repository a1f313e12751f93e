// What the command shell, in the event-loop library, needs of an IPC endpoint, in the IPC library. The IPC library is
// built on the event-loop library and not the other way round, so an endpoint brings these functions along.
#ifndef QEL_PLATFORM_ENDPOINT_OPERATIONS_H
#define QEL_PLATFORM_ENDPOINT_OPERATIONS_H

#include <cstddef>

#include "ctlcmd.h"

namespace qel::platform {

/// Runs commands that come in through an endpoint.
class CommandServer {
 public:
  /// Runs the command of `count` words, behind which stands a null pointer, and hands its answer to `output`; a result
  /// as in ctlcmd.h.
  virtual int run(const char* const* words, std::size_t count, ctlcmd_output output, void* output_context) = 0;
  /// The same for a line that is to be split into words.
  virtual int run_line(const char* line, ctlcmd_output output, void* output_context) = 0;
  /// The endpoint is destroyed; it does not use this object any more.
  virtual void endpoint_gone() = 0;

 protected:
  ~CommandServer() = default;
};

class EndpointOperations {
 public:
  /// Sets who runs the command lines; null for nobody. The object stays the caller's.
  virtual void serve_commands(CommandServer* server) = 0;

 protected:
  ~EndpointOperations() = default;
};

}  // namespace qel::platform

/// The part of an endpoint that both libraries know. No virtual function of it takes or throws anything beyond C.
struct qelipc : qel::platform::EndpointOperations {
 protected:
  ~qelipc() = default;
};

#endif
