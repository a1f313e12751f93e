#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/channel_score.h"
#include "tools/meshd/controller/mesh_model.h"
#include "tools/meshd/controller/result.h"
#include "tools/meshd/multi_ap/courier.h"

namespace meshd::controller {

/// Moves radios to other channels.
class ChannelOrders {
 public:
  struct Step {
    qel::MACAddress radio;
    qel::ieee1905_1::PrimaryChannel to;
  };

  /// Everything is borrowed.
  ChannelOrders(MeshModel& model, multi_ap::Courier& courier) : model_(model), courier_(courier) {}

  /// Succeeds once the radio reports that it operates there. Throws std::invalid_argument for an order that makes no
  /// sense, and sends nothing.
  void set_channel(const Step& step, TimePoint now, OnResult on_result);

  /// One after the other, until one fails.
  void set_channels(std::vector<Step> steps, TimePoint now, OnResult on_result);

  bool is_busy() const { return is_in_series_ || !switches_.empty(); }

  /// The radio has reported its channel.
  void on_channel(const qel::MACAddress& radio, TimePoint now);
  void tend(TimePoint now);

 private:
  struct Switch {
    qel::ieee1905_1::PrimaryChannel to;
    std::string from;  ///< for people
    TimePoint since;
    TimePoint due;
    OnResult on_result;
  };
  using Switches = std::map<qel::MACAddress, Switch>;
  struct Series;

  bool is_there(const qel::MACAddress& radio, const Switch& order) const;
  void on_response(const qel::MACAddress& radio, const qel::MACAddress& agent, multi_ap::Outcome outcome,
                   const qel::ieee1905_1::Message* answer, TimePoint now);
  void end(Switches::iterator place, TimePoint now, bool is_success, const std::string& text);
  void go_on(Series series, TimePoint now);
  void set_failed_at(const qel::MACAddress& radio, const std::optional<TimePoint>& time);

  MeshModel& model_;
  multi_ap::Courier& courier_;
  Switches switches_;  // by radio
  bool is_in_series_ = false;
};

}  // namespace meshd::controller
