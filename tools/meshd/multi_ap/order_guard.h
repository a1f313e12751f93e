#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "qel/core/mac_address.h"
#include "tools/meshd/multi_ap/mesh.h"
#include "tools/meshd/multi_ap/repeats.h"

namespace meshd::multi_ap {

/// What a controller can have an agent do, and what anyone can ask of it.
enum class Order : std::uint8_t {
  POLICY,
  CHANNEL,   ///< and transmit power
  STEER,     ///< clients
  BLOCK,     ///< clients
  BEACONS,   ///< to be measured by a client
  LISTEN,    ///< for clients of others
  BACKHAUL,  ///< to move our own station
  QUERY,     ///< anyone may ask; the limit for the controller is one of its own
};

std::string enum_to_string(Order order);

/// Decides whether an agent does what a message demands. Frames are not authenticated, so only the controller that was
/// found first is obeyed, only on an interface that is marked as backhaul, and each kind of order only so often. The
/// same holds for a controller on this device, but for the interface.
class OrderGuard {
 public:
  enum class Verdict : std::uint8_t {
    OBEY,
    REPEATED,  ///< it was obeyed already: answer again, but do not do it again
    REFUSE,    ///< no answer; a query above the limit is refused too
  };

  /// The AL MAC of the controller, if there is one.
  using FindController = std::function<std::optional<qel::MACAddress>()>;
  using OnNotice = std::function<void(const Notice& notice)>;

  /// `on_notice` is called for each order that is obeyed, and at most once a second for those that are refused.
  OrderGuard(const qel::MACAddress& self, FindController find_controller, OnNotice on_notice);

  /// Call this once for each message that demands something, before anything is done. `about` tells what exactly it
  /// demands, for the log: "02:... to move to 02:..."; it may be empty.
  Verdict judge(const Received& received, Order order, const std::string& about = "");

 private:
  /// Holds `burst` tokens and regains one in each interval.
  struct Limit {
    std::chrono::milliseconds interval;
    int burst;
  };
  static constexpr std::size_t KINDS = static_cast<std::size_t>(Order::QUERY) + 1;
  static const std::array<Limit, KINDS> LIMITS;

  std::string find_fault(const Received& received, Order order) const;
  bool is_trusted(const Received& received) const;
  static bool take(TimePoint& full_at, const Limit& limit, TimePoint now);
  void refuse(const Received& received, Order order, const std::string& about, const std::string& why);

  const qel::MACAddress self_;
  const FindController find_controller_;
  const OnNotice on_notice_;
  std::array<TimePoint, KINDS> full_at_{};
  TimePoint strangers_full_at_;
  Repeats obeyed_;
  std::optional<TimePoint> refused_at_;  // when a refusal was last noticed
  std::uint64_t unnoticed_ = 0;          // refusals since
};

}  // namespace meshd::multi_ap
