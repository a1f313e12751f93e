// The radios of meshd-simulated: those of a file, with clients that move between the daemons that run with this file.

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "qel/daemon/connection.h"
#include "qel/daemon/periodic_timer.h"
#include "qel/daemon/timer.h"
#include "qel/daemon/watches.h"
#include "tools/meshd/agent/agent.h"
#include "tools/meshd/wifi/air_plan.h"
#include "tools/meshd/wifi/interface.h"
#include "tools/meshd/wifi/simulated_air.h"
#include "tools/meshd/wireless.h"

namespace meshd {

namespace {

using qel::MACAddress;
using std::chrono::milliseconds;

constexpr const char* VARIABLE = "MESHD_AIR";  // the path of the plan
constexpr milliseconds RESPONSE_TIME{100};     // of radios and clients to what they are asked
constexpr milliseconds MOVE_TIME{200};         // from leaving an access point to joining another
constexpr milliseconds PATIENCE{2000};         // of a client that no access point takes, until it tries the next
constexpr std::chrono::seconds SECOND{1};
constexpr double WAVE = 2;       // dB by which signals rise and fall
constexpr double IDLE_LOAD = 4;  // percent of the time that beacons take

std::string plan_path() {
  const char* const path = std::getenv(VARIABLE);
  if (path == nullptr) {
    throw std::runtime_error(std::string(VARIABLE) + " is not set; it is the path of the plan of the radios");
  }
  return path;
}

wifi::AirPlan read_plan(const std::string& path) {
  std::ifstream file(path);
  if (!file) {
    throw std::runtime_error("cannot read " + path);
  }
  try {
    return wifi::read_air_plan(file);
  } catch (const std::runtime_error& error) {
    throw std::runtime_error(path + ", " + error.what());
  }
}

std::size_t find_node(const wifi::AirPlan& plan, const std::string& name) {
  const auto found = std::ranges::find(plan.nodes, name, &wifi::AirPlan::Node::name);
  if (found == plan.nodes.end()) {
    throw std::runtime_error("the plan of the radios has no node " + name);
  }
  return static_cast<std::size_t>(found - plan.nodes.begin());
}

/// A socket of datagrams, at a path that it removes in the end.
class Socket final : public qel::daemon::ISimpleFDWatch {
 public:
  using OnText = std::function<void(const std::string& text)>;

  /// Throws std::system_error, and std::runtime_error for a path that is too long.
  Socket(const std::string& path, OnText on_text)
      : ISimpleFDWatch(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0), "air"),
        path_(path),
        on_text_(std::move(on_text)),
        descriptor_(get_fd()) {
    const sockaddr_un address = address_of(path);
    ::unlink(path.c_str());  // of a daemon that was killed
    if (descriptor_ < 0 || ::bind(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
      throw std::system_error(errno, std::generic_category(), path);
    }
  }
  ~Socket() override {
    remove_from_evsock();
    ::close(descriptor_);
    ::unlink(path_.c_str());
  }

  /// The text is lost if nobody is there.
  void send(const std::string& path, const std::string& text) const {
    const sockaddr_un address = address_of(path);
    static_cast<void>(::sendto(descriptor_, text.data(), text.size(), 0, reinterpret_cast<const sockaddr*>(&address),
                               sizeof(address)));
  }

  void on_readable() override {
    std::string text(128, '\0');
    const ssize_t size = ::recv(descriptor_, text.data(), text.size(), 0);
    if (size > 0) {
      text.resize(static_cast<std::size_t>(size));
      on_text_(text);
    }
  }
  void on_writable() override {}

 private:
  static sockaddr_un address_of(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) {
      throw std::runtime_error(path + " is too long for a socket");
    }
    std::ranges::copy(path, address.sun_path);
    return address;
  }

  const std::string path_;
  const OnText on_text_;
  const int descriptor_;
};

/// All daemons know all radios and clients. Each operates the radios of its own node, and looks for another place for a
/// client that has left them. They send each other lines of three words: a client, a BSSID and when that was (the
/// steady clock of the machine, in milliseconds). To the daemon with this BSS it is a request to join, and to the
/// others the news that the client has joined there. The latest association holds.
class SimulatedWireless final : public Wireless {
 public:
  explicit SimulatedWireless(qel::daemon::Mainloop& loop)
      : loop_(loop),
        path_(plan_path()),
        plan_(read_plan(path_)),
        node_(find_node(plan_, loop.get_name())),
        socket_(std::make_shared<Socket>(socket_path(node_), [this](const std::string& text) { take(text); })) {
    air_.is_recording = false;
    air_.on_outcome = [this] {
      if (!delivery_.is_running()) {
        delivery_.start(RESPONSE_TIME, [this] { air_.deliver(); });
      }
    };
    air_.on_asked_for_beacons = [this](const MACAddress& mac, std::span<const std::uint8_t>) { return hear(mac); };
    air_.on_moved_away = [this](const wifi::AirClient& client, const MACAddress& bssid) {
      search(client.station.mac, bssid);
    };
    make_radios();
    loop_.add_watch(socket_);
    for (const wifi::AirPlan::Client& client : plan_.clients) {
      if (air_.join(client.bssid, make_client(client, *plan_.find_radio(client.bssid)))) {
        associated_[client.mac] = 0;  // from before all others
        announce(client.mac, client.bssid);
      }
    }
    on_client_ = air_.client.connect(
        [this](const MACAddress& bssid, const MACAddress& mac, bool has_joined) { on_client(bssid, mac, has_joined); });
    live();
    life_.start(SECOND, [this] { live(); });
  }
  ~SimulatedWireless() override { loop_.remove_watch(socket_); }

