#pragma once

// A private message bus for a test.

#include <signal.h>

#include <string>

/// A dbus-daemon in a folder of its own, whose address is in QELIPC_BUS_ADDRESS. Stops with the object.
class PrivateBus {
 public:
  /// `policies` are elements of the daemon's configuration.
  explicit PrivateBus(const std::string& policies = ALLOW_ALL);
  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;
  ~PrivateBus();

  /// Starts the daemon, at the same address each time, and waits until it listens. Returns false if it does not start.
  bool start();
  void stop();
  /// Instead of the daemon, makes a socket of the test listen at its address and never answer.
  int be_silent();
  /// Sends the daemon a signal.
  void signal(int number) { kill(daemon_, number); }

  static const std::string ALLOW_ALL;

 private:
  std::string folder_;
  pid_t daemon_ = -1;
};
