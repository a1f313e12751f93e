#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "qel/channel/wlan_radio.h"
#include "tools/meshd/wifi/event.h"
#include "tools/meshd/wifi/interface.h"
#include "tools/meshd/wifi/regulatory.h"
#include "tools/meshd/wifi/station.h"
#include "tools/meshd/wifi/survey.h"
#include "tools/meshd/wifi/wiphy.h"

namespace meshd::wifi {

/// A question to the kernel: for all radios, all regulatory rules, all interfaces, or for the stations or surveys of
/// one interface.
struct Question {
  enum class Topic : std::uint8_t { WIPHYS, REGULATORY, INTERFACES, STATIONS, SURVEYS };
  Topic topic = Topic::WIPHYS;
  std::uint32_t interface = 0;  ///< the kernel's number; 0 unless the question is about one interface

  friend bool operator==(const Question&, const Question&) = default;
};

/// Limits on what is taken from the kernel. An access point has at most 2007 stations (IEEE 802.11-2020, 9.4.1.8).
inline constexpr std::size_t MOST_INTERFACES = 512;
inline constexpr std::size_t MOST_STATIONS = 2048;              ///< of an interface
inline constexpr std::size_t MOST_SURVEYS = 3 * MOST_CHANNELS;  ///< of an interface

/// The radios, interfaces and stations that the kernel last reported. Uses no sockets and no clock.
class Model {
 public:
  using Interfaces = std::map<std::uint32_t, Interface>;
  using Stations = std::map<qel::MACAddress, Station>;
  using Surveys = std::map<qel::kHz, Survey>;

  const Wiphys& get_wiphys() const { return wiphys_; }
  /// By their numbers. Excludes those that are not network interfaces, such as P2P devices.
  const Interfaces& get_interfaces() const { return interfaces_; }
  /// Empty for an unknown interface.
  const Stations& get_stations(std::uint32_t interface) const;
  /// Likewise.
  const Surveys& get_surveys(std::uint32_t interface) const;
  /// The interface of the radio that beacons: for an AP_VLAN, its access point, which has the channel; for others, and
  /// without an access point, the interface itself.
  const Interface& get_bss(const Interface& interface) const;
  /// The first access point of the radio that is on a channel; null if it has none.
  const Interface* find_access_point(std::uint32_t wiphy) const;
  /// The first address of the radio; the address of its first interface if it has none of its own.
  std::optional<qel::MACAddress> get_identifier(const Wiphy& radio) const;
  /// In percent, of the primary channel of the interface. Nothing if it is on no channel or its radio measures no
  /// times.
  std::optional<std::uint8_t> get_utilization(const Interface& interface) const;
  /// The rules of the radio, or else those for all radios. Null if neither is known. Valid until the next change.
  const Regulatory* get_regulatory(std::uint32_t wiphy) const;

  /// The radio in one band, with the regulatory power of its channels and with their state and utilization. Without a
  /// band, that in which the radio has an interface on a channel, or else its first one. Each call builds the list of
  /// channels from what the kernel allows at present, so replace an earlier list with it; updating one would keep
  /// widths that are forbidden now. Throws std::out_of_range for an unknown radio.
  qel::WLANRadio get_radio(std::uint32_t wiphy, Timestamp now,
                           std::optional<qel::FrequencyBand> band = std::nullopt) const;

  /// The three steps of an answer. The answer replaces what was known when it ends; without `end`, the next `begin`
  /// discards it.
  void begin(const Question& question);
  void add(const Message& message, Timestamp now);
  void end();

  /// Applies the event, and returns the questions to ask after it: for what it does not contain, and because an answer
  /// that is under way may be older than the event.
  std::vector<Question> take(const Event& event);

  /// The questions about the stations and channels of an interface, as far as it can have any.
  static std::vector<Question> questions_about(const Interface& interface);

 private:
  struct Known {
    Stations stations;
    Surveys surveys;
    Surveys earlier;  ///< where the measurement of the utilization begins
  };
  struct Answer {
    Question question;
    Wiphys wiphys{};
    Interfaces interfaces{};
    std::vector<Regulatory> regulatory{};
    Stations stations{};
    Surveys surveys{};
  };

  std::vector<Question> apply(const WiphyEvent& event);
  std::vector<Question> apply(const InterfaceEvent& event);
  std::vector<Question> apply(const StationEvent& event);
  std::vector<Question> apply(const AccessPointEvent& event);
  std::vector<Question> apply(const LinkEvent& event);
  std::vector<Question> apply(const ChannelSwitchEvent& event);
  std::vector<Question> apply(const RadarEvent& event);
  std::vector<Question> apply(const RegulatoryEvent& event);

  void take_interfaces(Interfaces interfaces);
  void take_stations(Known& known, Stations stations);
  void forget_interface(std::uint32_t number);
  const Interface* first_interface(std::uint32_t wiphy, bool on_a_channel) const;
  bool is_listening(std::uint32_t wiphy, const WiphyChannel& channel, Timestamp now) const;

  Wiphys wiphys_;
  Interfaces interfaces_;
  std::vector<Regulatory> regulatory_;
  std::map<std::uint32_t, Known> known_;                 ///< by interface, only of those in interfaces_
  std::map<std::uint32_t, qel::ChannelInfo> listening_;  ///< by radio: where it listens for radar
  Answer answer_;
};

}  // namespace meshd::wifi
