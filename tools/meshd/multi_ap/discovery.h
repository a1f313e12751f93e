#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/message.h"
#include "qel/ieee1905_1/service_tlvs.h"
#include "tools/meshd/multi_ap/mesh.h"

// How controllers are found (Multi-AP Specification, 6). Credentials are not exchanged.
namespace meshd::multi_ap {

/// Searches for controllers: again and again, less often with time.
class ControllerSearch {
 public:
  static constexpr std::chrono::seconds SHORTEST{2};  ///< between two searches; doubled each time
  static constexpr std::chrono::seconds LONGEST{64};

  /// `kind` is what we are. The mesh is borrowed.
  ControllerSearch(Mesh& mesh, qel::ieee1905_1::ServiceType kind) : mesh_(mesh), kind_(kind) {}

  /// Sends a search if one is due.
  void tend(TimePoint now);
  /// Begins anew with short times; the next search is due SHORTEST after the last one.
  void hurry() { interval_ = SHORTEST; }

  /// Whether it is a response to one of the last searches, from a controller.
  bool is_answer(const Received& received) const;

 private:
  Mesh& mesh_;
  const qel::ieee1905_1::ServiceType kind_;
  std::array<std::optional<std::uint16_t>, 4> ids_{};  // of the last searches
  std::size_t sent_ = 0;
  std::optional<TimePoint> sent_at_;
  std::chrono::seconds interval_ = SHORTEST;
};

/// Controllers beside the one that counts; the mesh should have none.
class OtherControllers {
 public:
  static constexpr std::size_t MOST = 16;
  static constexpr std::chrono::seconds MEMORY{200};

  /// Whether it was unknown. It stays unknown if there are too many.
  bool hear(const qel::MACAddress& al_mac, TimePoint now);
  void forget(const qel::MACAddress& al_mac) { heard_at_.erase(al_mac); }
  void expire(TimePoint now);

  /// When each was last heard.
  const std::map<qel::MACAddress, TimePoint>& all() const { return heard_at_; }

 private:
  std::map<qel::MACAddress, TimePoint> heard_at_;
};

/// Finds the controller of an agent. The first that answers is kept until it leaves the mesh or is silent. Only one
/// that answered on an interface that is not marked as backhaul gives way, to one that answers where it can give
/// orders.
class ControllerFinder final : public Service {
 public:
  /// The controller is lost after it has not shown for this long that it is one; it has some searches to answer in that
  /// time. If it can give orders, only what comes from where it can counts.
  static constexpr std::chrono::seconds SILENCE{200};

  /// The mesh is borrowed.
  explicit ControllerFinder(Mesh& mesh) : mesh_(mesh), search_(mesh, qel::ieee1905_1::ServiceType::MULTI_AP_AGENT) {}

  /// Its AL MAC, which can be our own.
  const std::optional<qel::MACAddress>& controller() const { return controller_; }
  /// It answered where it may give orders: on an interface marked as backhaul, or on this device.
  bool can_order() const { return can_order_; }
  const OtherControllers& others() const { return others_; }

  bool take(const Received& received) override;
  void tend(TimePoint now) override;
  void on_device(const qel::MACAddress& al_mac, bool is_there, TimePoint now) override;

 private:
  void find(const Received& received);
  void lose(const std::string& why);
  void note_other(const Received& received);

  Mesh& mesh_;
  ControllerSearch search_;
  OtherControllers others_;
  std::optional<qel::MACAddress> controller_;
  bool can_order_ = false;
  TimePoint heard_at_;
};

/// Searches for other controllers on behalf of one, which answers searches itself and takes the responses.
class ControllerPresence final : public Service {
 public:
  /// The mesh is borrowed.
  explicit ControllerPresence(Mesh& mesh) : search_(mesh, qel::ieee1905_1::ServiceType::MULTI_AP_CONTROLLER) {}

  bool take(const Received& /*received*/) override { return false; }
  void tend(TimePoint now) override { search_.tend(now); }

 private:
  ControllerSearch search_;
};

}  // namespace meshd::multi_ap
