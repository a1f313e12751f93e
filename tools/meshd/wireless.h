#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "qel/core/mac_address.h"
#include "qel/daemon/mainloop.h"
#include "tools/meshd/entity/local_interface.h"
#include "tools/meshd/multi_ap/mesh.h"

namespace meshd {

/// The radios of this machine, as far as a node needs to know them. Interfaces are named by the kernel's index.
class Wireless {
 public:
  Wireless() = default;
  Wireless(const Wireless&) = delete;
  Wireless& operator=(const Wireless&) = delete;
  virtual ~Wireless() = default;

  /// Nothing if it is no interface of a radio, or not known as one yet.
  virtual std::optional<WlanInterface> find(unsigned int index) const = 0;

  /// Adds what is known of the links to the peers, and of the time on the channel, to the state of the interface.
  virtual void add_state(unsigned int index, InterfaceState& state) const = 0;

  using FindController = std::function<std::optional<qel::MACAddress>()>;
  /// The Multi-AP agent of these radios. It asks `find_controller` whom to obey. Mesh and radios are borrowed.
  virtual std::unique_ptr<multi_ap::Service> make_agent(multi_ap::Mesh& mesh, FindController find_controller) = 0;
};

/// The radios for which this program was built; null for a program without Wi-Fi (wired.cpp). `on_change` is called in
/// a turn of the loop when find() may give something new. The loop is borrowed.
std::unique_ptr<Wireless> make_wireless(qel::daemon::Mainloop& loop, std::function<void()> on_change);

}  // namespace meshd
