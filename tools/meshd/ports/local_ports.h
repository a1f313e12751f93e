#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "qel/core/mac_address.h"
#include "qel/daemon/mainloop.h"
#include "qel/daemon/timer.h"
#include "qel/net/raw_sock.h"
#include "tools/meshd/entity/entity.h"
#include "tools/meshd/ports/bridges.h"
#include "tools/meshd/ports/forwarding_table.h"
#include "tools/meshd/ports/link_table.h"
#include "tools/meshd/ports/state_reader.h"
#include "tools/meshd/trouble_log.h"
#include "tools/meshd/wireless.h"

namespace meshd {

/// Whether it stands for all interfaces whose names match (glob(7)), rather than for one interface.
bool is_pattern(const std::string& name);

/// The Ethernet interface of this name, or the first that matches this pattern. Null if none matches. Throws
/// std::system_error or std::runtime_error if there is none of this name.
const Link* find_link(const LinkTable& links, const std::string& name);

/// Opens, follows and closes the interfaces that the entity works on. A bridge that the user names, or that matches a
/// pattern, stands for its ports.
class LocalPorts {
 public:
  /// Everything is borrowed; without radios, they are null. `backhaul` has the names and patterns of the interfaces,
  /// and of the bridges of interfaces, on which orders are accepted.
  LocalPorts(const LinkTable& links, const Wireless* radios, const std::vector<std::string>& backhaul, Entity& entity,
             qel::daemon::Mainloop& loop, TroubleLog& troubles);
  LocalPorts(const LocalPorts&) = delete;
  LocalPorts& operator=(const LocalPorts&) = delete;
  ~LocalPorts();

  /// Opens all interfaces; call this once. The entity announces us on each of them. Throws std::system_error and
  /// std::runtime_error.
  void open_all(const std::vector<std::string>& names);

  /// Call this when the table of links has changed. The kernel needs about ten milliseconds to open or close a socket,
  /// so each call opens or closes at most one and leaves the next to another turn of the loop.
  void follow();

  /// Call this when something changed on the radios.
  void follow_radios();

  /// Bridges let 1905.1 frames from this address in only on interfaces that are marked as backhaul, and frames from our
  /// own address on none.
  void protect(const std::optional<qel::MACAddress>& controller);

  /// Call this once a second: repeats follow() if it ran out of memory, and changes of bridges that the system refused.
  void tend();

  /// These functions take the entity's index of an interface.
  void send(std::size_t interface, std::span<const std::uint8_t> frame);
  InterfaceState read_state(std::size_t interface);
  std::vector<qel::MACAddress> read_hosts(std::size_t interface);

  /// The number of frames lost for lack of memory since the last call.
  std::uint64_t take_lost_frames();

  /// How many times the system refused to change a bridge.
  std::uint64_t refused() const { return bridges_.refused(); }

 private:
  /// What the user named. An interface is found by its name at the start, and again after it is gone; in between it is
  /// followed by its index, even if it is renamed. A pattern has no index.
  struct Given {
    std::string name;
    unsigned int index = 0;  ///< the kernel's, 0 while there is none
    bool is_bridge = false;
    bool is_pattern = false;
    unsigned int refused = 0;  ///< the index of an interface of this name that is not Ethernet

    /// It stands for interfaces that come and go, not for one that keeps its number.
    bool is_group() const { return is_bridge || is_pattern; }
  };

  struct Port {
    Given* given = nullptr;                ///< what the user named it by; null for a free index of the entity
    std::shared_ptr<qel::RawSock> socket;  ///< null while there is no such interface
    unsigned int index = 0;                ///< the kernel's, 0 if there is none
    bool is_up = false;                    ///< it has a carrier
    std::uint64_t dropped = 0;             ///< frames that could not be sent
  };

  Given* given_as(unsigned int index);
  Given* given_for(const std::string& name);
  Port* port_on(unsigned int index);
  /// What the user named this link by, as itself or as a port, if it is to be our port at present; null if it is not.
  Given* owner_of(const Link& link);
  /// Looks for an interface of this name.
  void find(Given& given);
  /// Throws std::system_error, or std::invalid_argument if the entity has too many interfaces.
  void open(Given& given, const Link& link);
  std::shared_ptr<qel::RawSock> open_socket(std::size_t interface, const Link& link);
  void close(std::size_t interface);
  /// Closes a port that is gone or no longer ours. Returns false if there is none.
  bool close_one();
  /// Opens an interface that should be our port. Returns false if none can be opened.
  bool open_one();
  bool is_backhaul(const Link& link) const;
  LocalInterface describe(const Link& link) const;
  /// Updates what the entity knows of an interface from what the kernel reports.
  void update(std::size_t interface, const Link& link);
  /// Changes the bridges of all interfaces that should be our ports.
  void prepare_bridges();
  const std::string& name_of(std::size_t interface) const { return entity_.config().interfaces[interface].name; }

  const LinkTable& links_;
  const Wireless* const radios_;
  const std::vector<std::string>& backhaul_;
  Entity& entity_;
  qel::daemon::Mainloop& loop_;
  TroubleLog& troubles_;
  StateReader states_;
  ForwardingTable forwarding_;
  Bridges bridges_;
  std::vector<Given> given_;  // the ports point to its elements
  std::vector<Port> ports_;   // by the entity's indexes of interfaces
  std::optional<qel::MACAddress> controller_;
  std::uint64_t lost_frames_ = 0;
  bool is_following_ = false;  // still set if the last follow() did not complete
  qel::time::Timer follow_timer_;
};

}  // namespace meshd
