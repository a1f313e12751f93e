#pragma once

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

struct qelipc_client;

namespace meshctl {

/// The result of a command of a daemon's shell.
struct Answer {
  int result;  ///< 0 on success; otherwise see ctlcmd.h
  std::string text;
};

class AmbiguousName : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The daemons on the bus. All operations throw std::runtime_error if the bus or the daemon fails.
class Client {
 public:
  using EventHandler = std::function<void(std::string_view event, std::string_view data)>;

  Client();

  /// The names of the daemons, sorted.
  std::vector<std::string> list();

  /// The name of the only running daemon. Throws AmbiguousName if there are several.
  std::string the_only_one();

  /// Runs a command; the words are passed to the shell unchanged.
  Answer command(const std::string& daemon, const std::vector<std::string>& words);

  /// Runs a command line, which the shell splits into words.
  Answer command_line(const std::string& daemon, const std::string& line);

  /// Calls `take` for each event of the daemon, which need not be running yet. Returns only by throwing.
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
