#include "tools/meshd/entity/entity.h"

#include "qel/ieee1905_1/framework_tlvs.h"
#include "qel/ieee1905_1/vendor/qel_message_type_tlv.h"
#include "tests/support/testing.h"
#include "tests/tools/meshd/wire.h"
#include "tools/meshd/entity/messages.h"

namespace meshd::test {
namespace {

using namespace qel::ieee1905_1;
using enum MessageType;

const TimePoint START{};

std::string text_of(const Message& message) {
  std::ostringstream os;
  os << message;
  return os.str();
}

/// A message of the type that holds only its end.
Message bare(MessageType type, std::uint16_t id, bool relay = false) {
  Message message(MessageHead(MessageVersion::IEEE1905_1, type, id, 0, true, relay));
  message.get_list().add_TLV(std::make_unique<EndOfMessageTLV>());
  return message;
}

std::vector<MessageType> types_of(const std::vector<SentFrame>& frames) {
  std::vector<MessageType> types;
  for (const SentFrame& frame : frames) {
    types.push_back(frame.type());
  }
  return types;
}

/// What the device sends upon a message.
std::vector<SentFrame> answers(Device& device, const Octets& frame, std::size_t interface = 0, TimePoint at = START) {
  device.entity.receive(interface, frame, at);
  return device.ports.take();
}

/// The first that a neighbour says, over the first interface.
Octets discovery(std::uint8_t number) {
  const auto interface = interface_mac(static_cast<std::uint8_t>(number * 16U + 1));
  return frame_of(topology_discovery(device_mac(number), interface), device_mac(number));
}

/// From device 2 to device 1, with the TLVs as they are.
Octets frame_with(MessageType type, const Octets& tlvs, std::size_t padding = 0) {
  Octets frame = frame_of(bare(type, 7), device_mac(2), device_mac(1));
  frame.resize(ETHER_HEADER_SIZE + MESSAGE_HEAD_SIZE);
  frame.insert(frame.end(), tlvs.begin(), tlvs.end());
  frame.resize(frame.size() + padding);
  return frame;
}

Octets link_metric_query_with(const Octets& body, std::size_t padding = 0) {
  Octets tlvs{8, 0, static_cast<std::uint8_t>(body.size())};
  tlvs.insert(tlvs.end(), body.begin(), body.end());
  tlvs.insert(tlvs.end(), END_OF_MESSAGE_SIZE, 0);
  return frame_with(LINK_METRIC_QUERY_MESSAGE, tlvs, padding);
}

TEST(Entity, TwoMeetAndTellEachOtherAll) {
  Device left(1, 2);
  Device right(2);
  right.ports.states[0] = {1000, 1, 2000, 2, 2500, true};
  left.entity.announce(START);
  const std::vector<SentFrame>& announced = left.ports.sent;
  ASSERT_THAT(announced, SizeIs(2));
  EXPECT_NE(announced[0].id(), announced[1].id()) << "else one who sees both takes the second for a duplicate";
  EXPECT_EQ(announced[1].interface, 1U);
  EXPECT_EQ(announced[1].destination(), qel::MACAddress("01:80:C2:00:00:13"));
  EXPECT_EQ(announced[1].source(), device_mac(1));
  EXPECT_THAT(text_of(announced[1].message()),
              HasSubstr(" FID: 0 LastFragment: true Relay: false\n\ttype: AL_MAC_ADDRESS mac: 02:19:05:A0:00:01"
                        "\n\ttype: MAC_ADDRESS mac: 02:19:05:10:00:12\n\ttype: END_OF_MESSAGE"));

  carry({{left, 0, right, 0}}, START);
  for (const auto& [device, other] : {std::pair(&left, &right), std::pair(&right, &left)}) {
    const qel::MACAddress other_mac = other->entity.config().al_mac;
    EXPECT_THAT(device->ports.events, ElementsAre("found " + other_mac.to_string() + " on 0"));
    const Neighbor* neighbor = device->entity.neighbors().find(other_mac);
    ASSERT_NE(neighbor, nullptr);
    const ToldByDevice& told = device->entity.devices().find(other_mac)->told;
    EXPECT_EQ(told.meshd_version, other->entity.config().version);
    EXPECT_EQ(told.interfaces.at(0).get_mac(), neighbor->links[0].mac);
    EXPECT_FALSE(neighbor->links[0].is_bridged);
    EXPECT_EQ(device->entity.counts().rejected, 0U);
  }
  const ToldByDevice& told = left.entity.devices().find(device_mac(2))->told;
  EXPECT_THAT(told.neighbor_al_macs(), ElementsAre(device_mac(1)));
  std::ostringstream text;
  text << told.transmitter_metrics.at(0) << told.receiver_metrics.at(0);
  EXPECT_THAT(text.str(), HasSubstr("packetErrors: 2 transmittedPackets: 2000 macThroughputCapacity: 2500 "
                                    "linkAvailability: 100 phyRate: 2500"));
  EXPECT_THAT(text.str(), HasSubstr("packetErrors: 1 packetsReceived: 1000 rcpi: 255"));
}

TEST(Entity, TellsOfANewAddressAndForgetsTheOldOneOfANeighbor) {
  Device left(1);
  Device right(2);
  const std::vector<Cable> cable{{left, 0, right, 0}};
  left.entity.announce(START);
  carry(cable, START);
  right.entity.tend(START);
  right.ports.take();
  right.entity.replace_interface(0, {"eth0", interface_mac(0x77), ""});
  right.entity.tend(START);
  EXPECT_THAT(types_of(right.ports.sent), ElementsAre(TOPOLOGY_DISCOVERY_MESSAGE, TOPOLOGY_NOTIFICATION_MESSAGE));
  carry(cable, START);
  left.entity.tend(START);  // asks for what is new
  carry(cable, START);
  const auto later = START + std::chrono::seconds(200);
  right.entity.announce(later);
  carry(cable, later);
  left.entity.tend(later);
  const auto& links = left.entity.neighbors().find(device_mac(2))->links;
  ASSERT_THAT(links, SizeIs(1));
  EXPECT_EQ(links[0].mac, interface_mac(0x77));
  left.entity.disconnect(0);
  EXPECT_THAT(left.entity.neighbors().all(), IsEmpty());
}

TEST(Entity, AnswersATopologyQueryWithItsIdentifierToItsSender) {
  Entity::Config config = Device::config(1, 3, std::chrono::seconds(1));
  config.interfaces[0].bridge = config.interfaces[2].bridge = "br0";
  RecordingPorts ports;
  ports.states[1].speed = 100;
  Entity entity(config, ports);
  entity.receive(1, discovery(2), START);
  ports.take();
  entity.receive(2, frame_of(bare(TOPOLOGY_QUERY_MESSAGE, 0x60CC), device_mac(9), device_mac(1)), START);
  const std::vector<SentFrame> sent = ports.take();
  ASSERT_THAT(sent, SizeIs(1));
  EXPECT_EQ(sent[0].interface, 2U);
  EXPECT_EQ(sent[0].destination(), device_mac(9));
  EXPECT_EQ(text_of(sent[0].message()),
            "Type: TOPOLOGY_RESPONSE_MESSAGE version: IEEE1905_1 MID: 24780 FID: 0 LastFragment: true Relay: false"
            "\n\ttype: DEVICE_INFORMATION AL MAC: 02:19:05:A0:00:01"
            "\n\tInterfaceInformation: mac: 02:19:05:10:00:11 type: ETHERNET mode: GIGABIT_ETHERNET"
            " media-specific: <no media-specific information>"
            "\n\tInterfaceInformation: mac: 02:19:05:10:00:12 type: ETHERNET mode: FAST_ETHERNET"
            " media-specific: <no media-specific information>"
            "\n\tInterfaceInformation: mac: 02:19:05:10:00:13 type: ETHERNET mode: GIGABIT_ETHERNET"
            " media-specific: <no media-specific information>"
            "\n\ttype: DEVICE_BRIDGING_CAPABILITY\n\t{02:19:05:10:00:11 02:19:05:10:00:13}"
            "\n\ttype: IEEE1905_NEIGHBOR_DEVICE LOCAL MAC: 02:19:05:10:00:12"
            "\tAL_MAC: 02:19:05:A0:00:02 IEEE802_1_bridge: IEEE802_1_BRIDGE"
            "\n\ttype: VENDOR_SPECIFIC Vendor OUI:  [ 0x2 0x51 0x4c ]"
            "\n\ttype: QEL_MESHD_VERSION_TLV QEL Meshd Version: 0.1"
            "\n\ttype: END_OF_MESSAGE");
}

WlanInterface wlan(WLANInterfaceRole1905_1 role, const qel::MACAddress& bssid, std::vector<qel::MACAddress> peers) {
  WlanInterface result{WLANMode1905_1::AX, {}, std::move(peers)};
  result.information.set_role(role);
  result.information.set_bssid(bssid);
  result.information.set_band(2);
  result.information.set_center_freq_1(42);
  return result;
}

/// An access point has a phone and, on an interface of its own, a backhaul station. A repeater is that station.
TEST(Entity, ReportsItsRadiosAndWhoIsAtTheirOtherEnd) {
  using enum WLANInterfaceRole1905_1;
  Device ap(1, 3);
  Device repeater(2);
  const qel::MACAddress bssid = interface_mac(0x11);
  const qel::MACAddress station = interface_mac(0x21);
  const qel::MACAddress phone = mac(0x55, 1);
  ap.entity.replace_interface(0, {"wlan0", bssid, "br0", wlan(AP, bssid, {phone, mac(0x55, 2)})});
  ap.entity.replace_interface(1, {"wlan0.sta1", bssid, "br0", wlan(AP, bssid, {station})});
  ap.ports.states[0].links[phone] = {11, 12, 13, 14, 15, 16, 17};
  ap.ports.states[1].links[station] = {21, 22, 23, 24, 866, 433, 97};
  ap.ports.states[1].availability = 60;
  ap.ports.hosts[0] = {mac(0x55, 2), mac(0x55, 4)};
  ap.ports.hosts[1] = {station, mac(0x55, 3)};  // the latter is behind the repeater
  repeater.entity.replace_interface(0, {"wlan0", station, "", wlan(STA, bssid, {bssid})});
  repeater.ports.states[0].links[mac(0x77, 7)] = {31, 32, 33, 34, 35, 36, 37};  // the only one, whatever its address
  const std::vector<Cable> air{{ap, 1, repeater, 0}};
  for (Device* device : {&ap, &repeater}) {
    device->entity.announce(START);
    carry(air, START);
  }
  const struct {
    Device& asked;
    std::vector<const char*> told;
  } rows[] = {
      {ap,
       {"mac: 02:19:05:10:00:11 type: WLAN mode: AX media-specific: WLAN bssid: 02:19:05:10:00:11 role AP band 2"
        " ctrFreqIdx1 42 ctrFreqIdx2 0\n\tInterfaceInformation: mac: 02:19:05:10:00:13 type: ETHERNET",
        "DEVICE_LIST LOCAL MAC: "
        "02:19:05:10:00:11\t{02:19:05:55:00:01}\t{02:19:05:55:00:02}\t{02:19:05:55:00:04}\n\ttype: IEEE1905_NEIGHBOR_"
        "DEVICE LOCAL MAC: 02:19:05:10:00:11\tAL_MAC: 02:19:05:A0:00:02 IEEE802_1_bridge: NO",
        "intfType: WLAN AX IEEE802.1BridgeFlag: NO_IEEE802_1_BRIDGE packetErrors: 24 transmittedPackets: 23"
        " macThroughputCapacity: 433 linkAvailability: 60 phyRate: 866",
        "intfType: WLAN AX packetErrors: 22 packetsReceived: 21 rcpi: 97"}},
      {repeater,
       {"mac: 02:19:05:10:00:21 type: WLAN mode: AX media-specific: WLAN bssid: 02:19:05:10:00:11 role STA band 2",
        "packetErrors: 34 transmittedPackets: 33 macThroughputCapacity: 36 linkAvailability: 100 phyRate: 35",
        "intfType: WLAN AX packetErrors: 32 packetsReceived: 31 rcpi: 37"}},
  };
  for (const auto& row : rows) {
    std::string told;
    const auto& al_mac = row.asked.entity.config().al_mac;
    for (const Octets& query :
         {frame_of(bare(TOPOLOGY_QUERY_MESSAGE, 7), device_mac(9), al_mac),
          frame_of(link_metric_query(&row.asked == &ap ? device_mac(2) : device_mac(1)), device_mac(9), al_mac)}) {
      for (const SentFrame& frame : answers(row.asked, query)) {
        told += text_of(frame.message());
      }
    }
    for (const char* part : row.told) {
      EXPECT_THAT(told, HasSubstr(part));
    }
    EXPECT_THAT(told, Not(HasSubstr("DEVICE_BRIDGING"))) << "the ports of one access point are one interface";
  }
  EXPECT_THAT(repeater.entity.find_hosts(START)[0], IsEmpty()) << "the access point is a device";

  ap.entity.tend(START);
  ap.ports.take();
  for (const std::size_t notifications : {1U, 0U}) {  // the channel has changed; nothing has
    WlanInterface moved = wlan(AP, bssid, {phone});
    moved.information.set_center_freq_1(155);
    ap.entity.set_wlan(0, moved);
    EXPECT_THAT(ap.ports.take(), IsEmpty());
    ap.entity.tend(START);
    EXPECT_EQ(std::ranges::count(types_of(ap.ports.take()), TOPOLOGY_NOTIFICATION_MESSAGE),
              static_cast<std::ptrdiff_t>(3 * notifications));
  }
}

TEST(Entity, AnswersALinkMetricQueryOfAnyLengthForWhatItAsks) {
  Device device(1);
  answers(device, discovery(2));
  answers(device, discovery(3));
  const struct {
    Octets body;
    std::vector<int> tlv_types;
  } rows[] = {{{0, 0, 0, 0, 0, 0, 0, 2}, {9, 10, 9, 10, 0}},
              {{0, 2}, {9, 10, 9, 10, 0}},  // as others send it
              {{0, 1}, {10, 10, 0}},
              {{1, 2, 0x19, 5, 0xA0, 0, 3, 0}, {9, 0}},
              {{1, 2, 0x19, 5, 0xA0, 0, 3, 1}, {10, 0}},
              {{1, 2, 0x19, 5, 0xA0, 0, 4, 2}, {12, 0}},
              {{2, 0, 0, 0, 0, 0, 0, 2}, {}},
              {{0, 0, 0, 0, 0, 0, 0, 3}, {}},
              {{1, 2}, {}},
              {{0, 2, 0}, {}},
              {{}, {}}};
  for (const auto& row : rows) {
    for (const std::size_t padding : {0U, 40U}) {
      std::vector<int> tlv_types;
      for (const SentFrame& frame : answers(device, link_metric_query_with(row.body, padding))) {
        const Message response = frame.message();
        for (const auto& tlv : response.get_list().get_TLV_list()) {
          tlv_types.push_back(static_cast<int>(tlv->get_type()));
        }
      }
      EXPECT_EQ(tlv_types, row.tlv_types) << &row - rows << " with padding " << padding;
    }
  }
  EXPECT_EQ(device.entity.counts().rejected, 10U);
}

TEST(Entity, TellsOfMoreThanAFrameHoldsInFragmentsAndUnderstandsThem) {
  Entity::Config config = Device::config(1, Entity::MAX_INTERFACES, std::chrono::seconds(180));
  for (std::size_t i = 0; i < config.interfaces.size(); ++i) {
    config.interfaces[i].bridge = "br" + std::to_string(i / 2);
  }
  RecordingPorts ports;
  Entity entity(config, ports);
  const auto wide_mac = [](std::uint8_t kind, std::size_t i) {
    return qel::MACAddress(
        {2, 0x19, 5, kind, static_cast<std::uint8_t>(i / 200 + 1), static_cast<std::uint8_t>(i % 200)});
  };
  for (std::size_t i = 0; i < Limits().links - 1; ++i) {
    const auto al_mac = wide_mac(0xA0, i);
    entity.receive(i % 2, frame_of(topology_discovery(al_mac, wide_mac(0x10, i)), al_mac), START);
  }
  for (std::size_t i = 0; i < Entity::MAX_INTERFACES; ++i) {
    entity.set_blocked(i, i > 1);
    ports.hosts[i].assign(i == 4 ? 0 : 300, interface_mac(0x99));
  }
  Device asker(2);
  ports.take();
  entity.announce(START);
  const auto pass = [&](Entity& to, std::vector<SentFrame> frames) {
    for (const SentFrame& frame : frames) {
      if (frame.interface == 0 &&
          (frame.destination() == to.config().al_mac || frame.destination() == CMDU_MULTICAST_ADDRESS)) {
        to.receive(0, frame.octets, START);
      }
    }
  };
  for (int round = 0; round < 3; ++round) {
    pass(asker.entity, ports.take());
    pass(entity, asker.ports.take());
  }
  EXPECT_GT(asker.entity.counts().fragments, 2U);
  EXPECT_EQ(asker.entity.counts().incomplete, 0U);
  const ToldByDevice& told = asker.entity.devices().find(device_mac(1))->told;
  EXPECT_THAT(told.interfaces, SizeIs(Entity::MAX_INTERFACES));
  EXPECT_THAT(told.neighbor_al_macs(), SizeIs(Limits().links));
  EXPECT_THAT(told.blocked_interfaces, SizeIs(Entity::MAX_INTERFACES - 2));
  EXPECT_THAT(told.bridges, SizeIs(Entity::MAX_INTERFACES / 2));
  EXPECT_THAT(told.hosts, SizeIs(7)) << "300, 300, 300 and 124";

  entity.receive(0, link_metric_query_with({0, 2}), START);
  EXPECT_THAT(ports.take(), SizeIs(testing::Gt(10U))) << "links";
}

TEST(Entity, RelaysOnceUnchangedToTheOtherInterfaces) {
  Device device(1, 3);
  const Octets notification = frame_of(topology_notification(device_mac(9)), device_mac(8));
  const std::vector<SentFrame> sent = answers(device, notification, 1);
  ASSERT_THAT(sent, SizeIs(2));
  EXPECT_EQ(sent[0].interface, 0U);
  EXPECT_EQ(sent[1].interface, 2U);
  EXPECT_EQ(sent[0].octets, notification);
  EXPECT_EQ(sent[1].octets, notification);

  // Back over another way and from another relay: it is known by its originator.
  Octets other_relay = notification;
  other_relay[11] = 7;
  EXPECT_THAT(answers(device, notification, 2), IsEmpty());
  EXPECT_THAT(answers(device, other_relay, 2), IsEmpty());
  EXPECT_EQ(device.entity.counts().duplicates, 2U);
  EXPECT_EQ(device.entity.counts().relayed, 1U);

  answers(device, discovery(9), 1);
  for (std::size_t count = 0; count < DuplicateFilter::ROOM_OF_ORIGINATOR; ++count) {
    answers(device, frame_of(topology_notification(device_mac(9)), device_mac(9)), 1);
  }
  EXPECT_EQ(device.entity.counts().relayed, DuplicateFilter::ROOM_OF_ORIGINATOR);
  EXPECT_EQ(device.entity.counts().unrelayed, 1U);
  EXPECT_EQ(device.entity.counts().processed, DuplicateFilter::ROOM_OF_ORIGINATOR + 2) << "relayed or not";
}

TEST(Entity, RelaysWhatItCannotDecodeButNotWhatIsNotToBeRelayed) {
  constexpr auto SEARCH = AP_AUTOCONFIGURATION_SEARCH_MESSAGE;
  Device device(1, 2);
  Octets unknown_tlv = frame_of(bare(TOPOLOGY_NOTIFICATION_MESSAGE, 5, true), device_mac(9));
  unknown_tlv[22] = 17;  // the type of the first TLV: one without a class
  EXPECT_THAT(answers(device, unknown_tlv), SizeIs(1));
  EXPECT_THAT(device.ports.events, ElementsAre("rejected: MISSING_END at offset 11"));
  EXPECT_THAT(answers(device, frame_of(bare(SEARCH, 6, true), device_mac(9))), SizeIs(1));
  EXPECT_THAT(answers(device, frame_of(bare(SEARCH, 7), device_mac(9))), IsEmpty());
  EXPECT_THAT(answers(device, frame_of(bare(SEARCH, 8, true), device_mac(9), device_mac(1))), IsEmpty());
  EXPECT_THAT(answers(device, frame_of(topology_notification(device_mac(1)), device_mac(9))), IsEmpty());
  EXPECT_THAT(answers(device, frame_of(topology_notification(device_mac(9)), device_mac(1))), IsEmpty());
  EXPECT_EQ(device.entity.counts().own, 2U);
}

TEST(Entity, AnswersNothingThatIsNotForItOrMeansNothingToIt) {
  Device device(1, 2);
  const auto changed = [query = frame_of(topology_query(), device_mac(2), device_mac(1))](
                           std::size_t place, std::uint8_t value, std::size_t size) {
    Octets octets = query;
    octets[place] = value;
    octets.resize(size);
    return octets;
  };
  Message fragment = topology_query();
  fragment.get_head().set_fragment_id(1);
  const Octets silent[] = {
      frame_of(topology_query(), device_mac(2), device_mac(3)),
      frame_of(topology_query(), device_mac(2), interface_mac(0x12)),  // of its other interface
      changed(12, 0x89, 21),
      changed(12, 0x89, 22),
      {},
      changed(13, 0, 60),  // another ethertype
      changed(6, 3, 60),   // from a group
      frame_of(bare(AP_CAPABILITY_QUERY_MESSAGE, 70), device_mac(2), device_mac(1)),
      frame_of(bare(MessageType(0x1234), 71), device_mac(2), device_mac(1)),
      frame_of(fragment, device_mac(2), device_mac(1)),
      frame_of(bare(TOPOLOGY_DISCOVERY_MESSAGE, 72), device_mac(2)),
      frame_of(topology_discovery(qel::MACAddress(), interface_mac(0x21)), device_mac(2)),
      frame_of(topology_discovery(device_mac(2), CMDU_MULTICAST_ADDRESS), device_mac(2)),
  };
  for (const Octets& octets : silent) {
    EXPECT_THAT(answers(device, octets), IsEmpty()) << &octets - silent;
  }
  EXPECT_THAT(device.entity.neighbors().all(), IsEmpty());
  EXPECT_THAT(device.ports.events, ElementsAre("rejected: MISSING_END at offset 8", "rejected: no AL_MAC_ADDRESS"));
  EXPECT_EQ(device.entity.counts().foreign, 2U);
  EXPECT_EQ(device.entity.counts().fragments, 1U);

  EXPECT_THAT(answers(device, frame_of(topology_query(), device_mac(2), interface_mac(0x11))), SizeIs(1));
}

TEST(Entity, BelievesOnlyWhomItAskedAndOnlyAboutThemselves) {
  const struct {
    const char* answer;
    int id;  // counted from the question's
    qel::MACAddress source;
    std::uint8_t about;
    bool is_believed;
  } rows[] = {{"of the one asked", 0, device_mac(2), 2, true},
              {"from its interface, which another claims to have", 0, interface_mac(0x21), 2, true},
              {"to no question", -100, device_mac(2), 2, false},
              {"about another", 0, device_mac(2), 3, false},
              {"of another neighbor", 0, device_mac(3), 2, false},
              {"of a stranger", 0, device_mac(9), 2, false}};
  for (const auto& row : rows) {
    Device asked(2);
    answers(asked, discovery(1));
    Device device(1);
    answers(device, frame_of(topology_discovery(device_mac(4), interface_mac(0x21)), device_mac(4)));
    const std::vector<SentFrame> sent = answers(device, discovery(2));
    answers(device, discovery(3));
    ASSERT_THAT(sent, SizeIs(4));
    const auto id = [&](std::size_t place) { return static_cast<std::uint16_t>(sent[place].id() + row.id); };
    const std::vector<LocalInterface>& interfaces = asked.entity.config().interfaces;
    const TimePoint later = START + std::chrono::seconds(1);
    const Message topology =
        topology_response(id(1), {device_mac(row.about), {}, interfaces, {{}}, {{}}, {}, asked.entity.neighbors()});
    const std::vector<SentFrame> next = answers(device, frame_of(topology, row.source, device_mac(1)), 0, later);
    EXPECT_THAT(next, SizeIs(row.is_believed ? 1 : 0)) << row.answer;
    const Message metrics =
        link_metric_response(row.is_believed ? next.at(0).id() : id(1), {{}, LinkMetricQuery::TX_RX_LINK_METRY},
                             device_mac(row.about), interfaces, {{}}, asked.entity.neighbors());
    answers(device, frame_of(metrics, row.source, device_mac(1)), 0, later);
    EXPECT_EQ(device.entity.counts().unasked, row.is_believed ? 0U : 2U) << row.answer;
    for (const auto& [al_mac, known] : device.entity.devices().all()) {
      const bool is_it = row.is_believed && al_mac == device_mac(2);
      EXPECT_EQ(known.answered_at.has_value(), is_it) << row.answer << ' ' << al_mac;
      EXPECT_EQ(known.told.transmitter_metrics.size(), is_it ? 1U : 0U) << row.answer << ' ' << al_mac;
    }
    device.entity.tend(START + std::chrono::seconds(181));
    EXPECT_EQ(device.entity.neighbors().find(device_mac(2)) != nullptr, row.is_believed || row.source == device_mac(2))
        << "alive? " << row.answer;
  }
}

TEST(Entity, LetsNobodyLiveAtTheAddressOfAnother) {
  Device device(1);
  const auto claim = [&](std::uint8_t al_mac, const qel::MACAddress& mac) {
    answers(device, frame_of(topology_discovery(device_mac(al_mac), mac), device_mac(al_mac)));
    return std::exchange(device.ports.events, {});
  };
  const std::string found = "found " + device_mac(2).to_string() + " on 0";
  const std::string lost = "lost " + device_mac(3).to_string();
  claim(3, device_mac(2));
  EXPECT_THAT(claim(2, interface_mac(0x21)), ElementsAre(lost, found)) << "the claim ends when the device is known";
  EXPECT_THAT(claim(3, device_mac(2)), IsEmpty());
  EXPECT_THAT(claim(3, device_mac(1)), IsEmpty()) << "ours";
  Device other(2);
  carry({{device, 0, other, 0}}, START);
  device.entity.announce(START + Inquiry::PATIENCE);
  carry({{device, 0, other, 0}}, START + Inquiry::PATIENCE);
  ASSERT_TRUE(device.entity.devices().find(device_mac(2))->answered_at);
  answers(device, frame_of(topology_discovery(interface_mac(0x21), interface_mac(0x31)), device_mac(3)));
  Message relayed = topology_discovery(device_mac(5), interface_mac(0x51));
  relayed.get_head().set_relay_indicator(true);
  answers(device, frame_of(relayed, device_mac(5)));
  EXPECT_THAT(device.entity.neighbors().all(), SizeIs(1)) << "it told that it lives there; who is far is no neighbor";
}

TEST(Entity, AnswersOnlyWhatItAloneIsAskedAndNobodyWithoutEnd) {
  Device device(1, Entity::MAX_INTERFACES);
  answers(device, discovery(2));
  const auto ask = [&](std::size_t interface, std::uint8_t source, TimePoint at) {
    std::size_t count = 0;
    for (std::uint8_t i = 0; i < 100; ++i) {
      const Message query = i % 2 == 0 ? topology_query() : link_metric_query(device_mac(2));
      const qel::MACAddress asker = device_mac(source == 0 ? 100 + i : source);
      count += answers(device, frame_of(query, asker, device_mac(1)), interface, at).size();
      EXPECT_THAT(answers(device, frame_of(query, asker), interface, at), IsEmpty()) << "to all";
    }
    return count;
  };
  constexpr auto STRANGERS = static_cast<std::size_t>(AnswerLimits::STRANGERS_AT_ONCE);
  EXPECT_EQ(ask(0, 2, START), 20U);
  EXPECT_EQ(ask(0, 0, START), STRANGERS) << "strangers, together";
  EXPECT_EQ(ask(1, 2, START), STRANGERS) << "not where that neighbor lives";
  EXPECT_EQ(device.entity.counts().unanswered, 3 * 100 - 20 - 2 * STRANGERS);
  const TimePoint later = START + std::chrono::seconds(1);
  EXPECT_EQ(ask(0, 2, later), 4U);
  std::size_t all = 0;
  for (std::size_t interface = 0; interface < Entity::MAX_INTERFACES; ++interface) {
    all += ask(interface, 0, later + std::chrono::hours(1));
  }
  EXPECT_EQ(all, static_cast<std::size_t>(AnswerLimits::IN_ALL_AT_ONCE) * 3 / 4);
  EXPECT_EQ(ask(0, 2, later + std::chrono::hours(1)), 20U) << "neighbors have a reserve";
}

TEST(Entity, AFloodOfDiscoveriesKeepsOutNobodyOnOtherInterfaces) {
  Device device(1, 2, std::chrono::seconds(180), {.links = 16});
  Device known(2);
  known.entity.announce(START);
  carry({{device, 0, known, 0}}, START);
  device.ports.events.clear();
  const auto claim = [&](std::uint8_t number) {
    answers(device, frame_of(topology_discovery(device_mac(number), interface_mac(number)), device_mac(number)), 1,
            START + std::chrono::milliseconds(number));
  };
  for (std::uint8_t number = 100; number < 120; ++number) {
    claim(number);
  }
  EXPECT_THAT(device.ports.events, SizeIs(16 - 1)) << "found as many as there was room for";
  device.ports.events.clear();
  answers(device, discovery(3));
  claim(120);
  EXPECT_THAT(device.ports.events,
              ElementsAre("lost " + device_mac(100).to_string(), "found " + device_mac(3).to_string() + " on 0"));
  EXPECT_NE(device.entity.neighbors().find(device_mac(2)), nullptr);
}

TEST(Entity, TellsTheMeshOnceThatItsLinksChangedAndLosesWhoIsSilent) {
  using std::chrono::seconds;
  Device device(1, 2, seconds(3));
  answers(device, discovery(2));
  answers(device, discovery(3));
  const auto tend = [&](int second) {
    device.entity.tend(START + seconds(second));
    std::vector<SentFrame> notifications = device.ports.take();
    std::erase_if(notifications, [](const SentFrame& frame) { return frame.type() != TOPOLOGY_NOTIFICATION_MESSAGE; });
    return notifications;
  };
  const std::vector<SentFrame> sent = tend(1);
  ASSERT_THAT(sent, SizeIs(2));
  EXPECT_EQ(sent[0].id(), sent[1].id()) << "one message over two interfaces";
  EXPECT_TRUE(sent[0].message().get_head().get_relay_indicator());
  EXPECT_THAT(tend(2), IsEmpty());

  // Any message keeps a link alive, but not one that may have come from farther away.
  answers(device, frame_of(topology_query(), device_mac(2), device_mac(9)), 0, START + seconds(2));
  answers(device, frame_of(topology_notification(device_mac(3)), device_mac(3)), 0, START + seconds(2));
  device.ports.events.clear();
  EXPECT_THAT(tend(4), SizeIs(2));
  EXPECT_THAT(device.ports.events, ElementsAre("lost " + device_mac(3).to_string()));
  EXPECT_THAT(device.entity.neighbors().all(), SizeIs(1));
}

TEST(Entity, TellsTheNeighborsThatItBlocksAnInterfaceAndLeavesItAlone) {
  Device device(1, 3);
  answers(device, discovery(2), 0);
  answers(device, discovery(3), 1);
  device.entity.tend(START);
  device.ports.take();
  device.ports.events.clear();
  device.entity.set_blocked(0, true);
  std::vector<SentFrame> sent = device.ports.take();
  ASSERT_THAT(sent, SizeIs(2)) << "those behind the interface are told as well";
  for (const SentFrame& frame : sent) {
    EXPECT_EQ(frame.destination(), device_mac(frame.interface == 0 ? 2 : 3));
    EXPECT_THAT(text_of(frame.message()), HasSubstr("QEL_BLOCKED_INTERFACE_LIST_MESSAGE"));
  }
  EXPECT_THAT(device.ports.events, ElementsAre("lost " + device_mac(2).to_string()));

  const auto interfaces_used = [&] {
    std::vector<std::size_t> used;
    for (const SentFrame& frame : device.ports.take()) {
      if (frame.destination() == CMDU_MULTICAST_ADDRESS) {
        used.push_back(frame.interface);
      }
    }
    return used;
  };
  device.entity.announce(START);
  EXPECT_THAT(interfaces_used(), ElementsAre(1, 2));
  device.entity.tend(START);
  EXPECT_THAT(interfaces_used(), ElementsAre(1, 2)) << "its links changed";
  device.entity.receive(1, frame_of(topology_notification(device_mac(9)), device_mac(3)), START);
  EXPECT_THAT(interfaces_used(), ElementsAre(2)) << "relayed";
  EXPECT_THAT(answers(device, discovery(2), 0), IsEmpty());
  EXPECT_THAT(device.entity.neighbors().all(), SizeIs(1));

  device.entity.set_blocked(0, false);
  sent = device.ports.take();
  EXPECT_THAT(types_of(sent), ElementsAre(VENDOR_SPECIFIC_MESSAGE, TOPOLOGY_DISCOVERY_MESSAGE));
  EXPECT_EQ(sent[1].interface, 0U);
}

TEST(Entity, KeepsWhatItsNeighborsBlock) {
  Device device(1);
  device.entity.receive(0, discovery(2), START);
  const auto tell = [&](const std::vector<QELBlockedInterface>& blocked, std::uint8_t sender) {
    device.entity.receive(0, frame_of(blocked_interface_list(blocked), device_mac(sender), device_mac(1)), START);
    return device.entity.devices().all().at(device_mac(2)).told.blocked_interfaces;
  };
  const QELBlockedInterface radio(InterfaceType::WLAN, interface_mac(0x22), "wlan7", 0x0201);
  const QELBlockedInterface port(InterfaceType::ETHERNET, interface_mac(0x23), "lan4", 0x0002);
  EXPECT_THAT(tell({radio, port}, 2), ElementsAre(radio, port));
  EXPECT_THAT(tell({port}, 3), SizeIs(2)) << "from no neighbor";
  EXPECT_THAT(tell({port}, 2), ElementsAre(port));
  EXPECT_THAT(tell({}, 2), IsEmpty());
}

TEST(Entity, TakesUpInterfacesAndGivesThemBack) {
  RecordingPorts ports;
  Entity entity(Device::config(1, 0, std::chrono::seconds(1)), ports);
  entity.receive(0, discovery(2), START);
  entity.announce(START);
  EXPECT_THAT(ports.take(), IsEmpty());
  for (std::size_t number = 0; number < 3; ++number) {
    EXPECT_EQ(entity.add_interface(
                  {"eth" + std::to_string(number), interface_mac(static_cast<std::uint8_t>(0x11 + number)), ""}),
              number);
    EXPECT_THAT(types_of(ports.take()), ElementsAre(TOPOLOGY_DISCOVERY_MESSAGE));
  }
  entity.receive(1, discovery(2), START);
  entity.set_blocked(1, true);
  entity.remove_interface(1);
  ports.take();
  EXPECT_THAT(ports.events,
              ElementsAre("found " + device_mac(2).to_string() + " on 1", "lost " + device_mac(2).to_string()));
  entity.announce(START);
  EXPECT_THAT(ports.take(), SizeIs(2));
  entity.receive(0, frame_of(bare(TOPOLOGY_QUERY_MESSAGE, 1), device_mac(9), device_mac(1)), START);
  EXPECT_THAT(text_of(ports.take().at(0).message()), testing::Not(HasSubstr("02:19:05:10:00:12")));
  EXPECT_EQ(entity.add_interface({"new", interface_mac(0x22), ""}), 1U);
  EXPECT_FALSE(entity.is_blocked(1));
  EXPECT_TRUE(entity.is_blocked(entity.add_interface({"eth1", interface_mac(0x12), ""}))) << "as it was when it left";
  EXPECT_THROW(entity.add_interface({}), std::invalid_argument);
  EXPECT_THROW(Entity(Device::config(1, Entity::MAX_INTERFACES + 1, {}), ports), std::invalid_argument);
}

}  // namespace
}  // namespace meshd::test
