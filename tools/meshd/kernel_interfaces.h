#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "qel/net/file_descriptor.h"
#include "qel/net/raw_sock.h"
#include "tools/meshd/local_interface.h"

namespace meshd {

/// What the kernel tells of an interface. Throws std::system_error when there is none of this name, and
/// std::runtime_error when it is not an Ethernet.
LocalInterface read_interface(const std::string& name);

/// A packet socket for the frames of one ethertype (host order) that an interface receives. Unlike RawSock::init it
/// leaves the interface's flags alone, which would take CAP_NET_ADMIN: every Ethernet has them. Throws
/// std::system_error.
qel::FileDescriptor open_packet_socket(const std::string& interface, unsigned short ethertype);

/// Has the interface let frames to `address` through, a device's or a group's, for as long as the socket is open.
/// Throws std::system_error.
void accept_address(const qel::RawSock& socket, const qel::MACAddress& address);

/// Reads the states of some interfaces, anew at most once a second: whoever asks often gets the same again.
class StateReader {
 public:
  explicit StateReader(std::vector<std::string> names) : names_(std::move(names)) {}

  /// In the order of the names; down and without counts for an interface that is gone.
  const std::vector<InterfaceState>& read();

 private:
  std::vector<std::string> names_;
  std::vector<InterfaceState> states_;
  std::chrono::steady_clock::time_point read_at_;
};

}  // namespace meshd