  std::optional<WlanInterface> find(unsigned int) const override { return std::nullopt; }
  void add_state(unsigned int, InterfaceState&) const override {}
  std::unique_ptr<multi_ap::Service> make_agent(multi_ap::Mesh& mesh, FindController find_controller) override {
    return std::make_unique<agent::Agent>(mesh, air_, agent::Config{std::move(find_controller)});
  }

 private:
  using Time = std::chrono::milliseconds::rep;

  /// A client without an access point, and those that it tries in turn.
  struct Search {
    std::vector<MACAddress> bssids;
    std::size_t tries = 0;
    qel::time::Timer timer{};
  };

  static Time now() {
    return std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now().time_since_epoch()).count();
  }

  std::string socket_path(std::size_t node) const { return path_ + '.' + plan_.nodes[node].name; }

  void make_radios() {
    for (const wifi::AirPlan::Radio& radio : plan_.radios) {
      if (radio.node != node_) {
        continue;
      }
      const bool is_2_4_ghz = radio.band == qel::FrequencyBand::BAND_2_4_GHZ;
      wifi::AirRadio& made = air_.state.emplace_back(wifi::simulated_radio(
          radio.bssid, {radio.band}, is_2_4_ghz ? qel::ChannelWidth::WIDTH_40_MHZ : qel::ChannelWidth::WIDTH_80_MHZ));
      made.channel = radio.channel;
      made.noise = std::int8_t{-95};
      const std::string interface = "wlan" + std::to_string(air_.state.size() - 1);
      made.bss.push_back({.bssid = radio.bssid, .interface = interface, .ssid = radio.ssid});
      // It has listened for radar where it is.
      const auto channels = made.radios.front().get_channel_list().get_channels();
      for (const qel::ChannelEntry& channel : channels) {
        if (channel.get_capability_flags().test(bit_index(qel::ChannelCapabilityBit::DFS)) &&
            wifi::occupies(radio.channel, channel.get_frequency())) {
          air_.set_dfs_state(radio.bssid, channel.get_frequency(), qel::ChannelStateBit::DFS_CLEAR);
        }
      }
    }
  }

  static wifi::AirClient make_client(const wifi::AirPlan::Client& planned, const wifi::AirPlan::Radio& radio) {
    wifi::AirClient client = wifi::simulated_client(planned.mac);
    client.association_request = wifi::simulated_association_request(radio.ssid, true, true);
    client.station.connected = std::chrono::seconds(0);
    client.station.sent_octets = client.station.received_octets = 0;
    client.station.sent_packets = client.station.received_packets = 0;
    client.station.retries = client.station.send_failures = 0;
    return client;
  }

  /// Lets a second pass.
  void live() {
    const double time = static_cast<double>(now()) / 1000;
    for (wifi::AirRadio& radio : air_.state) {
      double load = IDLE_LOAD;
      for (wifi::AirClient& client : radio.bss.front().clients) {
        load += pass(client.station, *plan_.find_radio(radio.identifier), time);
      }
      radio.utilization = static_cast<std::uint8_t>(std::min(std::lround(load), 100L));
    }
  }

  /// Returns how much of the time the client uses the channel, in percent.
  double pass(wifi::Station& station, const wifi::AirPlan::Radio& radio, double time) const {
    const wifi::AirPlan::Client& client = *plan_.find_client(station.mac);
    const double phase = station.mac.octets()[5];
    const double heard = plan_.signal(client, radio) + WAVE * std::sin(time / 20 + phase);
    const double received = wifi::simulated_uplink(radio.band, heard);
    const std::uint64_t down = wifi::simulated_rate(radio.band, heard);
    const std::uint64_t up = wifi::simulated_rate(radio.band, received);
    const double demand = client.megabits * (0.6 + 0.4 * std::sin(time / 7 + phase));
    const double sent = std::min(demand, static_cast<double>(down) * 0.6);
    station.signal = station.average_signal = static_cast<std::int8_t>(std::lround(received));
    station.send_rate = {.kilobits = down * 1000};
    station.receive_rate = {.kilobits = up * 1000};
    const auto octets = static_cast<std::uint64_t>(sent * 125000);
    *station.sent_octets += octets;
    *station.received_octets += octets / 10;
    *station.sent_packets += static_cast<std::uint32_t>(octets / 1400 + 1);
    *station.received_packets += static_cast<std::uint32_t>(octets / 14000 + 1);
    *station.retries += heard < -75 ? 20 : 1;
    *station.connected += SECOND;
    return 100 * sent / (static_cast<double>(down) * 0.6);
  }

