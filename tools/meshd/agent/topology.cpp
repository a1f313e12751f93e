#include "tools/meshd/agent/topology.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <memory>
#include <span>

#include "qel/core/serialization/memory_stream.h"
#include "qel/core/serialization/serialization_exception.h"
#include "qel/ieee1905_1/bss_tlvs.h"
#include "qel/ieee1905_1/client_tlvs.h"
#include "qel/ieee1905_1/service_tlvs.h"

namespace meshd::agent {

namespace {

using namespace qel::ieee1905_1;  // NOLINT(google-build-using-namespace): all of this file is about it
using qel::MACAddress;
using wifi::AirBss;
using wifi::AirClient;
using wifi::AirRadio;

constexpr std::size_t MOST_ENTRIES = 255;  // of a list in these TLVs
/// BSSs and clients in the list of clients: each takes eight octets, and a TLV must fit into a frame.
constexpr std::size_t MOST_LISTED = 180;
constexpr std::size_t LONGEST_SSID = 32;
constexpr std::size_t LONGEST_FRAME = 2304;  // the body of a management frame (IEEE 802.11-2020, 9.2.4.7.1)

/// 65535 also stands for longer times.
std::uint16_t seconds_since_association(const AirClient& client) {
  const auto seconds = client.station.connected.value_or(std::chrono::seconds(0)).count();
  return static_cast<std::uint16_t>(std::clamp<std::int64_t>(seconds, 0, 65535));
}

/// Null if the octets are no body of an association request.
std::shared_ptr<const ClientCapabilityReportTLV::AssocRequestFrame> association_request(
    const std::vector<std::uint8_t>& octets) {
  using Frame = ClientCapabilityReportTLV::AssocRequestFrame;
  if (octets.size() < Frame::MIN_WIRE_SIZE || octets.size() > LONGEST_FRAME) {
    return nullptr;
  }
  try {
    auto frame = std::make_shared<Frame>(octets.size());
    qel::serialization::MemoryIStream stream(octets);
    qel::serialization::SerializationContext context;
    frame->deserialize_impl(stream, context);
    return frame;
  } catch (const qel::serialization::SerializationException&) {
    return nullptr;
  }
}

}  // namespace

void add_topology(MessageBuilder& builder, const std::vector<AirRadio>& radios) {
  SupportedServiceTLV services;
  services.add_service(ServiceType::MULTI_AP_AGENT);
  builder.add(std::move(services));

  APOperationalBSSTLV operational;
  AssociatedClientsTLV associated;
  std::size_t listed = 0;
  for (const AirRadio& radio : radios) {
    if (operational.get_report_vector().size() == MOST_ENTRIES) {
      break;
    }
    BSSOperationalRadioReport report(radio.identifier);
    for (const AirBss& bss : radio.bss) {
      if (report.get_BSS_operating_vector().size() < MOST_ENTRIES) {
        report.add_BSS_operating({bss.bssid, bss.ssid.substr(0, LONGEST_SSID)});
      }
      if (bss.clients.empty() || ++listed >= MOST_LISTED) {
        continue;
      }
      OperatedBSSClients clients(bss.bssid);
      for (const AirClient& client : bss.clients) {
        if (listed < MOST_LISTED) {
          ++listed;
          clients.add_associated_client({client.station.mac, seconds_since_association(client)});
        }
      }
      associated.add_operated_bss(clients);
    }
    operational.add_report(report);
  }
  if (!operational.get_report_vector().empty()) {
    builder.add(std::move(operational));
  }
  if (!associated.get_operated_bss_vector().empty()) {
    builder.add(std::move(associated));
  }
}

void answer_client_capability_query(Desk& desk, const Received& received) {
  const auto* query = received.message().find<ClientInfoTLV>();
  if (query == nullptr) {
    return;
  }
  MessageBuilder report = Desk::answer_to(received, MessageType::CLIENT_CAPABILITY_REPORT_MESSAGE);
  report.add(ClientInfoTLV(*query));
  const std::vector<AirRadio> radios = desk.air().radios();
  const auto place = find_client(radios, query->get_bssid(), query->get_client_mac());
  const auto frame = place ? association_request(place->client->association_request) : nullptr;
  ClientCapabilityReportTLV capability(frame != nullptr ? ClientCapabilityResultCode::SUCCESS
                                                        : ClientCapabilityResultCode::FAILURE);
  capability.set_assoc_req_frame(frame);
  report.add(std::move(capability));
  if (frame == nullptr) {
    report.add(ErrorCodeTLV(place ? ErrorReasonCode::CLIENT_CAPABILITY_REPORT_UNSPECIFIED_FAILURE
                                  : ErrorReasonCode::STA_NOT_ASSOCIATED_WITH_ANY_BSS_OPERATED_BY_AGENT,
                            query->get_client_mac()));
  }
  desk.reply(received, report);
}

void ClientEvents::on_client(const MACAddress& bssid, const MACAddress& client, bool has_joined) {
  std::erase_if(waiting_, [&](const Event& event) { return event.bssid == bssid && event.client == client; });
  if (waiting_.size() == MOST_WAITING) {
    waiting_.pop_front();
  }
  waiting_.push_back({bssid, client, has_joined});
  tend();
}

void ClientEvents::tend() {
  while (!waiting_.empty() && limit_.take(desk_.now())) {
    const Event event = waiting_.front();
    waiting_.pop_front();
    MessageBuilder notification(MessageType::TOPOLOGY_NOTIFICATION_MESSAGE);
    notification.relay()
        .add(ALMACAddressTLV(desk_.mesh().al_mac()))
        .add(ClientAssociationEventTLV(event.client, event.bssid, event.has_joined));
    desk_.mesh().send_to_all(notification.build());
  }
}

}  // namespace meshd::agent
