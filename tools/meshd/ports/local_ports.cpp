#include "tools/meshd/ports/local_ports.h"

#include <fnmatch.h>
#include <net/if.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <exception>
#include <new>
#include <ostream>
#include <stdexcept>
#include <system_error>
#include <tuple>
#include <utility>

#include "qel/daemon/log.h"
#include "qel/ieee1905_1/cmdu.h"
#include "tools/meshd/entity/lldp.h"

namespace meshd {

namespace {

using qel::MACAddress;
using qel::debug::LogLevels;
using qel::ieee1905_1::CMDU_ETHERTYPE;
using qel::ieee1905_1::CMDU_MULTICAST_ADDRESS;
using Clock = std::chrono::steady_clock;

/// The time to the next step: another turn, or another attempt.
constexpr std::chrono::milliseconds NEXT_TURN{1};
constexpr std::chrono::seconds NEXT_TRY{1};

std::ostream& log() { return qel::debug::stream("meshd"); }

bool matches(const std::string& pattern, const std::string& name) {
  return fnmatch(pattern.c_str(), name.c_str(), 0) == 0;
}

}  // namespace

bool is_pattern(const std::string& name) { return name.find_first_of("*?[") != std::string::npos; }

const Link* find_link(const LinkTable& links, const std::string& name) {
  if (is_pattern(name)) {
    const auto place = std::find_if(links.all().begin(), links.all().end(), [&](const auto& entry) {
      return entry.second.mac && matches(name, entry.second.name);
    });
    return place == links.all().end() ? nullptr : &place->second;
  }
  const Link* link = links.find(if_nametoindex(name.c_str()));
  if (link == nullptr) {
    throw std::system_error(ENODEV, std::generic_category(), "interface " + name);
  }
  if (!link->mac) {
    throw std::runtime_error("interface " + name + ": not an Ethernet interface");
  }
  return link;
}

LocalPorts::LocalPorts(const LinkTable& links, const Wireless* radios, const std::vector<std::string>& backhaul,
                       Entity& entity, qel::daemon::Mainloop& loop, TroubleLog& troubles)
    : links_(links),
      radios_(radios),
      backhaul_(backhaul),
      entity_(entity),
      loop_(loop),
      troubles_(troubles),
      bridges_(loop.get_name(), entity.config().al_mac) {}

LocalPorts::~LocalPorts() {
  for (const Port& port : ports_) {
    loop_.remove_watch(port.socket);
  }
}

void LocalPorts::open_all(const std::vector<std::string>& names) {
  for (const std::string& name : names) {
    if (is_pattern(name)) {
      given_.push_back({.name = name, .is_pattern = true});
      continue;
    }
    const Link& link = *find_link(links_, name);
    if (given_as(link.index) != nullptr) {
      throw std::runtime_error("interface " + name + ": already given under another name");
    }
    given_.push_back({.name = name, .index = link.index, .is_bridge = link.is_bridge});
  }
  prepare_bridges();
  for (Given& given : given_) {
    for (const auto& [index, link] : links_.all()) {
      try {
        if (owner_of(link) == &given) {
          open(given, link);
        }
      } catch (const std::system_error& error) {
        throw std::system_error(error.code(), "interface " + link.name);
      }
    }
  }
}

LocalPorts::Given* LocalPorts::given_as(unsigned int index) {
  const auto place = std::ranges::find(given_, index, &Given::index);
  return index == 0 || place == given_.end() ? nullptr : &*place;
}

LocalPorts::Given* LocalPorts::given_for(const std::string& name) {
  const auto place =
      std::ranges::find_if(given_, [&](const Given& given) { return given.is_pattern && matches(given.name, name); });
  return place == given_.end() ? nullptr : &*place;
}

LocalPorts::Port* LocalPorts::port_on(unsigned int index) {
  const auto place = std::ranges::find(ports_, index, &Port::index);
  return index == 0 || place == ports_.end() ? nullptr : &*place;
}

LocalPorts::Given* LocalPorts::owner_of(const Link& link) {
  Given* given = given_as(link.index);
  if (given != nullptr) {
    return given->is_bridge ? nullptr : given;
  }
  if (!link.mac || link.is_bridge) {
    return nullptr;
  }
  given = given_as(link.bridge);
  given = given == nullptr ? given_for(link.name) : given;
  const Link* bridge = links_.find(link.bridge);
  return given == nullptr && bridge != nullptr ? given_for(bridge->name) : given;
}

void LocalPorts::find(Given& given) {
  const Link* link = links_.find(if_nametoindex(given.name.c_str()));
  if (link == nullptr || given_as(link->index) != nullptr || link->index == given.refused) {
    return;
  }
  if (!link->mac) {
    given.refused = link->index;
    troubles_.note("cannot use " + given.name + ": not an Ethernet interface", Clock::now());
    return;
  }
  given.index = link->index;
  given.is_bridge = link->is_bridge;
  log() << LogLevels::LOG << given.name << " was recreated" << std::endl;
  const auto kept = std::ranges::find(ports_, &given, &Port::given);
  if (given.is_bridge && kept != ports_.end()) {  // it was not a bridge before
    *kept = {};
    entity_.remove_interface(static_cast<std::size_t>(kept - ports_.begin()));
  }
}

void LocalPorts::open(Given& given, const Link& link) {
  // A named interface keeps its index for its successor of the same name; others take the lowest free index, as the
  // entity does.
  auto place = std::ranges::find_if(
      ports_, [&](const Port& port) { return !given.is_group() && port.given == &given && port.socket == nullptr; });
  const bool is_known = place != ports_.end();
  if (!is_known) {
    place = std::ranges::find(ports_, nullptr, &Port::given);
  }
  const auto interface = static_cast<std::size_t>(place - ports_.begin());
  ports_.resize(std::max(ports_.size(), interface + 1));
  auto socket = open_socket(interface, link);
  loop_.add_watch(socket);
  Port& port = ports_[interface];
  const Port before = std::exchange(port, {&given, socket, link.index, link.state.up, port.dropped});
  try {
    if (is_known) {
      entity_.replace_interface(interface, describe(link));
    } else {
      entity_.add_interface(describe(link));
    }
  } catch (...) {
    port = before;
    loop_.remove_watch(socket);
    throw;
  }
}

std::shared_ptr<qel::RawSock> LocalPorts::open_socket(std::size_t interface, const Link& link) {
  const auto take = [this, interface](const unsigned char* octets, unsigned int length) {
    if (length > qel::RawSock::MAX_FRAME_SIZE) {
      return;  // reading failed, as it does when the interface goes down
    }
    try {
      entity_.receive(interface, {octets, length}, Clock::now());
    } catch (const std::bad_alloc&) {
      // A message on the bus may have used up the limit on our data. The frame is lost, as on a busy link.
      ++lost_frames_;
    }
  };
  constexpr unsigned short ETHERTYPES[] = {CMDU_ETHERTYPE, LLDP_ETHERTYPE};
  const MACAddress& al_mac = entity_.config().al_mac;
  auto socket = std::make_shared<qel::RawSock>(qel::RawSock::open_untagged(link.index, ETHERTYPES, al_mac), link.name,
                                               take, qel::RawSock::WritableCallback());
  socket->set_nonblocking();
  for (const MACAddress& address : {CMDU_MULTICAST_ADDRESS, LLDP_MULTICAST_ADDRESS, al_mac}) {
    if (const std::error_code error = socket->accept_address(address)) {
      throw std::system_error(error);
    }
  }
  return socket;
}

void LocalPorts::close(std::size_t interface) {
  Port& port = ports_[interface];
  if (port.given->is_group()) {
    entity_.remove_interface(interface);
    loop_.remove_watch(port.socket);
    port = {};
  } else {
    entity_.disconnect(interface);
    loop_.remove_watch(port.socket);
    port.given->index = 0;
    port = {port.given, nullptr, 0, false, port.dropped};
  }
}

bool LocalPorts::close_one() {
  for (std::size_t interface = 0; interface < ports_.size(); ++interface) {
    const Port& port = ports_[interface];
    if (port.socket == nullptr) {
      continue;
    }
    // Ask the socket whether its interface is gone, because a recreated one may have the same index.
    const bool is_gone = port.socket->get_interface() == 0;
    const Link* link = links_.find(port.index);
    if (is_gone || (link != nullptr && owner_of(*link) != port.given)) {
      const std::string left =
          port.given->is_pattern ? " no longer matches " + port.given->name : " has left the bridge";
      log() << LogLevels::LOG << name_of(interface) << (is_gone ? " is gone" : left) << std::endl;
      close(interface);
      return true;
    }
  }
  return false;
}

bool LocalPorts::open_one() {
  for (const auto& [index, link] : links_.all()) {
    Given* given = owner_of(link);
    if (given == nullptr || port_on(index) != nullptr) {
      continue;
    }
    try {
      open(*given, link);
      if (given->is_group()) {
        log() << LogLevels::LOG << link.name << (given->is_bridge ? " has joined bridge " : " matches ")
              << (given->is_bridge ? describe(link).bridge : given->name) << std::endl;
      }
      return true;
    } catch (const std::exception& error) {
      troubles_.note("cannot use " + link.name + ": " + error.what(), Clock::now());
      follow_timer_.start(NEXT_TRY, [this] { follow(); });
    }
  }
  return false;
}

bool LocalPorts::is_backhaul(const Link& link) const {
  const Link* bridge = links_.find(link.bridge);
  return std::ranges::any_of(backhaul_, [&](const std::string& name) {
    return matches(name, link.name) || (bridge != nullptr && matches(name, bridge->name));
  });
}

LocalInterface LocalPorts::describe(const Link& link) const {
  const Link* bridge = links_.find(link.bridge);
  return {link.name, link.mac.value_or(MACAddress()), bridge == nullptr ? "" : bridge->name,
          radios_ == nullptr ? std::nullopt : radios_->find(link.index), is_backhaul(link)};
}

void LocalPorts::update(std::size_t interface, const Link& link) {
  const LocalInterface& known = entity_.config().interfaces[interface];
  LocalInterface current = describe(link);
  if (current.name != known.name) {
    log() << LogLevels::LOG << known.name << " was renamed to " << current.name << std::endl;
  }
  if (current.mac != known.mac) {
    log() << LogLevels::LOG << current.name << " has the new address " << current.mac << std::endl;
  }
  const bool was_up = std::exchange(ports_[interface].is_up, link.state.up);
  if (link.state.up != was_up) {
    log() << LogLevels::LOG << current.name << (was_up ? " is down" : " is up") << std::endl;
  }
  try {
    if (was_up && !link.state.up) {
      entity_.disconnect(interface);
    }
    const bool is_as_before =
        std::tie(current.name, current.mac, current.bridge) == std::tie(known.name, known.mac, known.bridge);
    if (!is_as_before || (link.state.up && !was_up)) {
      entity_.replace_interface(interface, std::move(current));
    } else {  // strangers can cause this, so it must not be announced each time
      entity_.set_wlan(interface, std::move(current.wlan));
    }
  } catch (...) {  // to be repeated
    ports_[interface].is_up = was_up;
    throw;
  }
}

void LocalPorts::prepare_bridges() {
  Guarding guarding{.controller = controller_};
  for (const auto& [index, link] : links_.all()) {
    if (owner_of(link) != nullptr) {
      guarding.ports.insert(index);
      if (controller_ && *controller_ != entity_.config().al_mac && is_backhaul(link)) {
        guarding.ports_to_controller.insert(index);
      }
    }
  }
  bridges_.follow(links_, guarding);
}

void LocalPorts::protect(const std::optional<qel::MACAddress>& controller) {
  if (std::exchange(controller_, controller) != controller) {
    prepare_bridges();
  }
}

void LocalPorts::follow() {
  is_following_ = true;
  states_.forget();
  for (Given& given : given_) {
    // A recreated bridge with the same index counts as the same: its ports report that they have left it.
    if (given.is_bridge && links_.find(given.index) == nullptr) {
      given.index = 0;
    }
  }
  if (close_one()) {
    follow_timer_.start(NEXT_TURN, [this] { follow(); });
    is_following_ = false;
    return;
  }
  for (Given& given : given_) {
    if (given.index == 0 && !given.is_pattern) {
      find(given);
    }
  }
  prepare_bridges();
  follow_radios();
  if (open_one()) {
    follow_timer_.start(NEXT_TURN, [this] { follow(); });
  }
  is_following_ = false;
}

void LocalPorts::follow_radios() {
  for (std::size_t interface = 0; interface < ports_.size(); ++interface) {
    if (const Link* link = links_.find(ports_[interface].index)) {
      update(interface, *link);
    }
  }
}

void LocalPorts::tend() {
  if (is_following_) {
    follow();
  } else if (bridges_.is_to_retry(Clock::now())) {
    prepare_bridges();
  }
}

void LocalPorts::send(std::size_t interface, std::span<const std::uint8_t> frame) {
  Port& port = ports_[interface];
  const std::error_code error = port.socket == nullptr
                                    ? std::make_error_code(std::errc::network_down)
                                    : port.socket->send_data(frame.data(), static_cast<unsigned int>(frame.size()));
  if (error) {
    ++port.dropped;
  }
  if (error && error != std::errc::network_down) {  // that the interface is down has been logged
    troubles_.note("cannot send on " + name_of(interface) + ": " + error.message(), Clock::now());
  }
}

InterfaceState LocalPorts::read_state(std::size_t interface) {
  const Port& port = ports_[interface];
  InterfaceState state = states_.read(port.index);
  state.dropped = port.dropped;
  if (radios_ != nullptr && state.up) {
    radios_->add_state(port.index, state);
  }
  return state;
}

std::vector<MACAddress> LocalPorts::read_hosts(std::size_t interface) {
  try {
    std::vector<MACAddress> hosts = forwarding_.hosts(ports_[interface].index);
    std::erase(hosts, entity_.config().al_mac);
    return hosts;
  } catch (const std::system_error& error) {
    troubles_.note(std::string("cannot read what bridges have learned: ") + error.what(), Clock::now());
    return {};
  }
}

std::uint64_t LocalPorts::take_lost_frames() { return std::exchange(lost_frames_, 0); }

}  // namespace meshd