  /// The client has reports of all that it hears, the strongest first. The channels are those of the plan.
  std::vector<std::vector<std::uint8_t>> hear(const MACAddress& mac) const {
    std::vector<std::vector<std::uint8_t>> reports;
    for (const wifi::AirPlan::Radio* radio : audible(*plan_.find_client(mac))) {
      const double signal = plan_.signal(*plan_.find_client(mac), *radio);
      reports.push_back(wifi::simulated_beacon(radio->bssid, radio->channel.get_primary_frequency().get(), signal));
    }
    return reports;
  }

  std::vector<const wifi::AirPlan::Radio*> audible(const wifi::AirPlan::Client& client) const {
    std::vector<const wifi::AirPlan::Radio*> radios;
    for (const wifi::AirPlan::Radio& radio : plan_.radios) {
      if (plan_.signal(client, radio) >= wifi::WEAKEST_HEARD) {
        radios.push_back(&radio);
      }
    }
    std::ranges::stable_sort(radios, std::greater(), [&](const auto* radio) { return plan_.signal(client, *radio); });
    return radios;
  }

  void on_client(const MACAddress& bssid, const MACAddress& mac, bool has_joined) {
    if (has_joined) {
      associated_[mac] = now();
      searches_.erase(mac);
      announce(mac, bssid);
    } else {
      search(mac, {});
    }
  }

  /// The client looks for an access point, and tries the one that it wishes, if any, first.
  void search(const MACAddress& mac, const std::optional<MACAddress>& wish) {
    Search& search = searches_[mac];
    search = {};
    if (wish) {
      search.bssids.push_back(*wish);
    }
    for (const wifi::AirPlan::Radio* radio : audible(*plan_.find_client(mac))) {
      search.bssids.push_back(radio->bssid);
    }
    search.timer.start(MOVE_TIME, [this, mac] { try_next(mac); });
  }

  void try_next(const MACAddress& mac) {
    Search& search = searches_.at(mac);
    search.timer.start(PATIENCE, [this, mac] { try_next(mac); });
    if (search.bssids.empty()) {
      return;  // out of reach of all
    }
    const MACAddress bssid = search.bssids[search.tries++ % search.bssids.size()];
    const wifi::AirPlan::Radio* const radio = plan_.find_radio(bssid);
    if (radio != nullptr && radio->node == node_) {
      air_.join(bssid, make_client(*plan_.find_client(mac), *radio));  // ends the search, unless the client is denied
    } else if (radio != nullptr) {
      socket_->send(socket_path(radio->node), line(mac, bssid, now()));
    }
  }

  static std::string line(const MACAddress& mac, const MACAddress& bssid, Time time) {
    return mac.to_string() + ' ' + bssid.to_string() + ' ' + std::to_string(time);
  }

  void announce(const MACAddress& mac, const MACAddress& bssid) const {
    for (std::size_t node = 0; node < plan_.nodes.size(); ++node) {
      if (node != node_) {
        socket_->send(socket_path(node), line(mac, bssid, associated_.at(mac)));
      }
    }
  }

  void take(const std::string& text) {
    std::istringstream words(text);
    std::string first;
    std::string second;
    Time time = 0;
    MACAddress mac;
    MACAddress bssid;
    words >> first >> second >> time;
    const wifi::AirPlan::Client* const client = mac.parse_string(first) ? plan_.find_client(mac) : nullptr;
    const wifi::AirPlan::Radio* const radio = bssid.parse_string(second) ? plan_.find_radio(bssid) : nullptr;
    if (client == nullptr || radio == nullptr) {
      return;
    }
    const wifi::AirBss* const here = find_bss_of(mac);
    if (time <= associated_[mac]) {
      if (here != nullptr) {
        announce(mac, here->bssid);  // the other is not up to date
      }
    } else if (radio->node != node_) {
      associated_[mac] = time;
      forget(mac);
    } else if (!air_.is_denied(bssid, mac)) {
      forget(mac);
      air_.join(bssid, make_client(*client, *radio));
    }
  }

  const wifi::AirBss* find_bss_of(const MACAddress& mac) {
    const auto found = std::ranges::find_if(
        air_.state, [&](wifi::AirRadio& radio) { return air_.find_client(radio.identifier, mac) != nullptr; });
    return found == air_.state.end() ? nullptr : &found->bss.front();
  }

  /// The client is elsewhere.
  void forget(const MACAddress& mac) {
    air_.leave(mac);
    searches_.erase(mac);
  }

  qel::daemon::Mainloop& loop_;
  const std::string path_;
  const wifi::AirPlan plan_;
  const std::size_t node_;
  const std::shared_ptr<Socket> socket_;
  wifi::SimulatedAir air_;
  std::map<MACAddress, Time> associated_;  ///< when the clients were, as far as known here
  std::map<MACAddress, Search> searches_;
  qel::time::Timer delivery_;
  qel::time::PeriodicTimer life_;
  qel::signals::ScopedConnection on_client_;
};

}  // namespace

std::unique_ptr<Wireless> make_wireless(qel::daemon::Mainloop& loop, std::function<void()>) {
  return std::make_unique<SimulatedWireless>(loop);
}

}  // namespace meshd
