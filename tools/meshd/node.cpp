#include "tools/meshd/node.h"

#include <net/if.h>

#include <algorithm>
#include <exception>
#include <ostream>
#include <utility>

#include "qel/core/vendor_oui.h"
#include "qel/daemon/log.h"

namespace meshd {

namespace {

using qel::MACAddress;
using qel::debug::LogLevels;

constexpr std::chrono::seconds TEND_INTERVAL{1};

/// A link is given up when its other end was silent for so many announcements: each asks the neighbours for an answer.
constexpr int SILENT_ANNOUNCEMENTS = 3;

std::ostream& log() { return qel::debug::stream("meshd"); }

/// The vendor's first three octets, then the interface's last three: the same after every start.
MACAddress make_al_mac(const MACAddress& interface) {
  MACAddress al_mac = interface;
  std::copy(qel::VENDOR_OUI.begin(), qel::VENDOR_OUI.end(), al_mac.octets().begin());
  return al_mac;
}

Entity::Config configure(const Options& options) {
  Entity::Config config;
  config.version = qel::BasicVersion(MESHD_VERSION_MAJOR, MESHD_VERSION_MINOR);
  config.hold_time = SILENT_ANNOUNCEMENTS * options.discovery_interval;
  for (const std::string& name : options.interfaces) {
    config.interfaces.push_back(read_interface(name));
  }
  config.al_mac = options.al_mac.value_or(make_al_mac(config.interfaces.front().mac));
  return config;
}

}  // namespace

Node::Node(const Options& options, qel::daemon::Mainloop& loop)
    : loop_(loop),
      interval_(options.discovery_interval),
      states_(options.interfaces),
      entity_(configure(options), *this),
      shell_(entity_, loop) {
  for (std::size_t interface = 0; interface < options.interfaces.size(); ++interface) {
    sockets_.push_back(open_socket(interface));
  }
  log() << LogLevels::LOG << loop_.get_name() << " is " << entity_.config().al_mac << " on "
        << entity_.config().interfaces.size() << " interfaces" << std::endl;
  announce_and_repeat();
  tend_and_repeat();
}

Node::~Node() {
  for (const Socket& socket : sockets_) {
    loop_.remove_watch(socket.watch);
  }
}

Node::Socket Node::open_socket(std::size_t interface) {
  const auto take = [this, interface](const unsigned char* octets, unsigned int length) {
    if (length <= qel::RawSock::MAX_FRAME_SIZE) {  // else reading failed, as it does when the interface goes down
      entity_.receive(interface, {octets, length}, std::chrono::steady_clock::now());
    }
  };
  const std::string& name = entity_.config().interfaces[interface].name;
  const unsigned int index = if_nametoindex(name.c_str());
  auto socket = std::make_shared<qel::RawSock>(open_packet_socket(name, ETHERTYPE_IEEE1905), name, take,
                                               qel::RawSock::WritableCallback());
  accept_address(*socket, MULTICAST_ADDRESS);
  accept_address(*socket, entity_.config().al_mac);
  loop_.add_watch(socket);
  return {index, std::move(socket)};
}

void Node::renew_socket() {
  if (replaced_ != nullptr) {
    replaced_.reset();
    return;
  }
  for (std::size_t interface = 0; interface < sockets_.size(); ++interface) {
    const std::string& name = entity_.config().interfaces[interface].name;
    const unsigned int index = if_nametoindex(name.c_str());
    if (index == 0 || index == sockets_[interface].index) {
      continue;
    }
    try {
      LocalInterface renewed = read_interface(name);
      replaced_ = std::exchange(sockets_[interface], open_socket(interface)).watch;
      loop_.remove_watch(replaced_);
      log() << LogLevels::LOG << name << " was made anew" << std::endl;
      entity_.replace_interface(interface, std::move(renewed));
      return;
    } catch (const std::exception& error) {  // gone again, or no Ethernet any more: another second, another try
      log() << "cannot use " << name << ": " << error.what() << std::endl;
    }
  }
}

void Node::announce_and_repeat() {
  announce_timer_.start(interval_, [this] { announce_and_repeat(); });
  entity_.announce();
}

void Node::tend_and_repeat() {
  tend_timer_.start(TEND_INTERVAL, [this] { tend_and_repeat(); });
  renew_socket();
  entity_.tend(std::chrono::steady_clock::now());
}

void Node::send(std::size_t interface, std::span<const std::uint8_t> frame) {
  const std::error_code error =
      sockets_[interface].watch->send_data(frame.data(), static_cast<unsigned int>(frame.size()));
  if (error) {
    log() << "cannot send on " << sockets_[interface].watch->get_ifname() << ": " << error.message() << std::endl;
  }
}

InterfaceState Node::read_state(std::size_t interface) { return states_.read()[interface]; }

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

/// Once a second at most: whoever sends rubbish must not push everything else out of the log ring.
void Node::on_rejected(const Frame& frame, const std::string& reason) {
  const auto now = std::chrono::steady_clock::now();
  if (now - rejection_logged_at_ < std::chrono::seconds(1)) {
    return;
  }
  rejection_logged_at_ = now;
  log() << "rejected a " << frame.head.get_message_type() << " from " << frame.source << ": " << reason << std::endl;
}

}  // namespace meshd
