#pragma once

#include <functional>
#include <map>
#include <set>

#include "qel/daemon/watches.h"
#include "tools/meshd/ports/link_socket.h"

namespace meshd {

/// The network interfaces of this namespace, kept up to date by what the kernel reports. A watch for the main loop.
class LinkTable final : public qel::daemon::ISimpleFDWatch {
 public:
  /// Reads all interfaces. `on_change` is called in each turn in which something changed. Throws std::system_error.
  explicit LinkTable(std::function<void()> on_change);
  ~LinkTable() override;

  /// Null if there is none; valid until the next turn. The counters are those of the last change.
  const Link* find(unsigned int index) const;
  /// By their indexes.
  const std::map<unsigned int, Link>& all() const { return links_; }

  /// Throws std::bad_alloc; tend() then reads all interfaces again.
  void on_readable() override;
  void on_writable() override {}

  /// Call this once a second: asks the kernel again if its last response could not be read.
  void tend();

 private:
  LinkSocket::Result receive(bool waits);
  void ask_if_needed();
  void take(LinkSocket::Event event, const Link& link);

  std::function<void()> on_change_;
  LinkSocket socket_;
  std::map<unsigned int, Link> links_;
  std::set<unsigned int> told_;  // reported since all were requested
  bool is_asked_ = false;        // all interfaces are requested
  bool must_ask_ = true;
};

}  // namespace meshd
