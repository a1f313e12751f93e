#include "tools/meshd/multi_ap/courier.h"

#include <algorithm>

#include "qel/ieee1905_1/message_builder.h"

namespace meshd::multi_ap {

namespace {

using qel::MACAddress;
using qel::ieee1905_1::ErrorCodeTLV;
using qel::ieee1905_1::Message;
using qel::ieee1905_1::MessageBuilder;
using qel::ieee1905_1::MessageType;

bool is_refusal(const Message& message) {
  return message.get_head().get_message_type() == MessageType::ERROR_RESPONSE_MESSAGE ||
         message.find<ErrorCodeTLV>() != nullptr;
}

std::chrono::milliseconds between(TimePoint first, TimePoint last) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(last - first);
}

}  // namespace

void Courier::request(const MACAddress& to, Message message, MessageType answer, TimePoint now, OnOutcome on_outcome) {
  const Key key(to, message.get_head().get_message_id());
  if (const auto same = numbers_.find(key); same != numbers_.end()) {
    displace(same->second);
  } else if (waiting_.size() >= MOST_WAITING) {
    displace(waiting_.begin()->first);
  }
  numbers_[key] = ++made_;
  Request& request =
      waiting_.emplace(made_, Request{to, std::move(message), answer, now, {}, 0, std::move(on_outcome)}).first->second;
  send(request, now);
}

bool Courier::take(const Received& received) {
  const Message& message = received.message();
  const auto number = numbers_.find({received.from, message.get_head().get_message_id()});
  if (number == numbers_.end() || received.is_to_all) {
    return false;
  }
  const auto place = waiting_.find(number->second);
  const MessageType type = message.get_head().get_message_type();
  const bool may_refuse = type == MessageType::IEEE1905_ACK_MESSAGE || type == MessageType::ERROR_RESPONSE_MESSAGE;
  const bool refuses = is_refusal(message) && (may_refuse || type == place->second.answer);
  if (type != place->second.answer && !refuses) {
    return false;
  }
  end(place, refuses ? Outcome::REFUSED : Outcome::DONE, &message, received.time);
  return true;
}

/// Owners may make requests while this runs; these are not due yet.
void Courier::tend(TimePoint now) {
  while (!displaced_.empty()) {
    const auto first = displaced_.extract(displaced_.begin());
    first.mapped().on_outcome(Outcome::GIVEN_UP, nullptr, between(first.mapped().first_sent, now));
  }
  for (auto place = waiting_.begin(); place != waiting_.end();) {
    const std::uint64_t number = place->first;
    if (place->second.due <= now) {
      if (place->second.attempts < ATTEMPTS) {
        send(place->second, now);
      } else {
        end(place, Outcome::GIVEN_UP, nullptr, now);
      }
    }
    place = waiting_.upper_bound(number);
  }
}

void Courier::forget(const MACAddress& al_mac) {
  for (auto place = numbers_.lower_bound({al_mac, 0}); place != numbers_.end() && place->first.first == al_mac;) {
    const std::uint64_t number = place->second;
    ++place;
    displace(number);
  }
}

/// Without a way to the device, this counts as an attempt too: a way may be found soon.
void Courier::send(Request& request, TimePoint now) {
  ++request.attempts;
  request.due = now + PATIENCE;
  mesh_.send(request.to, request.message);
}

/// Its owner may be about to make a request, so it is not told at once.
void Courier::displace(std::uint64_t number) {
  auto request = waiting_.extract(number);
  numbers_.erase({request.mapped().to, request.mapped().message.get_head().get_message_id()});
  request.mapped().message = {};
  displaced_.insert(std::move(request));
}

void Courier::end(Requests::iterator place, Outcome outcome, const Message* answer, TimePoint now) {
  const auto request = waiting_.extract(place);
  numbers_.erase({request.mapped().to, request.mapped().message.get_head().get_message_id()});
  request.mapped().on_outcome(outcome, answer, between(request.mapped().first_sent, now));
}

void acknowledge(Mesh& mesh, const Received& received, std::optional<ErrorCodeTLV> error) {
  if (received.is_to_all) {
    return;
  }
  MessageBuilder builder(MessageType::IEEE1905_ACK_MESSAGE, received.message().get_head().get_message_id());
  if (error) {
    builder.add(*error);
  }
  mesh.send(received.from, builder.build());
}

}  // namespace meshd::multi_ap
