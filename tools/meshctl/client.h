#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct qelipc_client;

namespace meshctl {

/// What a command of a daemon's shell gave.
struct Answer {
  int result;  ///< 0 for success, else see ctlcmd.h
  std::string text;
};

/// The daemons on the bus. All operations throw std::runtime_error when the bus or the daemon fails them.
class Client {
 public:
  using EventHandler = std::function<void(std::string_view event, std::string_view data)>;

  Client();

  /// Sorted.
  std::vector<std::string> list();

  /// Runs a command line. A line that begins with no command of the shell itself is tried as one of the module that its
  /// first word names.
  Answer command(const std::string& daemon, const std::string& line);

  /// Calls `take` for each event of the daemon, which need not run yet; returns only by throwing.
  void watch_events(const std::string& daemon, const EventHandler& take);

 private:
  struct Closer {
    void operator()(qelipc_client* client) const;
  };

  Answer command_of(const std::string& daemon, const std::string& module, const std::string& line);

  std::unique_ptr<qelipc_client, Closer> client_;
};

}  // namespace meshctl
