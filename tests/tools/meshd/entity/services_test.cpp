#include "tools/meshd/entity/services.h"

#include "qel/ieee1905_1/bss_tlvs.h"
#include "qel/ieee1905_1/client_tlvs.h"
#include "qel/ieee1905_1/message_builder.h"
#include "qel/ieee1905_1/service_tlvs.h"
#include "tests/support/testing.h"
#include "tests/tools/meshd/wire.h"
#include "tools/meshd/entity/messages.h"

namespace meshd::test {
namespace {

using namespace qel::ieee1905_1;
using enum MessageType;

const TimePoint START{};

/// Writes down what it gets, and answers an Ack with one to its own device.
class Recorder final : public multi_ap::Service {
 public:
  Recorder(multi_ap::Mesh& mesh, ServiceType kind) : mesh_(mesh), kind_(kind) {}

  bool take(const multi_ap::Received& received) override {
    const MessageType type = received.message().get_head().get_message_type();
    if (type < IEEE1905_ACK_MESSAGE && type != TOPOLOGY_NOTIFICATION_MESSAGE) {
      return false;
    }
    taken.push_back(enum_to_string(type) + ' ' + received.from.to_string() + " on '" + received.interface + '\'' +
                    (received.is_to_all ? " to all" : "") + (received.is_backhaul ? " backhaul" : ""));
    clients_taken = static_cast<std::size_t>(std::ranges::distance(received.message().all<ClientInfoTLV>()));
    if (type == IEEE1905_ACK_MESSAGE) {
      mesh_.send(mesh_.al_mac(), make_message(IEEE1905_ACK_MESSAGE, 1));
    }
    return true;
  }
  void tend(TimePoint) override {}
  void add_to_topology_response(MessageBuilder& builder) const override {
    SupportedServiceTLV supported;
    supported.add_service(kind_);
    OperatedBSSClients bss(device_mac(9));
    for (std::size_t client = 0; client < clients_reported; ++client) {
      bss.add_associated_client({device_mac(9), 1});
    }
    AssociatedClientsTLV clients;
    clients.add_operated_bss(bss);
    builder.add(supported).add(clients);
  }
  void on_device(const qel::MACAddress& al_mac, bool is_there, TimePoint) override {
    taken.push_back((is_there ? "found " : "lost ") + al_mac.to_string());
  }
  std::vector<std::string> take_taken() { return std::exchange(taken, {}); }

  std::vector<std::string> taken;
  std::size_t clients_taken = 0;
  std::size_t clients_reported = 1;

