#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "qel/daemon/mainloop.h"
#include "qel/daemon/timer.h"
#include "qel/net/raw_sock.h"
#include "tools/meshd/debug_shell.h"
#include "tools/meshd/entity/entity.h"
#include "tools/meshd/options.h"
#include "tools/meshd/ports/link_table.h"
#include "tools/meshd/ports/state_reader.h"
#include "tools/meshd/trouble_log.h"

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
  std::vector<qel::MACAddress> read_hosts(std::size_t interface) override;
  void on_neighbor_found(const Neighbor& neighbor, std::size_t interface) override;
  void on_neighbor_lost(const qel::MACAddress& al_mac) override;
  void on_device_found(const qel::MACAddress& al_mac) override;
  void on_device_lost(const qel::MACAddress& al_mac) override;
  void on_rejected(const Frame& frame, const std::string& reason) override;

  /// One of our interfaces. It is found by its name at the start, and again when it is gone; in between it is followed
  /// by its number, whatever its name becomes.
  struct Port {
    std::string name;                      ///< as we were given it
    std::shared_ptr<qel::RawSock> socket;  ///< null while there is no such interface
    unsigned int index = 0;                ///< the kernel's number of it, 0 when there is none
    unsigned int refused = 0;              ///< the number of one of the name that is no Ethernet
    bool is_up = false;                    ///< it has a carrier
    std::uint64_t dropped = 0;             ///< frames that could not be sent
  };

  bool is_ours(const Link& link) const;
  /// Throws std::system_error.
  void open(std::size_t interface, const Link& link);
  void close(std::size_t interface);
  /// Takes up an interface of the name when ours is gone. False when there is none. Throws what open() throws.
  bool reopen(std::size_t interface);
  /// Brings what we know of an interface in line with what the kernel tells.
  void update(std::size_t interface, const Link& link);
  /// Brings all in line. To open a socket and to close one takes the kernel some ten milliseconds each: one of both a
  /// call, and the next in another turn, so that none gets long.
  void follow_links();
  void announce_and_repeat();
  void tend_and_repeat();

  qel::daemon::Mainloop& loop_;
  const std::chrono::seconds interval_;
  const std::shared_ptr<LinkTable> links_;
  StateReader states_;
  Entity entity_;
  DebugShell shell_;
  std::vector<Port> ports_;  // in the order of the entity's interfaces
  TroubleLog troubles_;
  std::uint64_t lost_frames_ = 0;  // received without memory to handle them, since the last turn of tending
  OnceASecond rejections_;
  qel::time::Timer announce_timer_;
  qel::time::Timer tend_timer_;
  qel::time::Timer follow_timer_;
};

}  // namespace meshd
