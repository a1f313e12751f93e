#include "tools/meshd/agent/desk.h"

#include <algorithm>

namespace meshd::agent {

namespace {

using qel::MACAddress;
using qel::ieee1905_1::ErrorCodeTLV;
using qel::ieee1905_1::Message;
using qel::ieee1905_1::MessageBuilder;
using qel::ieee1905_1::MessageType;
using wifi::AirRadio;

template <class Accepts>
std::optional<ClientPlace> find_client_if(const std::vector<AirRadio>& radios, const MACAddress& mac,
                                          const Accepts& accepts) {
  for (const AirRadio& radio : radios) {
    for (const wifi::AirBss& bss : radio.bss) {
      if (!accepts(bss)) {
        continue;
      }
      for (const wifi::AirClient& client : bss.clients) {
        if (client.station.mac == mac) {
          return ClientPlace{&radio, &bss, &client};
        }
      }
    }
  }
  return std::nullopt;
}

}  // namespace

MessageBuilder Desk::answer_to(const Received& received, MessageType type) {
  return MessageBuilder(type, received.message().get_head().get_message_id());
}

void Desk::answer(const Received& received, MessageBuilder& builder) {
  const auto& head = received.message().get_head();
  if (answers_.size() == KEPT_ANSWERS) {
    answers_.pop_front();
  }
  answers_.push_back({received.from, head.get_message_type(), head.get_message_id(), builder.build()});
  mesh_.send(received.from, answers_.back().message);
}

void Desk::acknowledge(const Received& received, const std::vector<ErrorCodeTLV>& errors) {
  MessageBuilder builder = answer_to(received, MessageType::IEEE1905_ACK_MESSAGE);
  for (const ErrorCodeTLV& error : errors) {
    builder.add(error);
  }
  answer(received, builder);
}

void Desk::answer_again(const Received& received) {
  const auto& head = received.message().get_head();
  const auto last = std::find_if(answers_.rbegin(), answers_.rend(), [&](const Answer& answer) {
    return answer.to == received.from && answer.question == head.get_message_type() &&
           answer.id == head.get_message_id();
  });
  if (last != answers_.rend()) {
    mesh_.send(received.from, last->message);
  } else {
    multi_ap::acknowledge(mesh_, received);
  }
}

void Desk::report(MessageBuilder& builder) {
  const std::optional<MACAddress> to = controller();
  if (!to) {
    return;
  }
  Message message = builder.build();
  const MessageType type = message.get_head().get_message_type();
  courier_.request(*to, std::move(message), MessageType::IEEE1905_ACK_MESSAGE, now_,
                   [this, type](multi_ap::Outcome outcome, const Message*, std::chrono::milliseconds) {
                     if (outcome == multi_ap::Outcome::GIVEN_UP) {
                       log("the controller does not acknowledge " + enum_to_string(type));
                     }
                   });
}

void Desk::tell(MessageBuilder& builder) {
  if (const std::optional<MACAddress> to = controller()) {
    mesh_.send(*to, builder.build());
  }
}

const AirRadio* find_radio(const std::vector<AirRadio>& radios, const MACAddress& identifier) {
  const auto found = std::ranges::find(radios, identifier, &AirRadio::identifier);
  return found == radios.end() ? nullptr : &*found;
}

std::optional<ClientPlace> find_client(const std::vector<AirRadio>& radios, const MACAddress& client) {
  return find_client_if(radios, client, [](const wifi::AirBss&) { return true; });
}

std::optional<ClientPlace> find_client(const std::vector<AirRadio>& radios, const MACAddress& bssid,
                                       const MACAddress& client) {
  return find_client_if(radios, client, [&](const wifi::AirBss& bss) { return bss.bssid == bssid; });
}

}  // namespace meshd::agent
