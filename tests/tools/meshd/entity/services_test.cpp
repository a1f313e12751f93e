#include "tools/meshd/entity/services.h"

#include "qel/ieee1905_1/bss_tlvs.h"
#include "qel/ieee1905_1/client_tlvs.h"
#include "qel/ieee1905_1/framework_tlvs.h"
#include "qel/ieee1905_1/message_builder.h"
#include "qel/ieee1905_1/service_tlvs.h"
#include "tests/support/testing.h"
#include "tests/tools/meshd/wire.h"

namespace meshd::test {
namespace {

using namespace qel::ieee1905_1;
using enum MessageType;
using std::chrono::seconds;

const TimePoint START{};

/// Writes down what it gets, and sends one message to its own device for each Ack.
class Recorder final : public multi_ap::Service {
 public:
  Recorder(multi_ap::Mesh& mesh, ServiceType kind) : mesh_(mesh), kind_(kind) {}

  bool take(const multi_ap::Received& received) override {
    const MessageType type = received.message().get_head().get_message_type();
    if (type < IEEE1905_ACK_MESSAGE && type != TOPOLOGY_NOTIFICATION_MESSAGE) {
      return false;
    }
    EXPECT_FALSE(std::exchange(is_busy_, true)) << "called from within itself";
    taken.push_back(enum_to_string(type) + ' ' + received.from.to_string() + " on '" + received.interface + '\'' +
                    (received.is_to_all ? " to all" : "") + (received.is_backhaul ? " backhaul" : ""));
    count_of_clients = static_cast<std::size_t>(std::ranges::distance(received.message().all<ClientInfoTLV>()));
    if (type == IEEE1905_ACK_MESSAGE) {
      mesh_.send(mesh_.al_mac(), make_message(IEEE1905_ACK_MESSAGE, 1));
    }
    is_busy_ = false;
    return true;
  }
  void tend(TimePoint) override {}
  void add_to_topology_response(MessageBuilder& builder) const override {
    SupportedServiceTLV supported;
    supported.add_service(kind_);
    builder.add(supported);
    OperatedBSSClients bss(device_mac(9));
    for (std::size_t client = 0; client < clients_reported; ++client) {
      bss.add_associated_client({device_mac(static_cast<std::uint8_t>(client)), 1});
    }
    AssociatedClientsTLV clients;
    clients.add_operated_bss(bss);
    builder.add(clients);
  }
  void on_device(const qel::MACAddress& al_mac, bool is_there, TimePoint) override {
    taken.push_back((is_there ? "found " : "lost ") + al_mac.to_string());
  }

  std::vector<std::string> take_taken() { return std::exchange(taken, {}); }

  std::vector<std::string> taken;
  std::size_t count_of_clients = 0;
  std::size_t clients_reported = 1;

