#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "qel/core/mac_address.h"
#include "tools/meshd/view/names.h"
#include "tools/meshd/wifi/association.h"
#include "tools/meshd/wifi/model.h"

namespace meshd::wifi {

/// The stations that the radios of a node talk to: clients of its access points, and the access points of its own
/// stations.
struct ClientsView {
  struct Client {
    std::string interface;    ///< ours
    Role role = Role::OTHER;  ///< that of our interface
    bool has_4_addresses = false;
    std::string ssid;       ///< see ssid_of()
    qel::MACAddress bssid;  ///< of the access point, which may be the other end
    Station station;
    std::string name;         ///< that users have given it; empty if there is none
    Association association;  ///< unset where its daemon is not known
  };

  std::string name;  ///< of the daemon
  std::vector<Client> clients;
};

/// `names` are the names that users have given.
ClientsView view_clients(const std::string& name, const Model& model, const Associations& associations,
                         const Names& names);

///@{
/// Tables for people, or one object in one line; the keys are described in meshctl(1).
void print_text(std::ostream& os, const ClientsView& view);
void print_json(std::ostream& os, const ClientsView& view);
///@}

}  // namespace meshd::wifi
