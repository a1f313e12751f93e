#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "qel/daemon/mainloop.h"
#include "qel/daemon/timer.h"
#include "tools/meshd/debug_shell.h"
#include "tools/meshd/entity/entity.h"
#include "tools/meshd/options.h"
#include "tools/meshd/ports/link_table.h"
#include "tools/meshd/ports/local_ports.h"
#include "tools/meshd/roles.h"
#include "tools/meshd/trouble_log.h"
#include "tools/meshd/wireless.h"

namespace meshd {

/// Runs the entity on real interfaces in a main loop, with its sockets, timers, debug shell and events.
class Node final : private Ports {
 public:
  /// Opens everything and makes the first announcement. Options and loop are borrowed. Throws std::system_error and
  /// std::runtime_error.
  Node(const Options& options, qel::daemon::Mainloop& loop);
  Node(const Node&) = delete;
  Node& operator=(const Node&) = delete;
  ~Node() override;

  /// A turn of the loop has ended early for lack of memory.
  void on_turn_lost() { ++lost_turns_; }

 private:
  void send(std::size_t interface, std::span<const std::uint8_t> frame) override;
  InterfaceState read_state(std::size_t interface) override;
  std::vector<qel::MACAddress> read_hosts(std::size_t interface) override;
  void on_neighbor_found(const Neighbor& neighbor, std::size_t interface) override;
  void on_neighbor_lost(const qel::MACAddress& al_mac) override;
  void on_device_found(const qel::MACAddress& al_mac) override;
  void on_device_lost(const qel::MACAddress& al_mac) override;
  void on_delivery_due() override;
  void on_rejected(const Frame& frame, const std::string& reason) override;

  void tend();

  qel::daemon::Mainloop& loop_;
  const std::chrono::seconds interval_;
  const std::shared_ptr<LinkTable> links_;
  TroubleLog troubles_;
  const std::unique_ptr<Wireless> wireless_;  // null in a meshd without Wi-Fi
  Entity entity_;
  LocalPorts ports_;
  Roles roles_;
  DebugShell shell_;
  OnceASecond rejections_;
  std::uint64_t lost_turns_ = 0;  // since they were last logged
  qel::time::Timer announce_timer_;
  qel::time::Timer tend_timer_;
  qel::time::Timer delivery_timer_;
};

}  // namespace meshd
