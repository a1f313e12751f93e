#include "bench/multi_ap/simulation.h"

#include <algorithm>
#include <ctime>
#include <deque>
#include <optional>
#include <set>
#include <sstream>
#include <utility>

#include "qel/core/serialization/serialization_context.h"
#include "qel/ieee1905_1/device_information_tlv.h"
#include "qel/ieee1905_1/fragmenter.h"
#include "qel/ieee1905_1/lenient.h"
#include "qel/ieee1905_1/message_builder.h"
#include "qel/ieee1905_1/reassembly.h"
#include "tools/meshd/agent/agent.h"
#include "tools/meshd/entity/messages.h"
#include "tools/meshd/multi_ap/discovery.h"

namespace meshd::simulation {

namespace {

using namespace std::chrono_literals;
using qel::MACAddress;
using qel::ieee1905_1::Message;
using qel::ieee1905_1::MessageBuilder;
using qel::ieee1905_1::MessageType;

constexpr std::chrono::microseconds ACROSS_THE_MESH = 2ms;
constexpr std::chrono::microseconds ON_THE_AIR = 100ms;  // what a radio or a client needs to do what it is asked
constexpr std::chrono::seconds QUERY_INTERVAL{360};      // of topology, without a notification
constexpr std::size_t ETHERNET_HEADER = 14;

/// The processor time of this process, since others may be running too.
std::chrono::nanoseconds processor_time() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

}  // namespace

MultiApTraffic MultiApTraffic::operator-(const MultiApTraffic& earlier) const {
  return {frames_sent - earlier.frames_sent, octets_sent - earlier.octets_sent,
          frames_received - earlier.frames_received, octets_received - earlier.octets_received};
}

/// A device, and the mesh as its services see it.
class MultiApSimulation::Device : public multi_ap::Mesh {
 public:
  Device(MultiApSimulation& simulation, std::size_t number)
      : simulation_(simulation), number_(number), al_mac_(MultiApSimulation::al_mac(number)) {}

  const MACAddress& al_mac() const override { return al_mac_; }
  bool send(const MACAddress& to, const Message& message) override {
    const std::size_t receiver = simulation_.number_of(to);
    if (receiver == simulation_.devices_.size()) {
      return false;
    }
    return split(message, [&](const auto& frame) { simulation_.send(number_, receiver, frame, false); });
  }
  void send_to_all(const Message& message) override {
    split(message, [&](const auto& frame) {
      for (std::size_t receiver = 0; receiver < simulation_.devices_.size(); ++receiver) {
        simulation_.send(number_, receiver, frame, true);
      }
    });
  }

  void receive(const Event& event) {
    traffic_.frames_received += event.from == number_ ? 0U : 1U;
    traffic_.octets_received += event.from == number_ ? 0U : event.frame->size() + ETHERNET_HEADER;
    work([&] {
      const MACAddress from = MultiApSimulation::al_mac(event.from);
      if (const auto cmdu = reassembly_.add(from, *event.frame, simulation_.time())) {
        const auto content = qel::ieee1905_1::decode_leniently(*cmdu, context_);
        const bool is_own = event.from == number_;
        take({from, is_own ? "" : "eth0", event.is_to_all, simulation_.time(), content, !is_own});
      }
    });
  }

  /// Runs an action, and measures what it costs.
  template <class Work>
  void work(const Work& task) {
    enter();
    task();
    leave();
  }

  virtual void take(const multi_ap::Received& received) = 0;
  virtual void tend(TimePoint now) = 0;
  virtual void deliver(TimePoint /*now*/) {}
  virtual void on_device(const MACAddress& al_mac, TimePoint now) = 0;

  const MultiApTraffic& traffic() const { return traffic_; }
  const MultiApCost& cost() const { return cost_; }

 protected:
  MultiApSimulation& simulation_;
  const std::size_t number_;

 private:
  /// Returns false if the message cannot be encoded.
  template <class Send>
  bool split(const Message& message, const Send& send_frame) {
    try {
      for (const std::span<const std::uint8_t> cmdu : fragmenter_.split(message, context_)) {
        ++traffic_.frames_sent;
        traffic_.octets_sent += cmdu.size() + ETHERNET_HEADER;
        leave();
        send_frame(std::make_shared<const Octets>(cmdu.begin(), cmdu.end()));
        enter();
      }
    } catch (const qel::serialization::SerializationException& exception) {
      std::ostringstream what;
      what << message.get_head().get_message_type() << " of " << al_mac_ << ": " << exception.what();
      simulation_.faults_.insert(what.str());
      return false;
    }
    return true;
  }

