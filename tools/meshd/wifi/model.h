#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "qel/channel/wlan_radio.h"
#include "tools/meshd/wifi/event.h"
#include "tools/meshd/wifi/interface.h"
#include "tools/meshd/wifi/regulatory.h"
#include "tools/meshd/wifi/station.h"
#include "tools/meshd/wifi/survey.h"
#include "tools/meshd/wifi/wiphy.h"

namespace meshd::wifi {

/// What the kernel is asked for: all radios, all rules, all interfaces, or all stations or surveys of an interface.
struct Question {
  enum class Topic : std::uint8_t { WIPHYS, REGULATORY, INTERFACES, STATIONS, SURVEYS };
  Topic topic = Topic::WIPHYS;
  std::uint32_t interface = 0;

  friend bool operator==(const Question&, const Question&) = default;
};

/// Radios, interfaces and stations, as the kernel told of them last. It knows neither sockets nor the clock.
class Model {
 public:
  using Interfaces = std::map<std::uint32_t, Interface>;
  using Stations = std::map<qel::MACAddress, Station>;
  using Surveys = std::map<qel::kHz, Survey>;

  const Wiphys& get_wiphys() const { return wiphys_; }
  /// By their numbers; without those that are no network interface.
  const Interfaces& get_interfaces() const { return interfaces_; }
  /// None of an interface that is not known.
  const Stations& get_stations(std::uint32_t interface) const;
  const Surveys& get_surveys(std::uint32_t interface) const;
  /// The rules of a radio: its own, or those of all. Null before they are known.
  const Regulatory* get_regulatory(std::uint32_t wiphy) const;

  /// The radio in the band where it has an interface, otherwise in all its bands, with the rules, and with what was
  /// found out about its channels. Without an address of its own it is identified by that of its first interface.
  /// Throws std::out_of_range for a radio that is not there.
  qel::WLANRadio get_radio(std::uint32_t wiphy, Timestamp now) const;

  /// An answer: it counts as a whole when it ends, in place of what was known. One that was broken off ends with the
  /// next that begins.
  void begin(const Question& question);
  void add(const Message& message, Timestamp now);
  void end();

  /// Takes what an event tells, and returns what is to be asked after it.
  std::vector<Question> take(const Event& event);

  /// What is to be asked of an interface: who its stations are, and what it found out about channels.
  static std::vector<Question> questions_about(const Interface& interface);

 private:
  struct Known {
    Stations stations;
    Surveys surveys;
    Surveys earlier;  ///< those before
  };
  struct Answer {
    Question question;
    Wiphys wiphys{};
    Interfaces interfaces{};
    std::vector<Regulatory> regulatory{};
    Stations stations{};
    Surveys surveys{};
  };

  std::vector<Question> take(const WiphyEvent& event);
  std::vector<Question> take(const InterfaceEvent& event);
  std::vector<Question> take(const StationEvent& event);
  std::vector<Question> take(const AccessPointEvent& event);
  std::vector<Question> take(const LinkEvent& event);
  std::vector<Question> take(const ChannelSwitchEvent& event);
  std::vector<Question> take(const RadarEvent& event);
  std::vector<Question> take(const RegulatoryEvent& event);

  void forget_interface(std::uint32_t number);
  bool is_listening(std::uint32_t wiphy, const qel::kHz& frequency) const;

  Wiphys wiphys_;
  Interfaces interfaces_;
  std::vector<Regulatory> regulatory_;
  std::map<std::uint32_t, Known> known_;                 ///< by interface
  std::map<std::uint32_t, qel::ChannelInfo> listening_;  ///< for radar, by radio
  Answer answer_;
};

}  // namespace meshd::wifi
