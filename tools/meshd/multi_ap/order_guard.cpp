#include "tools/meshd/multi_ap/order_guard.h"

#include <algorithm>
#include <utility>

namespace meshd::multi_ap {

namespace {

using qel::MACAddress;

std::string place_of(const Received& received) {
  return received.interface.empty() ? "this device" : received.from.to_string() + " on " + received.interface;
}

std::string data_of(const Received& received, Order order, const std::string& about) {
  return enum_to_string(order) + ' ' + received.from.to_string() +
         (received.interface.empty() ? "" : ' ' + received.interface) + (about.empty() ? "" : ' ' + about);
}

}  // namespace

std::string enum_to_string(Order order) {
  switch (order) {
    case Order::POLICY:
      return "policy";
    case Order::CHANNEL:
      return "channel";
    case Order::STEER:
      return "steer";
    case Order::BLOCK:
      return "block";
    case Order::BEACONS:
      return "beacons";
    case Order::LISTEN:
      return "listen";
    case Order::BACKHAUL:
      return "backhaul";
    case Order::QUERY:
      return "query";
  }
  return "unknown";
}

/// An agent has up to some hundred clients, and each may be steered and blocked in one round; a radio is silent while
/// it changes its channel.
const std::array<OrderGuard::Limit, OrderGuard::KINDS> OrderGuard::LIMITS{{
    {std::chrono::milliseconds(2000), 8},   // POLICY
    {std::chrono::milliseconds(10000), 6},  // CHANNEL
    {std::chrono::milliseconds(500), 32},   // STEER
    {std::chrono::milliseconds(250), 64},   // BLOCK
    {std::chrono::milliseconds(250), 64},   // BEACONS
    {std::chrono::milliseconds(1000), 16},  // LISTEN
    {std::chrono::milliseconds(10000), 3},  // BACKHAUL
    {std::chrono::milliseconds(20), 128},   // QUERY
}};

OrderGuard::OrderGuard(const MACAddress& self, FindController find_controller, OnNotice on_notice)
    : self_(self), find_controller_(std::move(find_controller)), on_notice_(std::move(on_notice)) {}

OrderGuard::Verdict OrderGuard::judge(const Received& received, Order order, const std::string& about) {
  if (const std::string fault = find_fault(received, order); !fault.empty()) {
    refuse(received, order, about, fault);
    return Verdict::REFUSE;
  }
  const bool is_query = order == Order::QUERY;
  if (!is_query && obeyed_.knows(received)) {
    return Verdict::REPEATED;
  }
  const auto kind = static_cast<std::size_t>(order);
  // Anyone can pretend to be the controller where it may not give orders.
  const bool is_stranger = received.from != find_controller_() || !is_trusted(received);
  if (!take(is_stranger ? strangers_full_at_ : full_at_[kind], LIMITS[kind], received.time)) {
    refuse(received, order, about, "too many of this kind");
    return Verdict::REFUSE;
  }
  if (!is_query) {
    obeyed_.remember(received);
    on_notice_({"ORDER_OBEYED", data_of(received, order, about),
                "obeying the order '" + enum_to_string(order) + "' from " + place_of(received) +
                    (about.empty() ? "" : ": " + about)});
  }
  return Verdict::OBEY;
}

/// Why it is not obeyed, whatever the limits; empty if it may be.
std::string OrderGuard::find_fault(const Received& received, Order order) const {
  if (received.is_to_all) {
    return "it was sent to all";
  }
  if (order == Order::QUERY) {
    return "";
  }
  const std::optional<MACAddress> controller = find_controller_();
  if (!controller) {
    return "no controller is known";
  }
  if (received.from != *controller) {
    return "the controller is " + controller->to_string();
  }
  return is_trusted(received) ? "" : received.interface + " is not marked with --backhaul";
}

/// Whether it came from where orders may come from.
bool OrderGuard::is_trusted(const Received& received) const {
  return received.is_backhaul || (received.from == self_ && received.interface.empty());
}

/// As TokenBucket does.
bool OrderGuard::take(TimePoint& full_at, const Limit& limit, TimePoint now) {
  if (std::max(full_at, now) - now > (limit.burst - 1) * limit.interval) {
    return false;
  }
  full_at = std::max(full_at, now) + limit.interval;
  return true;
}

void OrderGuard::refuse(const Received& received, Order order, const std::string& about, const std::string& why) {
  if (refused_at_ && received.time - *refused_at_ < std::chrono::seconds(1)) {
    ++unnoticed_;
    return;
  }
  refused_at_ = received.time;
  std::string line = "refused the order '" + enum_to_string(order) + "' from " + place_of(received) +
                     (about.empty() ? "" : " (" + about + ')') + ": " + why;
  if (const std::uint64_t others = std::exchange(unnoticed_, 0); others != 0) {
    line += " (and " + std::to_string(others) + " more before it)";
  }
  on_notice_({"ORDER_REFUSED", data_of(received, order, about) + ": " + why, std::move(line)});
}

}  // namespace meshd::multi_ap
