#pragma once

#include <memory>
#include <optional>
#include <set>
#include <string>

#include "qel/core/mac_address.h"

struct nft_ctx;

namespace meshd {

/// What bridges are kept from.
struct Guarding {
  std::set<unsigned int> ports{};                ///< between these, by index, they forward no discovery
  std::optional<qel::MACAddress> controller{};   ///< its 1905.1 frames do not pass ...
  std::set<unsigned int> ports_to_controller{};  ///< ... unless they came in on one of these

  bool is_needed() const { return ports.size() > 1 || controller; }
  friend bool operator==(const Guarding&, const Guarding&) = default;
};

/// Keeps bridges from forwarding frames that are meant for the next device only between our ports: 1905.1 frames to
/// the group address, and LLDP. Frames with a VLAN tag and frames from or to other ports pass. The bridges still learn
/// from the frames that they do not forward.
///
/// It also keeps the frames of others that pretend to be the controller from passing through the bridges to other
/// agents, which cannot see on which port they came.
///
/// The guard is an nftables table of the family bridge. The table is bound to this process: the kernel removes it
/// however the process ends, and another program's "flush ruleset" leaves it alone. Kernels before 5.12 cannot bind a
/// table; there, the next guard of the same name replaces it.
class BridgeGuard {
 public:
  /// `daemon` is the name of this daemon, unique on this machine. Changes nothing yet.
  explicit BridgeGuard(const std::string& daemon);
  BridgeGuard(const BridgeGuard&) = delete;
  BridgeGuard& operator=(const BridgeGuard&) = delete;
  /// Removes the table.
  ~BridgeGuard();

  /// Guards exactly this. If nothing needs to be guarded, there is no table. Needs CAP_NET_ADMIN. Throws
  /// std::runtime_error with the system's message.
  void guard(const Guarding& guarding);

 private:
  struct Free {
    void operator()(nft_ctx* context) const;
  };

  /// Runs all of the commands or none. Returns the system's message if it refuses. Throws std::system_error if nftables
  /// is missing or not permitted.
  std::optional<std::string> run(const std::string& commands);

  std::string table_;
  std::unique_ptr<nft_ctx, Free> context_;  // while there may be a table, which is bound to it
  bool has_begun_ = false;                  // the remains of an earlier guard are removed
};

}  // namespace meshd
