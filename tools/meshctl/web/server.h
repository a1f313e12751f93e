#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <set>

#include "qel/daemon/connection.h"
#include "qel/daemon/timer.h"
#include "qel/daemon/watches.h"
#include "qel/net/file_descriptor.h"
#include "tools/meshctl/web/feed.h"

namespace meshctl::web {

/// Serves the page, its script and style, the topology, and an event stream of the feed, over HTTP in the loop of the
/// platform. All that others can make it hold is bounded: connections, octets of a request, time for a request,
/// streams.
class Server {
 public:
  /// The socket listens and does not block; it may be closed then. The feed is borrowed. Throws std::runtime_error.
  Server(const qel::FileDescriptor& socket, Feed& feed);
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
