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

namespace meshd {

/// The Ethernet of this name. Throws std::system_error and std::runtime_error when there is none.
const Link& get_link(const LinkTable& links, const std::string& name);

/// The interfaces that the entity works on, as the kernel has them: opened, followed and closed. A bridge that we were
/// given stands for its ports.
class LocalPorts {
 public:
  /// All are borrowed.
  LocalPorts(const LinkTable& links, Entity& entity, qel::daemon::Mainloop& loop, TroubleLog& troubles);
  LocalPorts(const LocalPorts&) = delete;
  LocalPorts& operator=(const LocalPorts&) = delete;
  ~LocalPorts();

  /// To be called once. The entity announces us on each that it gets. Throws std::system_error and std::runtime_error.
  void open_all(const std::vector<std::string>& names);

  /// Something has changed in the table of links. To open a socket and to close one takes the kernel some ten
  /// milliseconds each: one of both a call, and the next in another turn, so that none gets long.
  void follow();

  /// These take the entity's number of an interface.
  void send(std::size_t interface, std::span<const std::uint8_t> frame);
  InterfaceState read_state(std::size_t interface);
  std::vector<qel::MACAddress> read_hosts(std::size_t interface);

  /// Frames that were received without memory to handle them, since this was called last.
  std::uint64_t take_lost_frames();

  /// How often the system refused to set up a bridge for us.
  std::uint64_t refused() const { return bridges_.refused(); }

 private:
  /// What we were given. It is found by its name at the start, and again when it is gone; in between it is followed by
  /// its number, whatever its name becomes.
  struct Given {
    std::string name;
    unsigned int index = 0;  ///< the kernel's number of it, 0 while there is none
    bool is_bridge = false;
    unsigned int refused = 0;  ///< the number of one of the name that is no Ethernet
  };

  struct Port {
    Given* given = nullptr;                ///< that or whose port it is; null for a number of the entity that is free
    std::shared_ptr<qel::RawSock> socket;  ///< null while there is no such interface
    unsigned int index = 0;                ///< the kernel's number of it, 0 when there is none
    bool is_up = false;                    ///< it has a carrier
    std::uint64_t dropped = 0;             ///< frames that could not be sent
  };

  Given* given_as(unsigned int index);
  Port* port_on(unsigned int index);
  /// Which of what we were given has this link as a port now; null when none.
  Given* owner_of(const Link& link);
  /// Looks for one by its name.
  void find(Given& given);
  /// Throws std::system_error, and std::invalid_argument when the entity has enough.
  void open(Given& given, const Link& link);
  std::shared_ptr<qel::RawSock> open_socket(std::size_t interface, const Link& link);
  void close(std::size_t interface);
  /// Closes one that is gone, or has left its bridge. False when there is none.
  bool close_one();
  bool open_one();
  /// Brings what the entity knows of an interface in line with what the kernel tells.
  void update(std::size_t interface, const Link& link);
  /// Brings the bridges in line, for all that are to be our ports.
  void prepare_bridges();
  const std::string& name_of(std::size_t interface) const { return entity_.config().interfaces[interface].name; }

  const LinkTable& links_;
  Entity& entity_;
  qel::daemon::Mainloop& loop_;
  TroubleLog& troubles_;
  StateReader states_;
  ForwardingTable forwarding_;
  Bridges bridges_;
  std::vector<Given> given_;  // the ports point to its elements
  std::vector<Port> ports_;   // by the entity's numbers of interfaces
  std::uint64_t lost_frames_ = 0;
  qel::time::Timer follow_timer_;
};

}  // namespace meshd
