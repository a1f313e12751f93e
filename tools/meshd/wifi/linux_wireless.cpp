// The radios of Linux for a node: what meshd-wifi has and meshd has not.

#include <chrono>
#include <ostream>
#include <string>
#include <system_error>
#include <utility>

#include "qel/daemon/log.h"
#include "qel/daemon/timer.h"
#include "tools/meshd/wifi/media.h"
#include "tools/meshd/wifi/radios.h"
#include "tools/meshd/wireless.h"

namespace meshd {

namespace {

using qel::debug::LogLevels;

/// Between two attempts to reach nl80211, which is there once a driver is loaded.
constexpr std::chrono::seconds NEXT_TRY{5};

std::ostream& log() { return qel::debug::stream("meshd"); }

class LinuxWireless final : public Wireless {
 public:
  LinuxWireless(qel::daemon::Mainloop& loop, std::function<void()> on_change)
      : loop_(loop), on_change_(std::move(on_change)) {
    start();
  }

  std::optional<WlanInterface> find(unsigned int index) const override {
    return radios_ ? wifi::wlan_interface(radios_->get_model(), index) : std::nullopt;
  }

  void add_state(unsigned int index, InterfaceState& state) const override {
    if (radios_) {
      wifi::add_link_states(radios_->get_model(), index, qel::LastChanged<float>::now(), state);
    }
  }

 private:
  void start() {
    try {
      radios_ = std::make_unique<wifi::Radios>(loop_);
    } catch (const std::system_error& error) {
      lose(error.what());
      return;
    }
    trouble_.clear();
    // In the next turn, once for all that happens in this one.
    const auto change = [this] { change_timer_.start(std::chrono::milliseconds(0), on_change_); };
    radios_->updated.connect(change);
    radios_->happened.connect([change](const wifi::Event&) { change(); });
    // In the next turn, since the owner of a signal must not be destroyed by it.
    radios_->failed.connect([this](const std::string& why) {
      trouble_ = why;
      timer_.start(std::chrono::milliseconds(0), [this] { lose(std::exchange(trouble_, {})); });
    });
  }

  void lose(const std::string& why) {
    if (std::exchange(trouble_, why) != why) {
      log() << LogLevels::LOG << "no radios: " << why << std::endl;
    }
    timer_.start(NEXT_TRY, [this] { start(); });
    if (radios_) {
      radios_.reset();
      on_change_();
    }
  }

  qel::daemon::Mainloop& loop_;
  std::function<void()> on_change_;
  std::unique_ptr<wifi::Radios> radios_;  ///< null while the kernel has no nl80211
  std::string trouble_;                   ///< that was logged last
  qel::time::Timer timer_;
  qel::time::Timer change_timer_;
};

}  // namespace

std::unique_ptr<Wireless> make_wireless(qel::daemon::Mainloop& loop, std::function<void()> on_change) {
  return std::make_unique<LinuxWireless>(loop, std::move(on_change));
}

}  // namespace meshd
