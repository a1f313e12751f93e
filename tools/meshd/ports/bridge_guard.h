#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

struct nft_ctx;

namespace meshd {

/// Keeps bridges from forwarding what is for the next device only between ports of ours: 1905.1 to its group address,
/// and LLDP. Other frames, those of other VLANs and those from or to other ports are left alone, and what is not
/// forwarded is still learned from.
///
/// It does so by a table of nftables, of the family bridge and a name of our own. The table is bound to us: the kernel
/// removes it when this process ends in whatever way, and nobody else's "flush ruleset" takes it away. A kernel before
/// 5.12 cannot bind it; there the next guard of the name replaces what was left.
class BridgeGuard {
 public:
  /// `daemon` is the name of ours, which others on this machine do not have. Changes nothing yet.
  explicit BridgeGuard(const std::string& daemon);
  BridgeGuard(const BridgeGuard&) = delete;
  BridgeGuard& operator=(const BridgeGuard&) = delete;
  /// Removes the table.
  ~BridgeGuard();

  /// From now on these ports, by their numbers, and no others; for fewer than two of them the table is removed. Needs
  /// CAP_NET_ADMIN. Throws std::runtime_error with what the system says.
  void keep_apart(const std::vector<unsigned int>& ports);

 private:
  struct Free {
    void operator()(nft_ctx* context) const;
  };

  /// Nothing when all of the commands were done, else none of them was: what the system says. Throws
  /// std::system_error where there is no nftables for us.
  std::optional<std::string> run(const std::string& commands);

  std::string table_;
  std::unique_ptr<nft_ctx, Free> context_;  // while there may be a table: it is bound to this
  bool has_begun_ = false;                  // what another one left is gone
};

}  // namespace meshd
