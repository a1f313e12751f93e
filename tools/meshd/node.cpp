#include "tools/meshd/node.h"

#include <net/if.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <new>
#include <ostream>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "qel/core/vendor_oui.h"
#include "qel/daemon/log.h"

namespace meshd {

namespace {

using qel::MACAddress;
using qel::debug::LogLevels;
using qel::ieee1905_1::CMDU_ETHERTYPE;
using qel::ieee1905_1::CMDU_MULTICAST_ADDRESS;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds TEND_INTERVAL{1};

/// Between two steps of following the interfaces: another turn, or another try.
constexpr std::chrono::milliseconds NEXT_TURN{1};
constexpr std::chrono::seconds NEXT_TRY{1};

/// A link is given up when its other end was silent for so many announcements: each asks the neighbours for an answer.
constexpr int SILENT_ANNOUNCEMENTS = 3;

std::ostream& log() { return qel::debug::stream("meshd"); }

/// The vendor's first three octets, then the interface's last three: the same after every start.
MACAddress make_al_mac(const MACAddress& interface) {
  MACAddress al_mac = interface;
  std::copy(qel::VENDOR_OUI.begin(), qel::VENDOR_OUI.end(), al_mac.octets().begin());
  return al_mac;
}

const Link& get_link(const LinkTable& links, const std::string& name) {
  const Link* link = links.find(if_nametoindex(name.c_str()));
  if (link == nullptr) {
    throw std::system_error(ENODEV, std::generic_category(), "interface " + name);
  }
  if (!link->mac) {
    throw std::runtime_error("interface " + name + ": not an Ethernet");
  }
  return *link;
}

LocalInterface describe(const Link& link, const LinkTable& links) {
  const Link* bridge = links.find(link.bridge);
  return {link.name, link.mac.value_or(MACAddress()), bridge == nullptr ? "" : bridge->name};
}

Entity::Config configure(const Options& options, const LinkTable& links) {
  Entity::Config config;
  config.version = qel::BasicVersion(MESHD_VERSION_MAJOR, MESHD_VERSION_MINOR);
  config.hold_time = SILENT_ANNOUNCEMENTS * options.discovery_interval;
  for (const std::string& name : options.interfaces) {
    config.interfaces.push_back(describe(get_link(links, name), links));
  }
  config.al_mac = options.al_mac.value_or(make_al_mac(config.interfaces.front().mac));
  return config;
}

}  // namespace

Node::Node(const Options& options, qel::daemon::Mainloop& loop)
    : loop_(loop),
      interval_(options.discovery_interval),
      links_(std::make_shared<LinkTable>([this] { follow_links(); })),
      entity_(configure(options, *links_), *this),
      shell_(entity_, loop) {
  // The first of the watches: what changed before a frame came is known when the frame is taken.
  loop_.add_watch(links_);
  for (const std::string& name : options.interfaces) {
    const Link& link = get_link(*links_, name);
    if (is_ours(link)) {
      throw std::runtime_error("interface " + name + ": given twice, by different names");
    }
    ports_.emplace_back().name = name;
    try {
      open(ports_.size() - 1, link);
    } catch (const std::system_error& error) {
      throw std::system_error(error.code(), "interface " + name);
    }
  }
  log() << LogLevels::LOG << loop_.get_name() << " is " << entity_.config().al_mac << " on "
        << entity_.config().interfaces.size() << " interfaces" << std::endl;
  announce_and_repeat();
  tend_and_repeat();
}

Node::~Node() {
  loop_.remove_watch(links_);
  for (const Port& port : ports_) {
    loop_.remove_watch(port.socket);
  }
}

bool Node::is_ours(const Link& link) const {
  return std::any_of(ports_.begin(), ports_.end(), [&](const Port& port) { return port.index == link.index; });
}

void Node::open(std::size_t interface, const Link& link) {
  const auto take = [this, interface](const unsigned char* octets, unsigned int length) {
    if (length > qel::RawSock::MAX_FRAME_SIZE) {
      return;  // reading failed, as it does when the interface goes down
    }
    try {
      entity_.receive(interface, {octets, length}, Clock::now());
    } catch (const std::bad_alloc&) {
      // A message on the bus may have taken what the limit of our data allows. The frame is lost, as on a busy link.
      ++lost_frames_;
    }
  };
  auto socket = std::make_shared<qel::RawSock>(qel::RawSock::open_untagged(link.index, CMDU_ETHERTYPE), link.name, take,
                                               qel::RawSock::WritableCallback());
  socket->set_nonblocking();
  for (const MACAddress& address : {CMDU_MULTICAST_ADDRESS, entity_.config().al_mac}) {
    if (const std::error_code error = socket->accept_address(address)) {
      throw std::system_error(error);
    }
  }
  loop_.add_watch(socket);
  Port& port = ports_[interface];
  port.socket = std::move(socket);
  port.index = link.index;
  port.is_up = link.state.up;
}

void Node::close(std::size_t interface) {
  Port& port = ports_[interface];
  log() << LogLevels::LOG << entity_.config().interfaces[interface].name << " is gone" << std::endl;
  loop_.remove_watch(port.socket);
  port.socket.reset();
  port.index = 0;
  port.is_up = false;
  entity_.disconnect(interface);
}

bool Node::reopen(std::size_t interface) {
  Port& port = ports_[interface];
  const Link* link = links_->find(if_nametoindex(port.name.c_str()));
  if (link == nullptr || is_ours(*link) || link->index == port.refused) {
    return false;
  }
  if (!link->mac) {
    port.refused = link->index;
    troubles_.note("cannot use " + port.name + ": not an Ethernet", Clock::now());
    return false;
  }
  open(interface, *link);
  log() << LogLevels::LOG << port.name << " was made anew" << std::endl;
  entity_.replace_interface(interface, describe(*link, *links_));
  return true;
}

void Node::update(std::size_t interface, const Link& link) {
  const LocalInterface& known = entity_.config().interfaces[interface];
  LocalInterface current = describe(link, *links_);
  if (current.name != known.name) {
    log() << LogLevels::LOG << known.name << " is named " << current.name << " now" << std::endl;
  }
  if (current.mac != known.mac) {
    log() << LogLevels::LOG << current.name << " has the address " << current.mac << " now" << std::endl;
  }
  const bool was_up = std::exchange(ports_[interface].is_up, link.state.up);
  if (link.state.up != was_up) {
    log() << LogLevels::LOG << current.name << (was_up ? " is down" : " is up") << std::endl;
  }
  if (was_up && !link.state.up) {
    entity_.disconnect(interface);
  }
  if (current != known || (link.state.up && !was_up)) {
    entity_.replace_interface(interface, std::move(current));
  }
}

void Node::follow_links() {
  states_.forget();
  for (std::size_t interface = 0; interface < ports_.size(); ++interface) {
    const Port& port = ports_[interface];
    if (port.socket != nullptr && port.socket->get_interface() == 0) {
      close(interface);
      follow_timer_.start(NEXT_TURN, [this] { follow_links(); });
      return;
    }
    if (const Link* link = links_->find(port.index)) {
      update(interface, *link);
      continue;
    }
    try {
      if (port.socket == nullptr && reopen(interface)) {
        follow_timer_.start(NEXT_TURN, [this] { follow_links(); });
        return;
      }
    } catch (const std::exception& error) {
      troubles_.note("cannot use " + port.name + ": " + error.what(), Clock::now());
      follow_timer_.start(NEXT_TRY, [this] { follow_links(); });
    }
  }
}

void Node::announce_and_repeat() {
  announce_timer_.start(interval_, [this] { announce_and_repeat(); });
  entity_.announce(Clock::now());
}

void Node::tend_and_repeat() {
  tend_timer_.start(TEND_INTERVAL, [this] { tend_and_repeat(); });
  if (const std::uint64_t lost = std::exchange(lost_frames_, 0); lost != 0) {
    log() << LogLevels::ERROR << "no memory for " << lost << " received frames" << std::endl;
  }
  troubles_.flush(Clock::now());
  entity_.tend(Clock::now());
}

void Node::send(std::size_t interface, std::span<const std::uint8_t> frame) {
  Port& port = ports_[interface];
  const std::error_code error = port.socket == nullptr
                                    ? std::make_error_code(std::errc::network_down)
                                    : port.socket->send_data(frame.data(), static_cast<unsigned int>(frame.size()));
  if (error) {
    ++port.dropped;
  }
  if (error && error != std::errc::network_down) {  // that it is down was told
    troubles_.note("cannot send on " + entity_.config().interfaces[interface].name + ": " + error.message(),
                   Clock::now());
  }
}

InterfaceState Node::read_state(std::size_t interface) {
  const Port& port = ports_[interface];
  InterfaceState state = states_.read(port.index);
  state.dropped = port.dropped;
  return state;
}

std::vector<MACAddress> Node::read_hosts(std::size_t) { return {}; }

void Node::on_neighbor_found(const Neighbor& neighbor, std::size_t interface) {
  const std::string& name = entity_.config().interfaces[interface].name;
  log() << LogLevels::LOG << "found neighbor " << neighbor.al_mac << " on " << name << std::endl;
  const std::string data = neighbor.al_mac.to_string() + ' ' + name;
  loop_.send_qelipc_event("NEIGHBOR_FOUND", data.data(), static_cast<unsigned int>(data.size()));
}

void Node::on_neighbor_lost(const MACAddress& al_mac) {
  log() << LogLevels::LOG << "lost neighbor " << al_mac << std::endl;
  const std::string data = al_mac.to_string();
  loop_.send_qelipc_event("NEIGHBOR_LOST", data.data(), static_cast<unsigned int>(data.size()));
}

void Node::on_device_found(const MACAddress& al_mac) {
  log() << LogLevels::LOG << "found device " << al_mac << std::endl;
  const std::string data = al_mac.to_string();
  loop_.send_qelipc_event("DEVICE_FOUND", data.data(), static_cast<unsigned int>(data.size()));
}

void Node::on_device_lost(const MACAddress& al_mac) {
  log() << LogLevels::LOG << "lost device " << al_mac << std::endl;
  const std::string data = al_mac.to_string();
  loop_.send_qelipc_event("DEVICE_LOST", data.data(), static_cast<unsigned int>(data.size()));
}

/// Once a second at most: whoever sends rubbish must not push everything else out of the log ring.
void Node::on_rejected(const Frame& frame, const std::string& reason) {
  const std::optional<std::uint64_t> others = rejections_.count(Clock::now());
  if (!others) {
    return;
  }
  std::ostream& line = log();
  line << "rejected a " << frame.head.get_message_type() << " from " << frame.source << ": " << reason;
  if (*others != 0) {
    line << " (and " << *others << " others before)";
  }
  line << std::endl;
}

}  // namespace meshd
