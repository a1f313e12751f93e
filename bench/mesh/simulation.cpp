#include "bench/mesh/simulation.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <numeric>
#include <utility>

#include "qel/ieee1905_1/cmdu.h"
#include "qel/ieee1905_1/message.h"
#include "qel/net/ether_header.h"

namespace meshd::simulation {

namespace {

using namespace std::chrono_literals;
using qel::MACAddress;
using qel::ieee1905_1::MessageType;

constexpr std::chrono::microseconds ACROSS_A_CABLE = 500us;  // including a turn of the receiver's loop
constexpr std::chrono::microseconds ACROSS_A_BRIDGE = 20us;
constexpr std::chrono::milliseconds STARTING = 1000ms;  // all nodes start within

constexpr std::size_t SMALLEST_FRAME = 60;  // padded to it

constexpr MACAddress LLDP_ADDRESS({0x01, 0x80, 0xC2, 0x00, 0x00, 0x0E});

/// A number of 16 bits in a frame.
std::size_t number_at(std::span<const std::uint8_t> frame, std::size_t place) {
  return static_cast<std::size_t>(frame[place]) << 8U | frame[place + 1];
}

constexpr std::uint8_t high(std::size_t number) { return static_cast<std::uint8_t>(number >> 8U); }
constexpr std::uint8_t low(std::size_t number) { return static_cast<std::uint8_t>(number); }

/// The processor time of this process, since others may be running too.
std::chrono::nanoseconds processor_time() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

Kind kind_of_own(std::span<const std::uint8_t> frame, const MACAddress& destination) {
  if (destination == LLDP_ADDRESS) {
    return Kind::ANNOUNCED;
  }
  switch (static_cast<MessageType>(number_at(frame, sizeof(qel::EtherHeader) + 2))) {
    case MessageType::TOPOLOGY_DISCOVERY_MESSAGE:
      return Kind::ANNOUNCED;
    case MessageType::TOPOLOGY_NOTIFICATION_MESSAGE:
      return Kind::NOTIFIED;
    case MessageType::TOPOLOGY_QUERY_MESSAGE:
    case MessageType::LINK_METRIC_QUERY_MESSAGE:
      return Kind::ASKED;
    case MessageType::TOPOLOGY_RESPONSE_MESSAGE:
    case MessageType::LINK_METRIC_RESPONSE_MESSAGE:
      return Kind::ANSWERED;
    default:
      return Kind::TOLD;
  }
}

}  // namespace

void Traffic::count(Kind kind, std::size_t size) {
  ++frames[static_cast<std::size_t>(kind)];
  octets[static_cast<std::size_t>(kind)] += std::max(size, SMALLEST_FRAME);
}

std::uint64_t Traffic::own_frames() const {
  return std::accumulate(frames.begin(), frames.begin() + static_cast<std::size_t>(Kind::RELAYED), std::uint64_t{0});
}

std::uint64_t Traffic::all_frames() const { return std::accumulate(frames.begin(), frames.end(), std::uint64_t{0}); }

std::uint64_t Traffic::all_octets() const { return std::accumulate(octets.begin(), octets.end(), std::uint64_t{0}); }

Traffic Traffic::operator-(const Traffic& earlier) const {
  Traffic difference = *this;
  difference.to_ends -= earlier.to_ends;
  for (std::size_t kind = 0; kind < KINDS; ++kind) {
    difference.frames[kind] -= earlier.frames[kind];
    difference.octets[kind] -= earlier.octets[kind];
  }
  return difference;
}

/// An entity and its cables.
class Simulation::Node final : public Ports {
 public:
  Node(Simulation& simulation, std::size_t number) : simulation_(simulation), number_(number) {
    Entity::Config config{al_mac(number), {0, 1}, {}, 3 * simulation.settings_.interval};
    for (std::size_t interface = 0; interface < simulation.cables_of_[number].size(); ++interface) {
      config.interfaces.push_back(describe(interface));
    }
    work([&] { entity_ = std::make_unique<Entity>(std::move(config), *this); });
  }

  /// Runs an action on the entity, and measures what it costs.
  template <class Work>
  void work(Work&& task) {
    enter();
    task();
    leave();
  }

