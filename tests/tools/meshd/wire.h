#pragma once

#include "tests/support/testing.h"
#include "tools/meshd/entity/entity.h"
#include "tools/meshd/entity/lldp.h"

namespace meshd::test {

using TimePoint = Entity::TimePoint;
using Octets = std::vector<std::uint8_t>;

/// The address whose last octet is `last`; `kind` tells devices from interfaces.
inline qel::MACAddress mac(std::uint8_t kind, std::uint8_t last) {
  return qel::MACAddress({2, 0x19, 5, kind, 0, last});
}
inline qel::MACAddress device_mac(std::uint8_t last) { return mac(0xA0, last); }
inline qel::MACAddress interface_mac(std::uint8_t last) { return mac(0x10, last); }

inline Octets frame_of(const qel::ieee1905_1::Message& message, const qel::MACAddress& source,
                       const qel::MACAddress& destination = qel::ieee1905_1::CMDU_MULTICAST_ADDRESS) {
  Codec codec;
  const auto octets = codec.encode(destination, source, message).at(0);
  return {octets.begin(), octets.end()};
}

/// A frame as a test looks at it.
struct SentFrame {
  std::size_t interface;
  Octets octets;

  qel::MACAddress destination() const { return parse().destination; }
  qel::MACAddress source() const { return parse().source; }
  qel::ieee1905_1::MessageType type() const { return parse().head.get_message_type(); }
  std::uint16_t id() const { return parse().head.get_message_id(); }
  qel::ieee1905_1::Message message() const {
    Codec codec;
    return codec.decode(codec.parse(octets).value());
  }

 private:
  Frame parse() const { return Codec().parse(octets).value(); }
};

/// Keeps what an entity sends and tells.
class RecordingPorts final : public Ports {
 public:
  void send(std::size_t interface, std::span<const std::uint8_t> frame) override {
    (is_lldp(frame) ? lldp : sent).push_back({interface, {frame.begin(), frame.end()}});
  }
  InterfaceState read_state(std::size_t interface) override { return states[interface]; }
  std::vector<qel::MACAddress> read_hosts(std::size_t interface) override { return hosts[interface]; }
  void on_neighbor_found(const Neighbor& neighbor, std::size_t interface) override {
    events.push_back("found " + neighbor.al_mac.to_string() + " on " + std::to_string(interface));
  }
  void on_neighbor_lost(const qel::MACAddress& al_mac) override { events.push_back("lost " + al_mac.to_string()); }
  void on_device_found(const qel::MACAddress& al_mac) override { events.push_back("found " + al_mac.to_string()); }
  void on_device_lost(const qel::MACAddress& al_mac) override { events.push_back("lost " + al_mac.to_string()); }
  void on_rejected(const Frame&, const std::string& reason) override { events.push_back("rejected: " + reason); }

  std::vector<SentFrame> take() { return std::exchange(sent, {}); }

  std::vector<SentFrame> sent;  ///< of 1905.1
  std::vector<SentFrame> lldp;
  std::map<std::size_t, InterfaceState> states;
  std::map<std::size_t, std::vector<qel::MACAddress>> hosts;
  std::vector<std::string> events;
};

/// A device with `interfaces` interfaces: device 3 has the addresses 31, 32, ... (hexadecimal).
struct Device {
  explicit Device(std::uint8_t number, std::size_t interfaces = 1,
                  std::chrono::milliseconds hold_time = std::chrono::seconds(180), const Limits& limits = {})
      : entity(config(number, interfaces, hold_time, limits), ports) {}

  static Entity::Config config(std::uint8_t number, std::size_t interfaces, std::chrono::milliseconds hold_time,
                               const Limits& limits = {}) {
    Entity::Config config{device_mac(number), {0, number}, {}, hold_time, limits};
    for (std::size_t index = 0; index < interfaces; ++index) {
      config.interfaces.push_back(
          {"eth" + std::to_string(index), interface_mac(static_cast<std::uint8_t>(number * 16U + index + 1)), ""});
    }
    return config;
  }

  RecordingPorts ports;
  Entity entity;
};

/// A cable from an interface of one device to an interface of another.
struct Cable {
  Device& left;
  std::size_t left_interface;
  Device& right;
  std::size_t right_interface;
};

/// Carries frames over the cables until all is quiet. Throws when it never gets quiet.
inline void carry(const std::vector<Cable>& cables, TimePoint now) {
  std::size_t carried = 0;
  const auto pass = [&](Device& from, std::size_t out, Device& to, std::size_t in) {
    for (std::vector<SentFrame>* queue : {&from.ports.sent, &from.ports.lldp}) {
      const auto first = std::stable_partition(queue->begin(), queue->end(),
                                               [out](const SentFrame& frame) { return frame.interface != out; });
      for (auto frame = first; frame != queue->end(); ++frame) {
        to.entity.receive(in, frame->octets, now);
        ++carried;
      }
      queue->erase(first, queue->end());
    }
  };
  std::optional<std::size_t> before;
  while (before != carried) {
    before = carried;
    for (const Cable& cable : cables) {
      pass(cable.left, cable.left_interface, cable.right, cable.right_interface);
      pass(cable.right, cable.right_interface, cable.left, cable.left_interface);
    }
    if (carried > 1000) {
      throw std::runtime_error("the frames never end");
    }
  }
}

}  // namespace meshd::test