  void enter() {
    cost_.time -= processor_time();
    cost_.heap -= simulation_.settings_.heap ? simulation_.settings_.heap() : 0;
  }
  void leave() {
    cost_.heap += simulation_.settings_.heap ? simulation_.settings_.heap() : 0;
    cost_.time += processor_time();
  }

  const MACAddress al_mac_;
  qel::ieee1905_1::Fragmenter fragmenter_;
  qel::ieee1905_1::Reassembly reassembly_;
  qel::serialization::SerializationContext context_;
  MultiApTraffic traffic_;
  MultiApCost cost_;
};

class MultiApSimulation::AgentDevice final : public Device {
 public:
  AgentDevice(MultiApSimulation& simulation, std::size_t number)
      : Device(simulation, number), air_(simulation.world_.air(number)), finder_(*this) {
    work([&] {
      agent_ = std::make_unique<agent::Agent>(*this, air_, agent::Config{[this] { return finder_.controller(); }});
    });
  }

  void take(const multi_ap::Received& received) override {
    if (received.message().get_head().get_message_type() == MessageType::TOPOLOGY_QUERY_MESSAGE) {
      MessageBuilder response(MessageType::TOPOLOGY_RESPONSE_MESSAGE, received.message().get_head().get_message_id());
      qel::ieee1905_1::DeviceInformationTLV information(al_mac());
      information.add_interface_information({al_mac(), qel::ieee1905_1::InterfaceType::ETHERNET, 0});
      response.add(std::move(information));
      agent_->add_to_topology_response(response);
      send(received.from, response.build());
    }
    finder_.take(received);
    agent_->take(received);
    will_deliver();
  }
  void tend(TimePoint now) override {
    finder_.tend(now);
    agent_->tend(now);
    will_deliver();
  }
  void deliver(TimePoint now) override {
    is_delivering_ = false;
    if (air_.deliver()) {
      agent_->tend(now);
      will_deliver();
    }
  }
  void on_device(const MACAddress& al_mac, TimePoint now) override {
    finder_.on_device(al_mac, true, now);
    agent_->on_device(al_mac, true, now);
  }

 private:
  void will_deliver() {
    if (!std::exchange(is_delivering_, true)) {
      simulation_.events_.post(ON_THE_AIR, {.type = Event::Type::DELIVER, .device = number_});
    }
  }

  wifi::SimulatedAir& air_;
  multi_ap::ControllerFinder finder_;
  std::unique_ptr<agent::Agent> agent_;
  bool is_delivering_ = false;
};

class MultiApSimulation::ControllerDevice final : public Device {
 public:
  ControllerDevice(MultiApSimulation& simulation, std::size_t number) : Device(simulation, number) {
    work([&] { controller_ = std::make_unique<controller::Controller>(*this, simulation.settings_.controller); });
  }

  void take(const multi_ap::Received& received) override {
    controller_->take(received);
    if (received.message().get_head().get_message_type() == MessageType::TOPOLOGY_NOTIFICATION_MESSAGE) {
      queries_.insert_or_assign(received.from, received.time);
    }
  }
  void tend(TimePoint now) override {
    for (auto& [agent, due] : queries_) {
      if (due <= now) {
        due = now + QUERY_INTERVAL;
        send(agent, topology_query());
      }
    }
    controller_->tend(now);
  }
  void on_device(const MACAddress& al_mac, TimePoint now) override {
    controller_->on_device(al_mac, true, now);
    queries_.emplace(al_mac, now);
  }

  controller::Controller& controller() { return *controller_; }

