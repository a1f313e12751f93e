#include "tools/meshd/roles.h"

#include <algorithm>
#include <chrono>
#include <ostream>
#include <stdexcept>

#include "qel/daemon/log.h"

namespace meshd {

namespace {

using multi_ap::Notice;
using multi_ap::Service;
using qel::debug::LogLevels;

std::ostream& log() { return qel::debug::stream("meshd"); }

/// Throws std::system_error, and std::runtime_error for a file that is no policy.
controller::Config configure(const Options& options) {
  controller::Config config{.policy_file = options.policy};
  try {
    if (!options.policy.empty()) {
      config.policy = controller::read_policy(options.policy);
    }
  } catch (const controller::PolicyError& error) {
    throw std::runtime_error(options.policy + ": " + error.what());
  }
  return config;
}

bool is_backhaul(const LocalInterface& interface) { return interface.is_there() && interface.is_backhaul; }

}  // namespace

Roles::Roles(const Options& options, Wireless* radios, Entity& entity, qel::daemon::Mainloop& loop)
    : entity_(entity), loop_(loop) {
  if (options.is_controller) {
    controller_ = std::make_unique<controller::Controller>(entity.mesh(), configure(options));
    presence_ = std::make_unique<multi_ap::ControllerPresence>(entity.mesh());
    run(*controller_);
    run(*presence_);
    shell_ = std::make_unique<controller::ControllerShell>(*controller_, loop);
  }
  if (options.is_agent) {
    if (radios == nullptr) {
      throw std::runtime_error("--agent needs radios, which only meshd-wifi has");
    }
    finder_ = std::make_unique<multi_ap::ControllerFinder>(entity.mesh());
    agent_ = radios->make_agent(entity.mesh(), [this] { return finder_->controller(); });
    run(*finder_);
    run(*agent_);
    if (options.backhaul.empty()) {
      log() << LogLevels::LOG << "the agent obeys no other device, since --backhaul marks no interface" << std::endl;
    }
  }
}

std::optional<qel::MACAddress> Roles::to_protect() const {
  if (finder_ != nullptr && finder_->can_order()) {
    return finder_->controller();
  }
  return controller_ == nullptr ? std::nullopt : std::optional(entity_.config().al_mac);
}

void Roles::print(std::ostream& os, multi_ap::TimePoint now) const {
  if (controller_ != nullptr) {
    os << "controller\n";
  }
  if (finder_ == nullptr) {
    os << (controller_ == nullptr ? "neither agent nor controller\n" : "");
    return;
  }
  os << "agent ";
  if (finder_->controller() == entity_.config().al_mac) {
    os << "of the controller on this device\n";
  } else if (finder_->controller()) {
    os << "of controller " << *finder_->controller()
       << (finder_->can_order() ? "\n" : ", which is not on an interface where it may give orders\n");
  } else {
    os << "that searches for a controller\n";
  }
  for (const auto& [al_mac, heard_at] : finder_->others().all()) {
    os << "another controller " << al_mac << ", last heard "
       << std::chrono::duration_cast<std::chrono::seconds>(now - heard_at).count() << " s ago\n";
  }
  os << "orders are accepted on";
  for (const LocalInterface& interface : entity_.config().interfaces) {
    if (is_backhaul(interface)) {
      os << ' ' << interface.name;
    }
  }
  os << (std::ranges::none_of(entity_.config().interfaces, is_backhaul) ? " no interface\n" : "\n");
}

void Roles::run(Service& service) {
  service.noticed.connect([this](const Notice& notice) { tell(notice); });
  entity_.add_service(service);
}

void Roles::tell(const Notice& notice) const {
  if (!notice.line.empty()) {
    log() << LogLevels::LOG << notice.line << std::endl;
  }
  if (!notice.event.empty()) {
    loop_.send_qelipc_event(notice.event.c_str(), notice.data.data(), static_cast<unsigned int>(notice.data.size()));
  }
}

}  // namespace meshd
