#include "bench/plain_codec.h"

#include <cstring>

#include "bench/plain_multiap.h"
#include "bench/plain_octets.h"

namespace plain {

namespace {

constexpr std::uint8_t END = 0, DEVICE = 3, BRIDGING = 4, NON_1905 = 6, NEIGHBOR = 7, TRANSMITTER = 9, RECEIVER = 10,
                       RADIO_CAPABILITIES = 133, HT_CAPABILITIES = 134, VHT_CAPABILITIES = 135,
                       CHANNEL_PREFERENCES = 139, RESTRICTION = 140, AP_CAPABILITY = 161;

bool decode_device(Cursor& in, DeviceInformation& device) {
  if (!in.has(7)) {
    return false;
  }
  std::memcpy(&device.al_mac, in.p, 6);
  const std::uint8_t count = in.p[6];
  in.p += 7;
  if (!in.has(std::size_t{count} * 9)) {
    return false;
  }
  device.interfaces = new Interface[count];
  device.count = count;
  for (std::uint8_t i = 0; i < count; ++i) {
    Interface& interface = device.interfaces[i];
    if (!in.has(9)) {
      return false;
    }
    std::memcpy(&interface.mac, in.p, 6);
    interface.type = in.p[6];
    interface.mode = in.p[7];
    in.p += 9;
    if (interface.type == 1) {
      if (!in.has(10)) {
        return false;
      }
      std::memcpy(&interface.wlan.bssid, in.p, 6);
      interface.wlan.role = in.p[6];
      interface.wlan.band = in.p[7];
      interface.wlan.center_freq_1 = in.p[8];
      interface.wlan.center_freq_2 = in.p[9];
      in.p += 10;
    } else if (interface.type == 2) {
      if (!in.has(7)) {
        return false;
      }
      std::memcpy(interface.plc_nid, in.p, 7);
      in.p += 7;
    }
  }
  return true;
}

bool decode_bridging(Cursor& in, BridgingCapability& bridging) {
  if (!in.has(1) || !in.has(1 + std::size_t{*in.p})) {
    return false;
  }
  const std::uint8_t count = *in.p++;
  bridging.tuples = new BridgingTuple[count]();
  bridging.count = count;
  for (std::uint8_t i = 0; i < count; ++i) {
    if (!in.has(1)) {
      return false;
    }
    const std::uint8_t macs = *in.p++;
    if (!in.has(macs * sizeof(Mac))) {
      return false;
    }
    bridging.tuples[i].macs = new Mac[macs];
    bridging.tuples[i].count = macs;
    copy(bridging.tuples[i].macs, in.p, macs * sizeof(Mac));
    in.p += macs * sizeof(Mac);
  }
  return true;
}

bool decode_non_1905(Cursor& in, std::size_t length, NonIEEE1905Neighbors& list) {
  if (length < 6 || (length - 6) % 6 != 0 || !in.has(length)) {
    return false;
  }
  std::memcpy(&list.local, in.p, 6);
  list.count = (length - 6) / 6;
  list.macs = new Mac[list.count];
  copy(list.macs, in.p + 6, length - 6);
  in.p += length;
  return true;
}

bool decode_neighbors(Cursor& in, std::size_t length, IEEE1905Neighbors& list) {
  if (length < 6 || (length - 6) % 7 != 0 || !in.has(length)) {
    return false;
  }
  std::memcpy(&list.local, in.p, 6);
  in.p += 6;
  list.count = (length - 6) / 7;
  list.neighbors = new Neighbor[list.count];
  for (std::size_t i = 0; i < list.count; ++i, in.p += 7) {
    std::memcpy(&list.neighbors[i].al_mac, in.p, 6);
    list.neighbors[i].bridge = in.p[6];
  }
  return true;
}

bool decode_transmitter(Cursor& in, std::size_t length, LinkMetrics<TransmitterLink>& metrics) {
  if (length < 12 || (length - 12) % 29 != 0 || !in.has(length)) {
    return false;
  }
  std::memcpy(&metrics.local, in.p, 6);
  std::memcpy(&metrics.neighbor, in.p + 6, 6);
  in.p += 12;
  metrics.count = (length - 12) / 29;
  metrics.links = new TransmitterLink[metrics.count];
  for (std::size_t i = 0; i < metrics.count; ++i, in.p += 29) {
    TransmitterLink& link = metrics.links[i];
    std::memcpy(&link.receiving, in.p, 6);
    std::memcpy(&link.neighbor, in.p + 6, 6);
    link.type = in.p[12];
    link.mode = in.p[13];
    link.bridge = in.p[14];
    link.errors = load32(in.p + 15);
    link.packets = load32(in.p + 19);
    link.capacity = load16(in.p + 23);
    link.availability = load16(in.p + 25);
    link.phy_rate = load16(in.p + 27);
  }
  return true;
}

bool decode_receiver(Cursor& in, std::size_t length, LinkMetrics<ReceiverLink>& metrics) {
  if (length < 12 || (length - 12) % 23 != 0 || !in.has(length)) {
    return false;
  }
  std::memcpy(&metrics.local, in.p, 6);
  std::memcpy(&metrics.neighbor, in.p + 6, 6);
  in.p += 12;
  metrics.count = (length - 12) / 23;
  metrics.links = new ReceiverLink[metrics.count];
  for (std::size_t i = 0; i < metrics.count; ++i, in.p += 23) {
    ReceiverLink& link = metrics.links[i];
    std::memcpy(&link.receiving, in.p, 6);
    std::memcpy(&link.neighbor, in.p + 6, 6);
    link.type = in.p[12];
    link.mode = in.p[13];
    link.errors = load32(in.p + 14);
    link.packets = load32(in.p + 18);
    link.rcpi = in.p[22];
  }
  return true;
}

template <class Body>
Body& make_body(Node& node) {
  auto* body = new Body{};
  node.body = body;
  return *body;
}

bool decode_body(Cursor& in, std::size_t length, Node& node) {
  switch (node.type) {
    case END:
      make_body<EndOfMessage>(node);
      return length == 0;
    case DEVICE:
      return decode_device(in, make_body<DeviceInformation>(node));
    case BRIDGING:
      return decode_bridging(in, make_body<BridgingCapability>(node));
    case NON_1905:
      return decode_non_1905(in, length, make_body<NonIEEE1905Neighbors>(node));
    case NEIGHBOR:
      return decode_neighbors(in, length, make_body<IEEE1905Neighbors>(node));
    case TRANSMITTER:
      return decode_transmitter(in, length, make_body<LinkMetrics<TransmitterLink>>(node));
    case RECEIVER:
      return decode_receiver(in, length, make_body<LinkMetrics<ReceiverLink>>(node));
    case RADIO_CAPABILITIES:
      return decode(in, make_body<RadioCapabilities>(node));
    case HT_CAPABILITIES:
      return decode(in, make_body<HTCapabilities>(node));
    case VHT_CAPABILITIES:
      return decode(in, make_body<VHTCapabilities>(node));
    case CHANNEL_PREFERENCES:
      return decode(in, make_body<ChannelPreferences>(node));
    case RESTRICTION:
      return decode(in, make_body<Restriction>(node));
    case AP_CAPABILITY:
      return decode(in, make_body<APCapability>(node));
    default:
      return false;
  }
}

template <class Body>
void destroy_with_arrays(void* body) {
  clear(*static_cast<Body*>(body));
  delete static_cast<Body*>(body);
}

void destroy_body(Node& node) {
  switch (node.type) {
    case END:
      delete static_cast<EndOfMessage*>(node.body);
      break;
    case DEVICE: {
      auto* device = static_cast<DeviceInformation*>(node.body);
      delete[] device->interfaces;
      delete device;
      break;
    }
    case BRIDGING: {
      auto* bridging = static_cast<BridgingCapability*>(node.body);
      for (std::uint8_t i = 0; i < bridging->count; ++i) {
        delete[] bridging->tuples[i].macs;
      }
      delete[] bridging->tuples;
      delete bridging;
      break;
    }
    case NON_1905: {
      auto* list = static_cast<NonIEEE1905Neighbors*>(node.body);
      delete[] list->macs;
      delete list;
      break;
    }
    case NEIGHBOR: {
      auto* list = static_cast<IEEE1905Neighbors*>(node.body);
      delete[] list->neighbors;
      delete list;
      break;
    }
    case TRANSMITTER: {
      auto* metrics = static_cast<LinkMetrics<TransmitterLink>*>(node.body);
      delete[] metrics->links;
      delete metrics;
      break;
    }
    case RECEIVER: {
      auto* metrics = static_cast<LinkMetrics<ReceiverLink>*>(node.body);
      delete[] metrics->links;
      delete metrics;
      break;
    }
    case RADIO_CAPABILITIES:
      destroy_with_arrays<RadioCapabilities>(node.body);
      break;
    case HT_CAPABILITIES:
      delete static_cast<HTCapabilities*>(node.body);
      break;
    case VHT_CAPABILITIES:
      delete static_cast<VHTCapabilities*>(node.body);
      break;
    case CHANNEL_PREFERENCES:
      destroy_with_arrays<ChannelPreferences>(node.body);
      break;
    case RESTRICTION:
      destroy_with_arrays<Restriction>(node.body);
      break;
    case AP_CAPABILITY:
      delete static_cast<APCapability*>(node.body);
      break;
    default:
      break;
  }
}

std::size_t size_of(const Node& node) {
  switch (node.type) {
    case DEVICE: {
      const auto* device = static_cast<const DeviceInformation*>(node.body);
      std::size_t size = 7;
      for (std::uint8_t i = 0; i < device->count; ++i) {
        const std::uint8_t type = device->interfaces[i].type;
        size += type == 1 ? 19U : type == 2 ? 16U : 9U;
      }
      return size;
    }
    case BRIDGING: {
      const auto* bridging = static_cast<const BridgingCapability*>(node.body);
      std::size_t size = 1;
      for (std::uint8_t i = 0; i < bridging->count; ++i) {
        size += 1 + bridging->tuples[i].count * sizeof(Mac);
      }
      return size;
    }
    case NON_1905:
      return 6 + static_cast<const NonIEEE1905Neighbors*>(node.body)->count * 6;
    case NEIGHBOR:
      return 6 + static_cast<const IEEE1905Neighbors*>(node.body)->count * 7;
    case TRANSMITTER:
      return 12 + static_cast<const LinkMetrics<TransmitterLink>*>(node.body)->count * 29;
    case RECEIVER:
      return 12 + static_cast<const LinkMetrics<ReceiverLink>*>(node.body)->count * 23;
    case RADIO_CAPABILITIES:
      return size_of(*static_cast<const RadioCapabilities*>(node.body));
    case HT_CAPABILITIES:
      return 7;
    case VHT_CAPABILITIES:
      return 12;
    case CHANNEL_PREFERENCES:
      return size_of(*static_cast<const ChannelPreferences*>(node.body));
    case RESTRICTION:
      return size_of(*static_cast<const Restriction*>(node.body));
    case AP_CAPABILITY:
      return 1;
    default:
      return 0;
  }
}

std::uint8_t* encode_device(const DeviceInformation& device, std::uint8_t* p) {
  std::memcpy(p, &device.al_mac, 6);
  p[6] = device.count;
  p += 7;
  for (std::uint8_t i = 0; i < device.count; ++i) {
    const Interface& interface = device.interfaces[i];
    std::memcpy(p, &interface.mac, 6);
    p[6] = interface.type;
    p[7] = interface.mode;
    p += 9;
    if (interface.type == 1) {
      p[-1] = 10;
      std::memcpy(p, &interface.wlan.bssid, 6);
      p[6] = interface.wlan.role;
      p[7] = interface.wlan.band;
      p[8] = interface.wlan.center_freq_1;
      p[9] = interface.wlan.center_freq_2;
      p += 10;
    } else if (interface.type == 2) {
      p[-1] = 7;
      std::memcpy(p, interface.plc_nid, 7);
      p += 7;
    } else {
      p[-1] = 0;
    }
  }
  return p;
}

std::uint8_t* encode_bridging(const BridgingCapability& bridging, std::uint8_t* p) {
  *p++ = bridging.count;
  for (std::uint8_t i = 0; i < bridging.count; ++i) {
    const BridgingTuple& tuple = bridging.tuples[i];
    *p++ = tuple.count;
    copy(p, tuple.macs, tuple.count * sizeof(Mac));
    p += tuple.count * sizeof(Mac);
  }
  return p;
}

std::uint8_t* encode_neighbors(const IEEE1905Neighbors& list, std::uint8_t* p) {
  std::memcpy(p, &list.local, 6);
  p += 6;
  for (std::size_t i = 0; i < list.count; ++i, p += 7) {
    std::memcpy(p, &list.neighbors[i].al_mac, 6);
    p[6] = list.neighbors[i].bridge;
  }
  return p;
}

std::uint8_t* encode_transmitter(const LinkMetrics<TransmitterLink>& metrics, std::uint8_t* p) {
  std::memcpy(p, &metrics.local, 6);
  std::memcpy(p + 6, &metrics.neighbor, 6);
  p += 12;
  for (std::size_t i = 0; i < metrics.count; ++i, p += 29) {
    const TransmitterLink& link = metrics.links[i];
    std::memcpy(p, &link.receiving, 6);
    std::memcpy(p + 6, &link.neighbor, 6);
    p[12] = link.type;
    p[13] = link.mode;
    p[14] = link.bridge;
    store32(p + 15, link.errors);
    store32(p + 19, link.packets);
    store16(p + 23, link.capacity);
    store16(p + 25, link.availability);
    store16(p + 27, link.phy_rate);
  }
  return p;
}

std::uint8_t* encode_receiver(const LinkMetrics<ReceiverLink>& metrics, std::uint8_t* p) {
  std::memcpy(p, &metrics.local, 6);
  std::memcpy(p + 6, &metrics.neighbor, 6);
  p += 12;
  for (std::size_t i = 0; i < metrics.count; ++i, p += 23) {
    const ReceiverLink& link = metrics.links[i];
    std::memcpy(p, &link.receiving, 6);
    std::memcpy(p + 6, &link.neighbor, 6);
    p[12] = link.type;
    p[13] = link.mode;
    store32(p + 14, link.errors);
    store32(p + 18, link.packets);
    p[22] = link.rcpi;
  }
  return p;
}

std::uint8_t* encode_body(const Node& node, std::uint8_t* p) {
  switch (node.type) {
    case DEVICE:
      return encode_device(*static_cast<const DeviceInformation*>(node.body), p);
    case BRIDGING:
      return encode_bridging(*static_cast<const BridgingCapability*>(node.body), p);
    case NON_1905: {
      const auto& list = *static_cast<const NonIEEE1905Neighbors*>(node.body);
      std::memcpy(p, &list.local, 6);
      copy(p + 6, list.macs, list.count * 6);
      return p + 6 + list.count * 6;
    }
    case NEIGHBOR:
      return encode_neighbors(*static_cast<const IEEE1905Neighbors*>(node.body), p);
    case TRANSMITTER:
      return encode_transmitter(*static_cast<const LinkMetrics<TransmitterLink>*>(node.body), p);
    case RECEIVER:
      return encode_receiver(*static_cast<const LinkMetrics<ReceiverLink>*>(node.body), p);
    case RADIO_CAPABILITIES:
      return encode(*static_cast<const RadioCapabilities*>(node.body), p);
    case HT_CAPABILITIES:
      return encode(*static_cast<const HTCapabilities*>(node.body), p);
    case VHT_CAPABILITIES:
      return encode(*static_cast<const VHTCapabilities*>(node.body), p);
    case CHANNEL_PREFERENCES:
      return encode(*static_cast<const ChannelPreferences*>(node.body), p);
    case RESTRICTION:
      return encode(*static_cast<const Restriction*>(node.body), p);
    case AP_CAPABILITY:
      return encode(*static_cast<const APCapability*>(node.body), p);
    default:
      return p;
  }
}

}  // namespace

bool decode(std::span<const std::uint8_t> octets, Message& message) {
  Cursor in{octets.data(), octets.data() + octets.size()};
  if (!in.has(8)) {
    return false;
  }
  message = {in.p[0], load16(in.p + 2), load16(in.p + 4), in.p[6], in.p[7], nullptr};
  in.p += 8;
  Node** last = &message.first;
  while (in.has(3)) {
    auto* node = new Node{nullptr, in.p[0], nullptr};
    *last = node;
    last = &node->next;
    const std::size_t length = load16(in.p + 1);
    in.p += 3;
    if (!decode_body(in, length, *node)) {
      break;
    }
    if (node->type == END) {
      return true;
    }
  }
  destroy(message);
  return false;
}

void destroy(Message& message) {
  for (Node* node = message.first; node != nullptr;) {
    Node* next = node->next;
    destroy_body(*node);
    delete node;
    node = next;
  }
  message.first = nullptr;
}

std::size_t encode(const Message& message, std::span<std::uint8_t> room) {
  if (room.size() < 8) {
    return 0;
  }
  std::uint8_t* p = room.data();
  std::uint8_t* const end = p + room.size();
  p[0] = message.version;
  p[1] = 0;
  store16(p + 2, message.type);
  store16(p + 4, message.id);
  p[6] = message.fragment_id;
  p[7] = message.flags;
  p += 8;
  for (const Node* node = message.first; node != nullptr; node = node->next) {
    const std::size_t length = size_of(*node);
    if (length > 0xFFFF || static_cast<std::size_t>(end - p) < 3 + length) {
      return 0;
    }
    p[0] = node->type;
    store16(p + 1, static_cast<std::uint16_t>(length));
    p = encode_body(*node, p + 3);
  }
  return static_cast<std::size_t>(p - room.data());
}

}  // namespace plain