 private:
  std::unique_ptr<controller::Controller> controller_;
  std::map<MACAddress, TimePoint> queries_;  // of topology, and when they are due
};

MultiApSimulation::MultiApSimulation(Settings settings)
    : settings_(std::move(settings)), world_(settings_.world), events_(TimePoint(std::chrono::hours(24))) {
  const std::size_t agents = settings_.world.access_points;
  for (std::size_t number = 0; number <= agents; ++number) {
    if (number < agents) {
      devices_.push_back(std::make_unique<AgentDevice>(*this, number));
    } else {
      devices_.push_back(std::make_unique<ControllerDevice>(*this, number));
    }
    events_.post(std::chrono::microseconds(1s) * number / (agents + 1), {.type = Event::Type::TEND, .device = number});
  }
  for (std::size_t number = 0; number < agents; ++number) {
    Device& controller = *devices_.back();
    controller.work([&] { controller.on_device(al_mac(number), events_.now()); });
    devices_[number]->work([&] { devices_[number]->on_device(al_mac(agents), events_.now()); });
  }
  events_.post(1s, {.type = Event::Type::STEP});
}

MultiApSimulation::~MultiApSimulation() = default;

void MultiApSimulation::run(std::chrono::seconds time) {
  events_.run(time, [this](const Event& event) { handle(event); });
}

bool MultiApSimulation::run_until(const std::function<bool()>& is_done, std::chrono::seconds most) {
  return events_.run_until(is_done, most, [this](const Event& event) { handle(event); });
}

std::chrono::seconds MultiApSimulation::now() const {
  return std::chrono::duration_cast<std::chrono::seconds>(events_.now() - TimePoint(std::chrono::hours(24)));
}

void MultiApSimulation::handle(const Event& event) {
  switch (event.type) {
    case Event::Type::STEP:
      events_.post(1s, event);
      world_.step();
      break;
    case Event::Type::TEND:
      events_.post(1s, event);
      devices_[event.device]->work([&] { devices_[event.device]->tend(events_.now()); });
      break;
    case Event::Type::DELIVER:
      devices_[event.device]->work([&] { devices_[event.device]->deliver(events_.now()); });
      break;
    case Event::Type::RECEIVE:
      devices_[event.device]->receive(event);
      break;
  }
}

void MultiApSimulation::send(std::size_t from, std::size_t to, const std::shared_ptr<const Octets>& frame,
                             bool is_to_all) {
  const bool is_lost = 1000 * random_of(settings_.world.seed, from, to, ++sent_) < settings_.lost_of_thousand;
  if (from == to || !is_lost) {
    events_.post(from == to ? 0us : ACROSS_THE_MESH,
                 {.type = Event::Type::RECEIVE, .device = to, .from = from, .is_to_all = is_to_all, .frame = frame});
  }
}

std::size_t MultiApSimulation::number_of(const MACAddress& al_mac) const {
  const std::size_t number = static_cast<std::size_t>(al_mac.octets()[4]) << 8U | al_mac.octets()[5];
  return number < devices_.size() && MultiApSimulation::al_mac(number) == al_mac ? number : devices_.size();
}

MACAddress MultiApSimulation::al_mac(std::size_t access_point) {
  return MACAddress(
      {0x02, 0x19, 0x05, 0xA0, static_cast<std::uint8_t>(access_point >> 8U), static_cast<std::uint8_t>(access_point)});
}

bool MultiApSimulation::knows_all() const {
  constexpr auto SETTLED = 10s;
  for (std::size_t number = 0; number < world_.access_points(); ++number) {
    const auto& agents = controller().model().agents;
    const auto agent = agents.find(al_mac(number));
    if (agent == agents.end() || agent->second.state != controller::AgentState::JOINED) {
      return false;
    }
    for (const wifi::AirRadio& state : world_.air(number).state) {
      const auto radio = agent->second.radios.find(state.identifier);
      if (radio == agent->second.radios.end() || !radio->second.capabilities || !radio->second.preferences ||
          !radio->second.channel) {
        return false;
      }
      const auto bss = radio->second.bss.find(state.bss.front().bssid);
      if (bss == radio->second.bss.end() || !bss->second.utilization) {
        return false;
      }
      for (const wifi::AirClient& each : state.bss.front().clients) {
        const auto client = bss->second.clients.find(each.station.mac);
        if (each.station.connected >= SETTLED && (client == bss->second.clients.end() || !client->second.link)) {
          return false;
        }
      }
    }
  }
  return true;
}

controller::Controller& MultiApSimulation::controller() {
  return static_cast<ControllerDevice&>(*devices_.back()).controller();
}
const controller::Controller& MultiApSimulation::controller() const {
  return static_cast<ControllerDevice&>(*devices_.back()).controller();
}

const MultiApTraffic& MultiApSimulation::controller_traffic() const { return devices_.back()->traffic(); }
const MultiApCost& MultiApSimulation::controller_cost() const { return devices_.back()->cost(); }

MultiApTraffic MultiApSimulation::agent_traffic() const {
  MultiApTraffic sum;
  for (std::size_t number = 0; number + 1 < devices_.size(); ++number) {
    const MultiApTraffic& each = devices_[number]->traffic();
    sum.frames_sent += each.frames_sent;
    sum.octets_sent += each.octets_sent;
    sum.frames_received += each.frames_received;
    sum.octets_received += each.octets_received;
  }
  return sum;
}

MultiApCost MultiApSimulation::agent_cost() const {
  MultiApCost sum;
  for (std::size_t number = 0; number + 1 < devices_.size(); ++number) {
    sum.time += devices_[number]->cost().time;
    sum.heap += devices_[number]->cost().heap;
  }
  return sum;
}

}  // namespace meshd::simulation
