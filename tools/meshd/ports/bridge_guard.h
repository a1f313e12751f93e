#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

struct nft_ctx;

namespace meshd {

/// Keeps bridges from forwarding between our ports what is for the next device only: 1905.1 frames to the group
/// address, and LLDP. Frames of other VLANs and frames from or to other ports pass. The bridges still learn from what
/// they do not forward.
///
/// The guard is a table of nftables in the family bridge. The table is bound to this process: the kernel removes it
/// however the process ends, and another program's "flush ruleset" does not. A kernel before 5.12 cannot bind it; there
/// the next guard of the same name replaces it.
class BridgeGuard {
 public:
  /// `daemon` is the name of this daemon, unique on this machine. Changes nothing yet.
  explicit BridgeGuard(const std::string& daemon);
  BridgeGuard(const BridgeGuard&) = delete;
  BridgeGuard& operator=(const BridgeGuard&) = delete;
  /// Removes the table.
  ~BridgeGuard();

  /// Guards the ports with these indexes and no others; for fewer than two there is no table. Needs CAP_NET_ADMIN.
  /// Throws std::runtime_error with the system's message.
  void keep_apart(const std::vector<unsigned int>& ports);

 private:
  struct Free {
    void operator()(nft_ctx* context) const;
  };

  /// Runs all of the commands or none. Returns the system's message if it refuses. Throws std::system_error if nftables
  /// is not there or not allowed.
  std::optional<std::string> run(const std::string& commands);

  std::string table_;
  std::unique_ptr<nft_ctx, Free> context_;  // while there may be a table, which is bound to it
  bool has_begun_ = false;                  // what an earlier guard left is gone
};

}  // namespace meshd
