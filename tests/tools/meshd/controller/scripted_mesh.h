#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "qel/ieee1905_1/autoconfiguration_tlvs.h"
#include "qel/ieee1905_1/bss_tlvs.h"
#include "qel/ieee1905_1/client_tlvs.h"
#include "qel/ieee1905_1/message_builder.h"
#include "qel/ieee1905_1/metrics_tlvs.h"
#include "qel/ieee1905_1/service_tlvs.h"
#include "tests/support/fake_mesh.h"
#include "tools/meshd/controller/controller.h"

namespace meshd::controller {

/// A controller among agents whose answers a test writes. Every agent has one radio with one BSS; addresses end with
/// the number of the agent.
class ScriptedMesh {
 public:
  using MessageType = qel::ieee1905_1::MessageType;
  /// Makes the answer to a message, or nothing.
  using Answer =
      std::function<void(const test::CarriedMessage& question, std::vector<qel::ieee1905_1::Message>& answers)>;

  static qel::MACAddress address(std::uint8_t kind, std::uint8_t number) { return {{2, 0, 0, 0, kind, number}}; }
  static qel::MACAddress agent(std::uint8_t number) { return address(0xA, number); }
  static qel::MACAddress radio(std::uint8_t number) { return address(0xB, number); }
  static qel::MACAddress bss(std::uint8_t number) { return address(0xC, number); }
  static qel::MACAddress client(std::uint8_t number) { return address(0xD, number); }

  explicit ScriptedMesh(Config config = {}) : controller(std::make_unique<Controller>(mesh, std::move(config))) {
    using enum qel::ieee1905_1::MessageType;
    using namespace qel::ieee1905_1;
    const auto answer = [this](MessageType question, MessageType type, auto fill) {
      answers[question] = [type, fill](const test::CarriedMessage& message, std::vector<Message>& out) {
        MessageBuilder builder(type, message.id());
        fill(builder, message.to.octets()[5]);
        out.push_back(builder.build());
      };
    };
    answer(AP_CAPABILITY_QUERY_MESSAGE, AP_CAPABILITY_REPORT_MESSAGE, [](MessageBuilder& out, std::uint8_t number) {
      APRadioBasicCapabilitiesTLV capabilities(radio(number), 4);
      for (std::uint8_t opclass : std::initializer_list<std::uint8_t>{115, 116, 117, 125, 126, 127, 128}) {
        capabilities.add_operation_class_information({opclass, 20});
      }
      out.add(std::move(capabilities));
    });
    answer(TOPOLOGY_QUERY_MESSAGE, TOPOLOGY_RESPONSE_MESSAGE,
           [this](MessageBuilder& out, std::uint8_t number) { add_topology(out, number); });
    answer(MULTI_AP_POLICY_CONFIG_REQUEST_MESSAGE, IEEE1905_ACK_MESSAGE, [](auto&&...) {});
    answer(CLIENT_STEERING_REQUEST_MESSAGE, IEEE1905_ACK_MESSAGE, [](auto&&...) {});
    answer(BEACON_METRICS_QUERY_MESSAGE, IEEE1905_ACK_MESSAGE, [](auto&&...) {});
    answer(CLIENT_ASSOCIATION_CONTROL_REQUEST_MESSAGE, IEEE1905_ACK_MESSAGE, [](auto&&...) {});
    answer(CHANNEL_PREFERENCE_QUERY_MESSAGE, CHANNEL_PREFERENCE_REPORT_MESSAGE,
           [](MessageBuilder& out, std::uint8_t number) { out.add(ChannelPreferenceTLV(radio(number))); });
    answer(AP_METRICS_QUERY_MESSAGE, AP_METRICS_RESPONSE_MESSAGE, [](MessageBuilder& out, std::uint8_t number) {
      APMetricsTLV metrics(bss(number));
      metrics.set_channel_utilization(51);
      out.add(std::move(metrics));
    });
    answer(CHANNEL_SELECTION_REQUEST_MESSAGE, CHANNEL_SELECTION_RESPONSE_MESSAGE,
           [](MessageBuilder& out, std::uint8_t number) {
             out.add(ChannelSelectionResponseTLV(radio(number), ChannelSelectionResponseCode::ACCEPT));
           });
    answer(CLIENT_CAPABILITY_QUERY_MESSAGE, CLIENT_CAPABILITY_REPORT_MESSAGE, [](MessageBuilder& out, std::uint8_t) {
      out.add(ClientCapabilityReportTLV(ClientCapabilityResultCode::FAILURE));
    });
  }

