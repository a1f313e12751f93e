#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <utility>

#include "qel/core/mac_address.h"
#include "tools/meshd/agent/desk.h"

namespace meshd::agent {

/// The clients that BSSs deny, each until its time is over.
class Blocks {
 public:
  static constexpr std::size_t MOST = 1024;

  /// The desk is borrowed.
  explicit Blocks(Desk& desk) : desk_(desk) {}
  Blocks(const Blocks&) = delete;
  Blocks& operator=(const Blocks&) = delete;
  /// Ends all of them.
  ~Blocks();

  /// Of a client that is blocked already, changes the time. Returns false if there are too many.
  bool block(const qel::MACAddress& bssid, const qel::MACAddress& client, TimePoint until);
  void unblock(const qel::MACAddress& bssid, const qel::MACAddress& client);
  /// Ends those whose time is over. One that cannot be ended is tried again.
  void tend(TimePoint now);

  std::size_t count() const { return blocks_.size(); }

 private:
  static constexpr std::chrono::seconds PAUSE{5};  ///< before an attempt to end is repeated
  static constexpr int ATTEMPTS = 60;

  using Key = std::pair<qel::MACAddress, qel::MACAddress>;  // BSSID and client
  struct Block {
    TimePoint until;
    int attempts = 0;  ///< to end it
  };

  void end(const Key& key, Block& block);

  Desk& desk_;
  std::map<Key, Block> blocks_;
};

}  // namespace meshd::agent
