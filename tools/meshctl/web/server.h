#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <set>
#include <string>
#include <utility>

#include "qel/daemon/connection.h"
#include "qel/daemon/timer.h"
#include "qel/daemon/watches.h"
#include "qel/net/file_descriptor.h"
#include "tools/meshctl/web/feed.h"
#include "tools/meshctl/web/orders.h"
#include "tools/meshctl/web/token.h"

namespace meshctl::web {

/// What users may do, and the secret that they must have for it.
struct Actions {
  Token token;
  Orders orders;

  explicit Actions(std::string daemon) : orders(std::move(daemon)) {}
};

/// Serves the page, its script and style, the topology, and an event stream of the feed, and takes orders for a
/// controller, over HTTP in the loop of the platform. All that others can make it hold is bounded: connections, octets
/// of a request, time for a request, streams, orders.
class Server {
 public:
  /// The socket listens and does not block; it may be closed then. The feed is borrowed, and so are the actions, which
  /// are null if none are allowed. The loop must not turn between the end of the server and that of the actions. Throws
  /// std::runtime_error.
  Server(const qel::FileDescriptor& socket, Feed& feed, Actions* actions);
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;
  ~Server();

 private:
  struct Http;  // the library's types and calls
  struct Client;
  struct Stream;
  struct Stopper {
    void operator()(void* daemon) const;
  };

  void run();
  void wake();
  void sweep();

  Feed& feed_;
  Actions* actions_;
  std::set<Client*> clients_;
  std::set<Stream*> streams_;
  std::set<Client*> waiting_;  ///< for a topology
  std::unique_ptr<void, Stopper> daemon_;
  std::shared_ptr<qel::daemon::IFDWatchBase> watch_;
  qel::time::Timer run_timer_;
  qel::time::Timer wake_timer_;
  qel::time::Timer sweep_timer_;
  qel::signals::ScopedConnection feed_changed_;
};

}  // namespace meshctl::web
