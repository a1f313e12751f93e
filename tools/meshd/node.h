#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "qel/daemon/mainloop.h"
#include "qel/daemon/timer.h"
#include "qel/net/raw_sock.h"
#include "tools/meshd/debug_shell.h"
#include "tools/meshd/entity.h"
#include "tools/meshd/kernel_interfaces.h"
#include "tools/meshd/options.h"

namespace meshd {

/// The entity on real interfaces, in a main loop: its sockets, its timers, its debug shell and its events.
class Node final : private Ports {
 public:
  /// Opens everything and makes the first announcement. The loop is borrowed. Throws std::system_error and
  /// std::runtime_error.
  Node(const Options& options, qel::daemon::Mainloop& loop);
  Node(const Node&) = delete;
  Node& operator=(const Node&) = delete;
  ~Node() override;

 private:
  void send(std::size_t interface, std::span<const std::uint8_t> frame) override;
  InterfaceState read_state(std::size_t interface) override;
  void on_neighbor_found(const Neighbor& neighbor, std::size_t interface) override;
  void on_neighbor_lost(const qel::MACAddress& al_mac) override;
  void on_rejected(const Frame& frame, const std::string& reason) override;

  struct Socket {
    unsigned int index;  ///< the kernel's number of the interface that it was opened on
    std::shared_ptr<qel::RawSock> watch;
  };

  Socket open_socket(std::size_t interface);
  /// An interface that was removed and made anew has another number, and the old socket is deaf. To open a socket and
  /// to close one takes the kernel some ten milliseconds each: one of both a call, so that no turn gets long.
  void renew_socket();
  void announce_and_repeat();
  void tend_and_repeat();

  qel::daemon::Mainloop& loop_;
  const std::chrono::seconds interval_;
  StateReader states_;
  Entity entity_;
  DebugShell shell_;
  std::vector<Socket> sockets_;             // one for each interface, in their order
  std::shared_ptr<qel::RawSock> replaced_;  // still to be closed
  std::chrono::steady_clock::time_point rejection_logged_at_;
  qel::time::Timer announce_timer_;
  qel::time::Timer tend_timer_;
};

}  // namespace meshd
