#pragma once

#include <cstdint>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "qel/core/mac_address.h"
#include "qel/core/serialization/serialization_context.h"
#include "qel/ieee1905_1/framework_tlvs.h"
#include "qel/ieee1905_1/lenient.h"
#include "qel/ieee1905_1/message.h"
#include "tools/meshd/multi_ap/mesh.h"

namespace meshd::test {

/// A message on its way, encoded as it would be sent.
class CarriedMessage {
 public:
  /// Throws SerializationException if it cannot be encoded.
  explicit CarriedMessage(const qel::ieee1905_1::Message& message, const qel::MACAddress& receiver = {})
      : to(receiver), octets_(encode(message)), content_(decode(octets_)) {}

  qel::MACAddress to;

  const qel::ieee1905_1::Message& message() const { return content_.message; }
  qel::ieee1905_1::MessageType type() const { return message().get_head().get_message_type(); }
  std::uint16_t id() const { return message().get_head().get_message_id(); }
  template <class T>
  const T* find() const {
    return message().find<T>();
  }

  /// As it arrives, on an interface that is marked as backhaul. Lent by this.
  multi_ap::Received from(const qel::MACAddress& sender, multi_ap::TimePoint now,
                          const std::string& interface = "eth0") const {
    return {sender, interface, message().get_head().get_relay_indicator(), now, content_, !interface.empty()};
  }

 private:
  static std::vector<std::uint8_t> encode(const qel::ieee1905_1::Message& message) {
    std::ostringstream sink;
    qel::serialization::SerializationContext context;
    qel::ieee1905_1::encode(message, sink, context);
    const std::string octets = sink.str();
    return {octets.begin(), octets.end()};
  }
  static qel::ieee1905_1::LenientMessage decode(const std::vector<std::uint8_t>& octets) {
    qel::serialization::SerializationContext context;
    return qel::ieee1905_1::decode_leniently(octets, context);
  }

  std::vector<std::uint8_t> octets_;
  qel::ieee1905_1::LenientMessage content_;
};

/// Keeps what a service sends.
class FakeMesh final : public multi_ap::Mesh {
 public:
  explicit FakeMesh(const qel::MACAddress& al_mac) : al_mac_(al_mac) {}

  const qel::MACAddress& al_mac() const override { return al_mac_; }
  bool send(const qel::MACAddress& al_mac, const qel::ieee1905_1::Message& message) override {
    sent.emplace_back(message, al_mac);
    return has_way;
  }
  void send_to_all(const qel::ieee1905_1::Message& message) override {
    if (!message.get_head().get_relay_indicator() || message.find<qel::ieee1905_1::ALMACAddressTLV>() == nullptr) {
      throw std::logic_error("a message to all lacks the relay indicator or its AL MAC");
    }
    sent_to_all.emplace_back(message);
  }

  std::vector<CarriedMessage> take() { return std::exchange(sent, {}); }

  std::vector<CarriedMessage> sent;
  std::vector<CarriedMessage> sent_to_all;
  bool has_way = true;

 private:
  qel::MACAddress al_mac_;
};

}  // namespace meshd::test
