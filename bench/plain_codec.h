#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

/// The yardstick for the codec's benchmarks: the same messages encoded and decoded by hand, from and to plain structs.
/// It makes as many heap objects as the library does: a list node and a TLV for each TLV, and an array for each list in
/// it.
namespace plain {

struct Mac {
  std::uint8_t octets[6];
};

struct Interface {
  Mac mac;
  std::uint8_t type;
  std::uint8_t mode;
  union {
    struct {
      Mac bssid;
      std::uint8_t role, band, center_freq_1, center_freq_2;
    } wlan;
    std::uint8_t plc_nid[7];
  };
};

struct DeviceInformation {
  Mac al_mac;
  std::uint8_t count;
  Interface* interfaces;
};

struct BridgingTuple {
  std::uint8_t count;
  Mac* macs;
};

struct BridgingCapability {
  std::uint8_t count;
  BridgingTuple* tuples;
};

struct NonIEEE1905Neighbors {
  Mac local;
  std::size_t count;
  Mac* macs;
};

struct Neighbor {
  Mac al_mac;
  std::uint8_t bridge;
};

struct IEEE1905Neighbors {
  Mac local;
  std::size_t count;
  Neighbor* neighbors;
};

struct TransmitterLink {
  Mac receiving, neighbor;
  std::uint8_t type, mode, bridge;
  std::uint32_t errors, packets;
  std::uint16_t capacity, availability, phy_rate;
};

struct ReceiverLink {
  Mac receiving, neighbor;
  std::uint8_t type, mode;
  std::uint32_t errors, packets;
  std::uint8_t rcpi;
};

template <class Link>
struct LinkMetrics {
  Mac local, neighbor;
  std::size_t count;
  Link* links;
};

struct EndOfMessage {};

/// A TLV in the list; `type` determines which of the structs above `body` is.
struct Node {
  Node* next;
  std::uint8_t type;
  void* body;
};

struct Message {
  std::uint8_t version;
  std::uint16_t type;
  std::uint16_t id;
  std::uint8_t fragment_id;
  std::uint8_t flags;
  Node* first;
};

/// For any octets, returns true and a message to be freed with `destroy`, or false and nothing to be freed.
bool decode(std::span<const std::uint8_t> octets, Message& message);
void destroy(Message& message);

/// Returns the number of octets written; 0 if they do not fit in `room`.
std::size_t encode(const Message& message, std::span<std::uint8_t> room);

}  // namespace plain