 private:
  multi_ap::Mesh& mesh_;
  ServiceType kind_;
};

TEST(Services, ReachDevicesBeyondNeighborsAndHearWhoCameAndWent) {
  Device left(1);
  Device middle(2, 2);
  Device right(3);
  Device* const all[] = {&left, &middle, &right};
  const auto carry_all = [&] {  // the middle is a bridge too
    for (bool is_quiet = false; !is_quiet;) {
      is_quiet = true;
      for (std::size_t from = 0; from < 3; ++from) {
        for (const SentFrame& frame : all[from]->ports.take()) {
          is_quiet = false;
          const bool is_to_all = frame.destination() == CMDU_MULTICAST_ADDRESS;
          const std::size_t next = from == 1 ? 2 * frame.interface : 1;
          const std::size_t to = is_to_all ? next : frame.destination().octets()[5] - 1U;
          all[to]->entity.receive(to == 1 ? from / 2 : 0, frame.octets, START);
        }
      }
    }
  };
  Recorder agent(left.entity.mesh(), ServiceType::MULTI_AP_AGENT);
  left.entity.add_service(agent);
  EXPECT_FALSE(left.entity.mesh().send(device_mac(3), make_message(HIGHER_LAYER_DATA_MESSAGE, 1)));
  for (int round = 0; round < 3; ++round) {
    for (Device* device : all) {
      device->entity.announce(START);
      device->entity.tend(START);
      carry_all();
    }
  }
  EXPECT_THAT(agent.take_taken(),
              IsSupersetOf({"found " + device_mac(2).to_string(), "found " + device_mac(3).to_string()}));

  const std::string notification = "TOPOLOGY_NOTIFICATION_MESSAGE ";
  for (Device* device : {&left, &right}) {
    device->entity.mesh().send_to_all(topology_notification(device->entity.config().al_mac));
    EXPECT_THAT(agent.taken, IsEmpty()) << "its call must return first";
    device->entity.deliver(START);
    carry_all();
    EXPECT_THAT(agent.take_taken(), ElementsAre(notification + device->entity.config().al_mac.to_string() + " on '" +
                                                (device == &left ? "" : "eth0") + "' to all"));
  }
  EXPECT_TRUE(right.entity.mesh().send(device_mac(1), make_message(STEERING_COMPLETED_MESSAGE, 1)));
  carry_all();
  EXPECT_THAT(agent.take_taken(),
              ElementsAre("STEERING_COMPLETED_MESSAGE " + device_mac(3).to_string() + " on 'eth0'"));

  left.entity.disconnect(0);
  left.entity.tend(START);
  EXPECT_THAT(agent.take_taken(),
              UnorderedElementsAre("lost " + device_mac(2).to_string(), "lost " + device_mac(3).to_string()));
}

TEST(Services, GetFragmentsAsOneAndKnowASenderByItsInterface) {
  Device device(1);
  Device other(2);
  Entity& entity = device.entity;
  entity.replace_interface(0, {"eth0", interface_mac(0x11), "", {}, true});
  Recorder agent(entity.mesh(), ServiceType::MULTI_AP_AGENT);
  const auto receive = [&](MessageType type, int clients) {
    MessageBuilder builder(type);
    for (int count = 0; count < clients; ++count) {
      builder.add(ClientInfoTLV(device_mac(7), device_mac(8)));
    }
    Codec codec;
    for (const auto& frame : codec.encode(device_mac(1), interface_mac(0x21), builder.build())) {
      entity.receive(0, frame, START);
    }
  };
  receive(STEERING_COMPLETED_MESSAGE, 0);
  EXPECT_EQ(entity.counts().ignored, 1U) << "there is no service yet";
  entity.add_service(agent);
  const std::string completed = "STEERING_COMPLETED_MESSAGE ";
  entity.receive(0, frame_of(topology_discovery(device_mac(2), interface_mac(0x21)), device_mac(2)), START);
  receive(STEERING_COMPLETED_MESSAGE, 0);
  EXPECT_THAT(agent.take_taken(), ElementsAre(completed + interface_mac(0x21).to_string() + " on 'eth0' backhaul"))
      << "a claim proves nothing";
  carry({{device, 0, other, 0}}, START);
  receive(STEERING_COMPLETED_MESSAGE, 300);
  EXPECT_THAT(agent.taken, ElementsAre(completed + device_mac(2).to_string() + " on 'eth0' backhaul"));
  EXPECT_EQ(agent.clients_taken, 300U);
  const std::uint64_t ignored = entity.counts().ignored;
  receive(AP_AUTOCONFIGURATION_RENEW_MESSAGE, 0);
  EXPECT_EQ(entity.counts().ignored, ignored + 1) << "it is of no use to the service";
}

TEST(Services, ThatTalkToThemselvesStopNobodyAndFillNoMemory) {
  Device device(1);
  Recorder agent(device.entity.mesh(), ServiceType::MULTI_AP_AGENT);
  device.entity.add_service(agent);
  device.entity.mesh().send(device_mac(1), make_message(IEEE1905_ACK_MESSAGE, 1));
  for (std::size_t turn = 1; turn <= 3; ++turn) {
    device.entity.deliver(START);
    EXPECT_THAT(agent.taken, SizeIs(turn));
  }
  std::size_t kept = 1;
  while (kept <= Services::MOST_WAITING &&
         device.entity.mesh().send(device_mac(1), make_message(HIGHER_LAYER_DATA_MESSAGE, 1))) {
    ++kept;
  }
  EXPECT_EQ(kept, Services::MOST_WAITING);
}

TEST(Services, ReportTheirKindsInOneTlvAndNothingThatDoesNotFitIntoAFrame) {
  Device device(1);
  Recorder agent(device.entity.mesh(), ServiceType::MULTI_AP_AGENT);
  Recorder controller(device.entity.mesh(), ServiceType::MULTI_AP_CONTROLLER);
  device.entity.add_service(agent);
  device.entity.add_service(controller);
  for (const std::size_t clients : {1U, 200U}) {
    agent.clients_reported = clients;
    device.entity.receive(0, frame_of(topology_query(), device_mac(2), device_mac(1)), START);
    const Message response = device.ports.take().at(0).message();
    const bool fits = clients == 1;
    EXPECT_EQ(response.find<SupportedServiceTLV>()->get_service_vector().size(), fits ? 2U : 1U);
    EXPECT_EQ(std::ranges::distance(response.all<AssociatedClientsTLV>()), fits ? 2 : 1);
  }
}

}  // namespace
}  // namespace meshd::test
