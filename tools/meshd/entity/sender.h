#pragma once

#include <cstddef>

#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/message.h"
#include "tools/meshd/entity/frame.h"
#include "tools/meshd/entity/ports.h"

namespace meshd {

/// Sends messages from our AL MAC.
class Sender {
 public:
  /// The ports are borrowed.
  Sender(const qel::MACAddress& al_mac, Ports& ports) : al_mac_(al_mac), ports_(ports) {}

  /// Sends fragments if the message does not fit into a frame. Returns the number of frames sent. Throws
  /// qel::serialization::SerializationException if a TLV does not fit into a frame.
  std::size_t send(std::size_t interface, const qel::MACAddress& destination, const qel::ieee1905_1::Message& message);

 private:
  qel::MACAddress al_mac_;
  Ports& ports_;
  Codec codec_;
};

}  // namespace meshd
