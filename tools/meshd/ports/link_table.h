#pragma once

#include <functional>
#include <map>
#include <set>

#include "qel/daemon/watches.h"
#include "tools/meshd/ports/link_socket.h"

namespace meshd {

/// The network interfaces of this namespace, kept as they are by what the kernel tells of them: a watch for the main
/// loop.
class LinkTable final : public qel::daemon::ISimpleFDWatch {
 public:
  /// Reads them all. `on_change` is called in each turn that has changed something. Throws std::system_error.
  explicit LinkTable(std::function<void()> on_change);
  ~LinkTable() override;

  /// Null when there is none; valid until the next turn. Its counts are those of its last change.
  const Link* find(unsigned int index) const;
  /// By their numbers.
  const std::map<unsigned int, Link>& all() const { return links_; }

  /// Throws std::system_error when the kernel refuses to tell.
  void on_readable() override;
  void on_writable() override {}

  /// Call this once a second: asks again if the last answer could not be read.
  void tend();

 private:
  LinkSocket::Result receive(bool waits);
  void ask_if_needed();
  void take(LinkSocket::Event event, const Link& link);

  std::function<void()> on_change_;
  LinkSocket socket_;
  std::map<unsigned int, Link> links_;
  std::set<unsigned int> told_;  // since all were asked for
  bool is_asked_ = false;        // for all
  bool must_ask_ = true;
};

}  // namespace meshd
