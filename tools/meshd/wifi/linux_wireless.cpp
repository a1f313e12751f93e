// The radios of Linux: what meshd-wifi has beyond meshd.

#include <chrono>
#include <ostream>
#include <string>
#include <utility>

#include "qel/daemon/log.h"
#include "qel/daemon/timer.h"
#include "tools/meshd/agent/agent.h"
#include "tools/meshd/wifi/control_sockets.h"
#include "tools/meshd/wifi/linux_air.h"
#include "tools/meshd/wifi/media.h"
#include "tools/meshd/wifi/radios.h"
#include "tools/meshd/wifi/standards.h"
#include "tools/meshd/wifi/wifi_shell.h"
#include "tools/meshd/wireless.h"

namespace meshd {

namespace {

class LinuxWireless final : public Wireless {
 public:
  LinuxWireless(qel::daemon::Mainloop& loop, std::function<void()> on_change)
      : on_change_(std::move(on_change)),
        radios_(loop),
        sockets_(loop, radios_),
        air_(radios_, sockets_),
        standards_(sockets_, [this] { change_soon(); }),
        shell_(radios_.get_model(), sockets_.get_associations(), loop) {
    radios_.updated.connect([this] {
      standards_.refresh(radios_.get_model());
      change_soon();
    });
    radios_.happened.connect([this](const wifi::Event&) { change_soon(); });
    radios_.failed.connect([](const std::string& why) {
      qel::debug::stream("meshd") << qel::debug::LogLevels::LOG << "no radios: " << why << std::endl;
    });
  }

  std::optional<WlanInterface> find(unsigned int index) const override {
    return wifi::wlan_interface(radios_.get_model(), standards_.get(), index);
  }

  void add_state(unsigned int index, InterfaceState& state) const override {
    wifi::add_link_states(radios_.get_model(), index, state);
  }

  std::unique_ptr<multi_ap::Service> make_agent(multi_ap::Mesh& mesh, FindController find_controller) override {
    return std::make_unique<agent::Agent>(mesh, air_, agent::Config{std::move(find_controller)});
  }

 private:
  /// In the next turn, once for all that happens in this one.
  void change_soon() {
    if (!timer_.is_running()) {
      timer_.start(std::chrono::milliseconds(0), on_change_);
    }
  }

  std::function<void()> on_change_;
  qel::time::Timer timer_;
  wifi::Radios radios_;
  wifi::ControlSockets sockets_;
  wifi::LinuxAir air_;
  wifi::Standards standards_;
  wifi::WifiShell shell_;
};

}  // namespace

std::unique_ptr<Wireless> make_wireless(qel::daemon::Mainloop& loop, std::function<void()> on_change) {
  return std::make_unique<LinuxWireless>(loop, std::move(on_change));
}

}  // namespace meshd
