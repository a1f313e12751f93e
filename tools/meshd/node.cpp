#include "tools/meshd/node.h"

#include <algorithm>
#include <optional>
#include <ostream>
#include <system_error>
#include <utility>

#include "qel/core/vendor_oui.h"
#include "qel/daemon/log.h"
#include "tools/meshd/al_mac_file.h"

namespace meshd {

namespace {

using qel::MACAddress;
using qel::debug::LogLevels;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds TEND_INTERVAL{1};

/// A link is dropped after its other end was silent for this many announcements; with each of them we query the
/// neighbours.
constexpr int SILENT_ANNOUNCEMENTS = 3;

std::ostream& log() { return qel::debug::stream("meshd"); }

/// The vendor's first three octets, then the interface's last three.
MACAddress make_al_mac(const MACAddress& interface) {
  MACAddress al_mac = interface;
  std::copy(qel::VENDOR_OUI.begin(), qel::VENDOR_OUI.end(), al_mac.octets().begin());
  return al_mac;
}

Entity::Config configure(const Options& options, const LinkTable& links, const AlMacFile& file) {
  Entity::Config config;
  config.version = qel::BasicVersion(MESHD_VERSION_MAJOR, MESHD_VERSION_MINOR);
  config.limits.devices = options.devices;
  config.hold_time = SILENT_ANNOUNCEMENTS * options.discovery_interval;
  const Link* first = nullptr;
  bool may_change = false;  // another may be the first at the next start, or a bridge has another address
  for (const std::string& name : options.interfaces) {
    const Link* const link = find_link(links, name);
    may_change = may_change || (first == nullptr && (is_pattern(name) || link->is_bridge));
    first = first == nullptr ? link : first;
  }
  const std::optional<MACAddress> al_mac = options.al_mac ? options.al_mac : file.read();
  if (!al_mac && first == nullptr) {
    throw std::runtime_error("interface " + options.interfaces.front() +
                             ": none matches from whose address the AL MAC address could be derived; use --al-mac");
  }
  config.al_mac = al_mac ? *al_mac : make_al_mac(*first->mac);
  if (may_change && !options.al_mac && options.state_directory.empty()) {
    log() << LogLevels::LOG << "the AL MAC address follows the address of " << first->name
          << ", which can change; use --state-directory to keep it" << std::endl;
  }
  return config;
}

}  // namespace

Node::Node(const Options& options, qel::daemon::Mainloop& loop)
    : loop_(loop),
      interval_(options.discovery_interval),
      links_(std::make_shared<LinkTable>([this] { ports_.follow(); })),
      wireless_(make_wireless(loop, [this] { ports_.follow_radios(); })),
      entity_(configure(options, *links_, AlMacFile(options.state_directory, options.name)), *this),
      ports_(*links_, wireless_.get(), options.backhaul, entity_, loop, troubles_),
      roles_(options, wireless_.get(), entity_, loop),
      shell_(entity_, ports_, roles_, loop) {
  // The first of the watches, so that changes that precede a frame are known when it is handled.
  loop_.add_watch(links_);
  ports_.open_all(options.interfaces);
  try {
    AlMacFile(options.state_directory, options.name).write(entity_.config().al_mac);
  } catch (const std::system_error& error) {
    log() << LogLevels::ERROR << "cannot keep the AL MAC address: " << error.what() << std::endl;
  }
  log() << LogLevels::LOG << loop_.get_name() << " is " << entity_.config().al_mac << " on "
        << entity_.config().interfaces.size() << " interfaces" << std::endl;
  // A timer is restarted before its work, without allocating memory, so that it continues even if the work fails.
  announce_timer_.start(interval_, [this] {
    announce_timer_.start_ctimer(interval_);
    entity_.announce(Clock::now());
  });
  tend_timer_.start(TEND_INTERVAL, [this] {
    tend_timer_.start_ctimer(TEND_INTERVAL);
    tend();
  });
  tend();
}

Node::~Node() { loop_.remove_watch(links_); }

void Node::tend() {
  const std::uint64_t lost_frames = ports_.take_lost_frames();
  const std::uint64_t lost_turns = std::exchange(lost_turns_, 0);
  if (lost_frames != 0 || lost_turns != 0) {
    log() << LogLevels::ERROR << "out of memory: lost " << lost_frames << " received frames and " << lost_turns
          << " turns of the main loop" << std::endl;
  }
  troubles_.flush(Clock::now());
  links_->tend();
  ports_.tend();
  entity_.tend(Clock::now());
  ports_.protect(roles_.to_protect());
}

void Node::send(std::size_t interface, std::span<const std::uint8_t> frame) { ports_.send(interface, frame); }

InterfaceState Node::read_state(std::size_t interface) { return ports_.read_state(interface); }

std::vector<MACAddress> Node::read_hosts(std::size_t interface) { return ports_.read_hosts(interface); }

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

void Node::on_delivery_due() {
  if (!delivery_timer_.is_running()) {
    delivery_timer_.start(std::chrono::milliseconds(0), [this] { entity_.deliver(Clock::now()); });
  }
}

/// At most once a second, so that a sender of garbage does not push everything else out of the log.
void Node::on_rejected(const Frame& frame, const std::string& reason) {
  const std::optional<std::uint64_t> others = rejections_.count(Clock::now());
  if (!others) {
    return;
  }
  std::ostream& line = log();
  line << "rejected a " << frame.head.get_message_type() << " from " << frame.source << ": " << reason;
  if (*others != 0) {
    line << " (and " << *others << " more before it)";
  }
  line << std::endl;
}

}  // namespace meshd
