#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "qel/core/mac_address.h"
#include "tools/meshd/wifi/air.h"
#include "tools/meshd/wifi/simulated_air.h"

namespace meshd::simulation {

/// At least 0 and below 1, and always the same for the same arguments.
double random_of(std::uint64_t seed, std::uint64_t what, std::uint64_t number, std::uint64_t time);

/// A flat city of access points with three radios each, at 2.4, 5 and 6 GHz, and of clients, of which some walk. Who
/// hears whom follows from the distance, the rates from that, and the load of the channels from the rates and from what
/// the clients want to send. The same seed and the same acts on the radios give the same world.
class World {
 public:
  static constexpr std::size_t RADIOS = 3;  ///< of an access point

  struct Settings {
    std::size_t access_points = 200;
    std::size_t clients = 30;  ///< for each of them
    std::uint64_t seed = 1;
  };

  /// What has become of the clients since the start.
  struct Figures {
    std::size_t asked = 0;  ///< to move
    std::size_t accepted = 0;
    std::size_t refused = 0;
    std::size_t ignored = 0;
    std::size_t moved = 0;       ///< to another BSS, because they were asked
    std::size_t returned = 0;    ///< of these, to one that they had left on request a few minutes and steps before
    std::size_t went = 0;        ///< to another BSS of their own accord
    std::size_t questioned = 0;  ///< for what they hear
    std::size_t switches = 0;    ///< of channels
    std::size_t most_asked = 0;  ///< of a client that never walks
    std::int64_t gain = 0;       ///< of uplink RCPI at the moment of the moves on request, in sum
  };

  explicit World(const Settings& settings);
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  /// Lets a second pass.
  void step();

  wifi::SimulatedAir& air(std::size_t access_point) const { return *airs_[access_point]; }
  std::size_t access_points() const { return airs_.size(); }
  std::size_t clients() const { return clients_.size(); }

  /// There is radar on a channel that some access point uses, if there is one that requires detection; all nearby find
  /// it. Returns how many radios had to leave.
  std::size_t find_radar();

  /// How access points receive their clients.
  struct Reception {
    double mean_rcpi = 0;
    double bad = 0;   ///< share of the clients below RCPI 80
    double busy = 0;  ///< share of the radios whose channel is busy to 70 percent or more
  };
  Reception reception() const;

  Figures figures() const;
  /// Of all acts on the radios until now, with their times.
  std::uint64_t digest() const { return digest_; }

  static qel::MACAddress radio(std::size_t access_point, std::size_t radio);
  static qel::MACAddress bssid(std::size_t access_point, std::size_t radio);
  static qel::MACAddress client(std::size_t number);

 private:
  /// What a client does when it is asked to move.
  enum class Temper : std::uint8_t { ACCEPTS, REFUSES, IGNORES, STAYS };

  struct Position {
    double x = 0;  ///< in metres
    double y = 0;
  };
  struct Place {
    std::size_t access_point = 0;
    std::size_t radio = 0;
    friend bool operator==(const Place&, const Place&) = default;
  };
  struct Left {
    Place place;
    std::uint64_t time;
    Position position;
  };
  struct Client {
    Position position{};
    Position goal{};
    double speed = 0;       ///< in metres a second
    std::size_t bands = 1;  ///< how many it can use, from 2.4 GHz up
    Temper temper = Temper::ACCEPTS;
    bool can_report = true;
    double demand = 0;  ///< in Mb/s, while it has any
    std::optional<Place> place{};
    std::vector<Left> left{};  ///< on request
    std::size_t asked = 0;
  };
  struct Joining {
    std::size_t client;
    std::optional<Place> place;  ///< where it wants to be; nothing if it is yet to choose
    wifi::AirClient state;
  };
  struct Neighbor {
    Place place;
    double weight;  ///< how much its load is also the load here
  };

  void place_access_points();
  void place_clients();
  void walk(std::size_t number);
  void go_elsewhere(std::size_t number);
  void join(std::size_t number, const Place& place, wifi::AirClient state);
  void update_clients();
  void update_loads();
  void collect_acts();

  static double distance(const Position& one, const Position& other);
  double random(std::uint64_t what, std::uint64_t number, std::uint64_t time = 0) const {
    return random_of(settings_.seed, what, number, time);
  }
  double signal(std::size_t client, const Place& place) const;    ///< in dBm, at the client
  static double uplink_signal(double signal, std::size_t radio);  ///< in dBm, at the access point
  std::optional<Place> find_best(std::size_t client, double least) const;
  std::optional<wifi::MoveAnswer> on_asked(const wifi::MoveRequest& request);
  std::vector<std::vector<std::uint8_t>> on_questioned(const qel::MACAddress& client,
                                                       std::span<const std::uint8_t> request);

  static std::size_t number_of(const qel::MACAddress& client);
  static Place place_of(const qel::MACAddress& bssid);
  wifi::AirRadio& radio_at(const Place& place) const { return airs_[place.access_point]->state[place.radio]; }

  const Settings settings_;
  std::vector<std::unique_ptr<wifi::SimulatedAir>> airs_;
  std::vector<Position> positions_;
  std::vector<Client> clients_;
  std::vector<std::array<std::vector<Neighbor>, RADIOS>> neighbors_;
  std::vector<std::array<double, RADIOS>> own_loads_;  // of the clients of a radio, as shares of the air time
  std::deque<Joining> joining_;
  Figures figures_;
  double side_ = 0;        // of the city
  std::uint64_t now_ = 0;  // in seconds since the start
  std::uint64_t digest_ = 14695981039346656037U;
};

}  // namespace meshd::simulation