  void send(std::size_t interface, std::span<const std::uint8_t> frame) override {
    leave();
    simulation_.send(number_, interface, frame);
    enter();
  }
  InterfaceState read_state(std::size_t interface) override {
    InterfaceState state;
    state.speed = 1000;
    state.up = simulation_.plugged_in_[simulation_.cables_of_[number_][interface]];
    return state;
  }

  LocalInterface describe(std::size_t interface) const {
    return {"eth" + std::to_string(interface), interface_mac(number_, interface), "br0"};
  }

  Entity& entity() { return *entity_; }
  const Cost& cost() const { return cost_; }
  Traffic& traffic() { return traffic_; }

 private:
  void enter() {
    cost_.time -= processor_time();
    cost_.heap -= simulation_.settings_.heap ? simulation_.settings_.heap() : 0;
  }
  void leave() {
    cost_.heap += simulation_.settings_.heap ? simulation_.settings_.heap() : 0;
    cost_.time += processor_time();
  }

  Simulation& simulation_;
  const std::size_t number_;
  Traffic traffic_;
  Cost cost_;
  std::unique_ptr<Entity> entity_;
};

Simulation::Simulation(const Shape& shape, Settings settings)
    : settings_(std::move(settings)), cables_(shape.cables), plugged_in_(shape.cables.size(), true) {
  cables_.push_back(shape.spare);
  plugged_in_.push_back(false);
  cables_of_.resize(shape.nodes + shape.switches);
  for (std::size_t cable = 0; cable < cables_.size(); ++cable) {
    const auto& [left, right] = cables_[cable];
    interfaces_.push_back({cables_of_[left].size(), cables_of_[right].size()});
    cables_of_[left].push_back(cable);
    cables_of_[right].push_back(cable);
  }
  plan_bridges();
  for (std::size_t node = 0; node < shape.nodes; ++node) {
    nodes_.push_back(std::make_unique<Node>(*this, node));
    const std::chrono::microseconds start(numbers_() % std::chrono::microseconds(STARTING).count());
    post(start, Event::Type::ANNOUNCE, node);
    post(start, Event::Type::TEND, node);
  }
}

Simulation::~Simulation() = default;

void Simulation::run(std::chrono::milliseconds time) {
  events_.run(time, [this](const Event& event) { handle(event); });
}

bool Simulation::run_until(const std::function<bool()>& is_done, std::chrono::seconds most) {
  return events_.run_until(is_done, most, [this](const Event& event) { handle(event); });
}

void Simulation::set_plugged_in(std::size_t cable, bool plugged_in) {
  plugged_in_[cable] = plugged_in;
  plan_bridges();
  for (const std::size_t device : {cables_[cable].left, cables_[cable].right}) {
    if (device < nodes_.size()) {
      const std::size_t interface = interface_at(cable, device);
      Node& node = *nodes_[device];
      node.work([&] {
        plugged_in ? node.entity().replace_interface(interface, node.describe(interface))
                   : node.entity().disconnect(interface);
      });
    }
  }
}

bool Simulation::knows_all(std::size_t node) const {
  const DeviceMap::Devices& devices = entity(node).devices().all();
  return devices.size() == nodes_.size() - 1 &&
         std::ranges::all_of(devices, [](const auto& entry) { return entry.second.state == DeviceState::ANSWERED; });
}

bool Simulation::knows_all_metrics(std::size_t node) const {
  const DeviceMap& devices = entity(node).devices();
  const auto tells = [&](const MACAddress& from, const MACAddress& to) {
    const Device* device = devices.find(from);
    return device != nullptr && std::ranges::find(device->told.transmitter_metrics, to,
                                                  &qel::ieee1905_1::TransmitterLinkMetricTLV::get_neighbor_AL_MAC) !=
                                    device->told.transmitter_metrics.end();
  };
  return knows_all(node) && std::ranges::all_of(devices.all(), [&](const auto& entry) {
           return std::ranges::all_of(entry.second.told.neighbor_al_macs(), [&](const MACAddress& neighbor) {
             return neighbor == al_mac(node) || tells(entry.first, neighbor) || tells(neighbor, entry.first);
           });
         });
}

std::chrono::milliseconds Simulation::now() const {
  return std::chrono::duration_cast<std::chrono::milliseconds>(events_.now().time_since_epoch());
}

const Entity& Simulation::entity(std::size_t node) const { return nodes_[node]->entity(); }
const Traffic& Simulation::traffic(std::size_t node) const { return nodes_[node]->traffic(); }
const Cost& Simulation::cost(std::size_t node) const { return nodes_[node]->cost(); }

MACAddress Simulation::al_mac(std::size_t node) { return MACAddress({0x02, 0x19, 0x05, 0xA0, high(node), low(node)}); }

MACAddress Simulation::interface_mac(std::size_t node, std::size_t interface) {
  return MACAddress({0x06, 0x19, high(node), low(node), high(interface), low(interface)});
}

void Simulation::post(std::chrono::microseconds delay, Event::Type type, std::size_t node, std::size_t interface,
                      std::shared_ptr<const Octets> frame) {
  events_.post(delay, {type, node, interface, std::move(frame)});
}

void Simulation::handle(const Event& event) {
  Node& node = *nodes_[event.node];
  switch (event.type) {
    case Event::Type::ANNOUNCE:
      post(settings_.interval, event.type, event.node);
      node.work([&] { node.entity().announce(events_.now()); });
      break;
    case Event::Type::TEND:
      post(settings_.tending, event.type, event.node);
      node.work([&] { node.entity().tend(events_.now()); });
      break;
    case Event::Type::RECEIVE:
      node.work([&] { node.entity().receive(event.interface, *event.frame, events_.now()); });
      break;
  }
}

void Simulation::send(std::size_t node, std::size_t interface, std::span<const std::uint8_t> frame) {
  const std::size_t cable = cables_of_[node][interface];
  if (!plugged_in_[cable]) {
    return;
  }
  qel::EtherHeader header;
  std::memcpy(&header, frame.data(), sizeof(header));
  const MACAddress& destination = header.get_dest_addr();
  const bool is_own = header.get_src_addr() == al_mac(node) || destination == LLDP_ADDRESS;
  Traffic& traffic = nodes_[node]->traffic();
  traffic.count(is_own ? kind_of_own(frame, destination) : Kind::RELAYED, frame.size());
  if (is_own && (destination == al_mac(cables_.back().left) || destination == al_mac(cables_.back().right))) {
    ++traffic.to_ends;
  }
  if (numbers_() % 1000 < settings_.lost_of_thousand) {
    return;
  }
  const auto octets = std::make_shared<const Octets>(frame.begin(), frame.end());
  const std::size_t neighbor = other_end(cable, node);
  const bool is_multicast = (destination.octets()[0] & 1U) != 0;
  if (is_multicast && neighbor < nodes_.size()) {
    arrive(ACROSS_A_CABLE, cable, neighbor, octets);
  } else if (is_multicast && destination != LLDP_ADDRESS) {  // a plain switch: to all others
    for (const std::size_t other : cables_of_[neighbor]) {
      if (other != cable && plugged_in_[other]) {
        arrive(ACROSS_A_CABLE + ACROSS_A_BRIDGE, other, other_end(other, neighbor), octets);
      }
    }
  } else if (!is_multicast) {
    const std::size_t device = number_at(frame, 4);  // as al_mac() makes it
    const Bridges::Way& way = bridges_.find_way(node, cable, device);
    for (const std::size_t bridge : way.bridges) {
      if (bridge < nodes_.size()) {
        nodes_[bridge]->traffic().count(Kind::BRIDGED, frame.size());
      }
    }
    if (way.arrives) {
      arrive(ACROSS_A_CABLE + ACROSS_A_BRIDGE * way.bridges.size(), way.last_cable, device, octets);
    }
  }
}

void Simulation::arrive(std::chrono::microseconds delay, std::size_t cable, std::size_t device,
                        const std::shared_ptr<const Octets>& frame) {
  post(delay, Event::Type::RECEIVE, device, interface_at(cable, device), frame);
}

std::size_t Simulation::other_end(std::size_t cable, std::size_t device) const {
  return cables_[cable].left == device ? cables_[cable].right : cables_[cable].left;
}

std::size_t Simulation::interface_at(std::size_t cable, std::size_t device) const {
  return cables_[cable].left == device ? interfaces_[cable].left : interfaces_[cable].right;
}

void Simulation::plan_bridges() { bridges_.plan(cables_of_.size(), cables_, plugged_in_); }

}  // namespace meshd::simulation
