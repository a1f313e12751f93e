#pragma once

// A message bus of the test's own.

#include <signal.h>

#include <string>

/// A dbus-daemon in a folder of its own, which QELIPC_BUS_ADDRESS names. Ends with the object.
class PrivateBus {
 public:
  /// `policies` are elements of the daemon's configuration.
  explicit PrivateBus(const std::string& policies = kAllowAll);
  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;
  ~PrivateBus();

  /// Starts the daemon, at the same address each time, and waits until it listens. False when it does not start.
  bool start();
  void stop();
  /// Has a socket of the test listen at the daemon's address instead, which nobody serves.
  int be_silent();
  /// Sends the daemon a signal.
  void signal(int number) { kill(daemon_, number); }

  static const std::string kAllowAll;

 private:
  std::string folder_;
  pid_t daemon_ = -1;
};
