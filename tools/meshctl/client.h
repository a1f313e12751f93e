#pragma once

#include <functional>
#include <memory>
#include <stdexcept>
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

class AmbiguousName : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The daemons on the bus. All operations throw std::runtime_error when the bus or the daemon fails them.
class Client {
 public:
  using EventHandler = std::function<void(std::string_view event, std::string_view data)>;

  Client();

  /// Sorted.
  std::vector<std::string> list();

  /// The name of the daemon that runs. Throws AmbiguousName when there are several.
  std::string the_only_one();

  /// Runs a command: the words go to the shell as they are.
  Answer command(const std::string& daemon, const std::vector<std::string>& words);

  /// Runs a command line, which the shell splits into words.
  Answer command_line(const std::string& daemon, const std::string& line);

  /// Calls `take` for each event of the daemon, which need not run yet; returns only by throwing.
  void watch_events(const std::string& daemon, const EventHandler& take);

 private:
  struct Closer {
    void operator()(qelipc_client* client) const;
  };

  template <class Call>
  Answer ask(const std::string& daemon, Call call);

  std::unique_ptr<qelipc_client, Closer> client_;
};

}  // namespace meshctl
