#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "qel/daemon/connection.h"
#include "qel/daemon/mainloop.h"
#include "tools/meshd/wifi/association.h"
#include "tools/meshd/wifi/control.h"
#include "tools/meshd/wifi/radios.h"

namespace meshd::wifi {

/// Keeps a Control for each access point and each station interface of the radios, and asks their daemons what the
/// kernel does not report.
class ControlSockets {
 public:
  struct Directories {
    std::string hostapd = "/run/hostapd";
    std::string wpa_supplicant = "/run/wpa_supplicant";
    std::string own = default_own_directory();  ///< see Control
  };

  /// Both are borrowed and must outlive it.
  ControlSockets(qel::daemon::Mainloop& loop, Radios& radios) : ControlSockets(loop, radios, Directories()) {}
  ControlSockets(qel::daemon::Mainloop& loop, Radios& radios, Directories directories);

  /// By the address of the client or access point. Only of those that the radios still have.
  const Associations& get_associations() const { return associations_; }

  /// That of the interface with this number; null if it is neither an access point nor a station.
  Control* find(std::uint32_t interface);

  /// The first one that the service manager has made for us (RuntimeDirectory=), or /tmp.
  static std::string default_own_directory();

 private:
  struct Socket {
    std::string name;  ///< of the interface
    bool is_station = false;
    std::unique_ptr<Control> control;
  };

  void follow();
  void add(const Interface& interface);
  /// Asks about those that the interface has and we know nothing of.
  void ask(std::uint32_t interface);
  void ask_client(std::uint32_t access_point, const qel::MACAddress& client);
  void ask_status(std::uint32_t station);
  void take_event(std::uint32_t interface, const std::string& event);

  qel::daemon::Mainloop& loop_;
  Radios& radios_;
  Directories directories_;
  std::map<std::uint32_t, Socket> sockets_;  ///< by the number of the interface
  Associations associations_;
  qel::signals::ScopedConnection updated_;
};

}  // namespace meshd::wifi