  void add_topology(qel::ieee1905_1::MessageBuilder& out, std::uint8_t number) {
    using namespace qel::ieee1905_1;
    SupportedServiceTLV service;
    service.add_service(ServiceType::MULTI_AP_AGENT);
    BSSOperationalRadioReport report(radio(number));
    report.add_BSS_operating({bss(number), "home"});
    APOperationalBSSTLV operational;
    operational.add_report(report);
    out.add(std::move(service)).add(std::move(operational));
    OperatedBSSClients clients(bss(number));
    for (const auto& [mac, seconds] : clients_of[number]) {
      clients.add_associated_client({mac, seconds});
    }
    AssociatedClientsTLV associated;
    associated.add_operated_bss(clients);
    out.add(std::move(associated));
  }

  /// The agent says this; returns whether it was of use.
  bool say(std::uint8_t number, const qel::ieee1905_1::Message& message) {
    const bool was_of_use = controller->take(test::CarriedMessage(message).from(agent(number), now));
    run();
    return was_of_use;
  }
  template <class... TLVs>
  bool say(std::uint8_t number, MessageType type, TLVs&&... tlvs) {
    return say(number, make_message(type, ++said_, std::forward<TLVs>(tlvs)...));
  }

  void appear(std::uint8_t number) {
    using namespace qel::ieee1905_1;
    SupportedServiceTLV supported;
    supported.add_service(ServiceType::MULTI_AP_AGENT);
    SearchedServiceTLV searched;
    searched.add_service(ServiceType::MULTI_AP_CONTROLLER);
    say(number, MessageType::AP_AUTOCONFIGURATION_SEARCH_MESSAGE, std::move(supported), std::move(searched));
  }

  /// On channel 36, 80 MHz, or with the centre of another channel of 80 MHz and its first channel.
  void report_channel(std::uint8_t number, std::uint8_t primary = 36, std::uint8_t center = 42) {
    qel::ieee1905_1::OperatingChannelReportTLV report(radio(number));
    report.add_operating_class_channel({static_cast<std::uint8_t>(primary < 149 ? 115 : 125), primary});
    report.add_operating_class_channel({128, center});
    say(number, MessageType::OPERATING_CHANNEL_REPORT_MESSAGE, std::move(report));
  }

  void join(std::uint8_t client_number, std::uint8_t number, bool has_joined = true) {
    say(number, MessageType::TOPOLOGY_NOTIFICATION_MESSAGE, qel::ieee1905_1::ALMACAddressTLV(agent(number)),
        qel::ieee1905_1::ClientAssociationEventTLV(client(client_number), bss(number), has_joined));
  }

  /// Until nobody has anything to say.
  void run() {
    for (std::vector<test::CarriedMessage> sent = mesh.take(); !sent.empty(); sent = mesh.take()) {
      for (test::CarriedMessage& message : sent) {
        std::vector<qel::ieee1905_1::Message> said;
        const auto answer = answers.find(message.type());
        if (answer != answers.end() && !dead.contains(message.to.octets()[5])) {
          answer->second(message, said);
        }
        const qel::MACAddress to = message.to;
        asked.push_back(std::move(message));
        for (const qel::ieee1905_1::Message& one : said) {
          controller->take(test::CarriedMessage(one).from(to, now));
        }
      }
    }
  }

  void wait(std::chrono::seconds time) {
    for (; time.count() > 0; --time) {
      now += std::chrono::seconds(1);
      controller->tend(now);
      run();
    }
  }

  /// What the controller has sent of this type.
  std::vector<const test::CarriedMessage*> sent(MessageType type) const {
    std::vector<const test::CarriedMessage*> result;
    for (const test::CarriedMessage& one : asked) {
      if (one.type() == type) {
        result.push_back(&one);
      }
    }
    return result;
  }

  test::FakeMesh mesh{address(1, 1)};
  TimePoint now{std::chrono::hours(1)};
  std::unique_ptr<Controller> controller;
  std::map<MessageType, Answer> answers;
  std::map<std::uint8_t, std::map<qel::MACAddress, std::uint16_t>> clients_of;  ///< seconds since they joined
  std::set<std::uint8_t> dead;
  std::vector<test::CarriedMessage> asked;  ///< all that the controller has sent

 private:
  std::uint16_t said_ = 30000;
};

}  // namespace meshd::controller