 private:
  multi_ap::Mesh& mesh_;
  ServiceType kind_;
  bool is_busy_ = false;
};

Message event(const qel::MACAddress& al_mac) {
  return MessageBuilder(TOPOLOGY_NOTIFICATION_MESSAGE)
      .relay()
      .add(ALMACAddressTLV(al_mac))
      .add(ClientAssociationEventTLV(device_mac(7), device_mac(8), true))
      .build();
}

TEST(Services, ReachDevicesBeyondNeighborsAndHearWhoCameAndWent) {
  Device left(1);
  Device middle(2, 2);
  Device right(3);
  Device* const all[] = {&left, &middle, &right};
  const auto carry_all = [&](TimePoint now) {  // the middle is a bridge too
    for (bool is_quiet = false; !is_quiet;) {
      is_quiet = true;
      for (std::size_t from = 0; from < 3; ++from) {
        for (const SentFrame& frame : all[from]->ports.take()) {
          is_quiet = false;
          const std::size_t next = from == 1 ? 2 * frame.interface : 1;
          const std::size_t to =
              frame.destination() == CMDU_MULTICAST_ADDRESS ? next : frame.destination().octets()[5] - 1U;
          all[to]->entity.receive(to == 1 ? from / 2 : 0, frame.octets, now);
        }
      }
    }
  };
  Recorder agent(left.entity.mesh(), ServiceType::MULTI_AP_AGENT);
  Recorder controller(right.entity.mesh(), ServiceType::MULTI_AP_CONTROLLER);
  left.entity.add_service(agent);
  right.entity.add_service(controller);
  EXPECT_FALSE(left.entity.mesh().send(device_mac(3), make_message(HIGHER_LAYER_DATA_MESSAGE, 1)));
  for (int second = 0; second < 3; ++second) {
    for (Device* device : all) {
      device->entity.announce(START + seconds(second));
      device->entity.tend(START + seconds(second));
      carry_all(START + seconds(second));
    }
  }
  const std::string at_left = device_mac(1).to_string();
  const std::string at_right = device_mac(3).to_string();
  left.entity.tend(START + seconds(3));
  EXPECT_THAT(agent.take_taken(),
              IsSupersetOf({"found " + device_mac(2).to_string(), "found " + device_mac(3).to_string()}));
  controller.take_taken();

  left.entity.mesh().send_to_all(event(device_mac(1)));
  EXPECT_THAT(agent.taken, IsEmpty()) << "not before its call has returned";
  left.entity.deliver(START + seconds(3));
  carry_all(START + seconds(3));
  EXPECT_THAT(agent.take_taken(), ElementsAre("TOPOLOGY_NOTIFICATION_MESSAGE " + at_left + " on '' to all"));
  EXPECT_THAT(controller.take_taken(), ElementsAre("TOPOLOGY_NOTIFICATION_MESSAGE " + at_left + " on 'eth0' to all"));

  EXPECT_TRUE(right.entity.mesh().send(device_mac(1), make_message(STEERING_COMPLETED_MESSAGE, 1)));
  carry_all(START + seconds(3));
  EXPECT_THAT(agent.take_taken(), ElementsAre("STEERING_COMPLETED_MESSAGE " + at_right + " on 'eth0'"));

  left.entity.disconnect(0);
  left.entity.tend(START + seconds(4));
  EXPECT_THAT(agent.take_taken(),
              UnorderedElementsAre("lost " + device_mac(2).to_string(), "lost " + device_mac(3).to_string()));
}

TEST(Services, GetFragmentsAsOneAndKnowASenderByItsInterface) {
  Entity::Config config = Device::config(1, 1, seconds(180));
  config.interfaces[0].is_backhaul = true;
  RecordingPorts ports;
  Entity entity(config, ports);
  Recorder agent(entity.mesh(), ServiceType::MULTI_AP_AGENT);
  entity.receive(0, frame_of(topology_discovery(device_mac(2), interface_mac(0x21)), device_mac(2)), START);
  const auto receive = [&](MessageBuilder builder) {
    Codec codec;
    for (const auto& frame : codec.encode(device_mac(1), interface_mac(0x21), builder.build())) {
      entity.receive(0, frame, START);
    }
  };
  MessageBuilder longer(STEERING_COMPLETED_MESSAGE);
  for (int count = 0; count < 300; ++count) {
    longer.add(ClientInfoTLV(device_mac(7), device_mac(8)));
  }
  receive(MessageBuilder(STEERING_COMPLETED_MESSAGE));
  EXPECT_EQ(entity.counts().ignored, 1U) << "there is no service yet";
  entity.add_service(agent);
  receive(std::move(longer));
  EXPECT_THAT(agent.take_taken(),
              ElementsAre("STEERING_COMPLETED_MESSAGE " + device_mac(2).to_string() + " on 'eth0' backhaul"));
  EXPECT_EQ(agent.count_of_clients, 300U);
  receive(MessageBuilder(AP_AUTOCONFIGURATION_RENEW_MESSAGE));
  EXPECT_EQ(entity.counts().ignored, 2U) << "it is of no use to the service";
}

TEST(Services, ThatTalkToThemselvesStopNobodyAndFillNoMemory) {
  Device device(1);
  Recorder agent(device.entity.mesh(), ServiceType::MULTI_AP_AGENT);
  device.entity.add_service(agent);
  device.entity.mesh().send(device_mac(1), make_message(IEEE1905_ACK_MESSAGE, 1));
  for (int turn = 1; turn <= 3; ++turn) {
    device.entity.deliver(START);
    EXPECT_THAT(agent.taken, SizeIs(static_cast<std::size_t>(turn)));
  }
  std::size_t kept = 0;
  for (std::size_t count = 0; count < 2 * Services::MOST_WAITING; ++count) {
    kept += device.entity.mesh().send(device_mac(1), make_message(HIGHER_LAYER_DATA_MESSAGE, 1)) ? 1U : 0U;
  }
  EXPECT_EQ(kept, Services::MOST_WAITING - 1);
}

TEST(Services, ReportTheirKindsInOneTlvAndNoneThatDoesNotFitIntoAFrame) {
  Device device(1);
  Recorder agent(device.entity.mesh(), ServiceType::MULTI_AP_AGENT);
  Recorder controller(device.entity.mesh(), ServiceType::MULTI_AP_CONTROLLER);
  device.entity.add_service(agent);
  device.entity.add_service(controller);
  const auto response = [&] {
    device.entity.receive(0, frame_of(topology_query(), device_mac(2), device_mac(1)), START);
    return device.ports.take().at(0).message();
  };
  const Message both = response();
  ASSERT_EQ(std::ranges::distance(both.all<SupportedServiceTLV>()), 1);
  EXPECT_THAT(both.find<SupportedServiceTLV>()->get_service_vector(),
              ElementsAre(ServiceType::MULTI_AP_AGENT, ServiceType::MULTI_AP_CONTROLLER));
  EXPECT_EQ(std::ranges::distance(both.all<AssociatedClientsTLV>()), 2);
  agent.clients_reported = 200;
  const Message one = response();
  EXPECT_THAT(one.find<SupportedServiceTLV>()->get_service_vector(), ElementsAre(ServiceType::MULTI_AP_CONTROLLER));
  EXPECT_EQ(std::ranges::distance(one.all<AssociatedClientsTLV>()), 1);
}

}  // namespace
}  // namespace meshd::test
