#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "qel/channel/frequency.h"
#include "qel/ieee1905_1/channel_preference_conversion.h"
#include "tools/meshd/controller/channels.h"
#include "tools/meshd/controller/plan.h"
#include "tools/meshd/controller/plan_cost.h"
#include "tools/meshd/view/names.h"

namespace meshd::controller {

namespace {

using namespace qel::ieee1905_1;  // NOLINT(google-build-using-namespace): all of this file is about it
using qel::ChannelWidth;
using qel::kHz;
using qel::MACAddress;

constexpr qel::UnknownChannels SKIP = qel::UnknownChannels::SKIP;
constexpr auto REGION = qel::OperatingClassDeduction::Region::GLOBAL;

// What is reported when it changes stays true until then; what is measured does not.
constexpr std::chrono::minutes LOAD_LASTS{5};
constexpr std::chrono::hours HEARING_LASTS{1};
constexpr std::uint8_t RCPI_OF_BACKHAUL = 90;  ///< -65 dBm, of a backhaul link about which no more is known
constexpr std::uint8_t LEAST_UNKNOWN_RCPI = 221;

template <class T>
bool is_fresh(const MaybeKnown<T>& fact, TimePoint now, std::chrono::seconds lasts) {
  return fact && now - fact->at <= lasts;
}

ChannelWidth widest(const kHz& frequency, const PlanPolicy& policy) {
  switch (qel::frequency_to_band(frequency)) {
    case qel::FrequencyBand::BAND_2_4_GHZ:
      return policy.widest_2_4_ghz;
    case qel::FrequencyBand::BAND_5_GHZ:
      return policy.widest_5_ghz;
    default:
      return policy.widest_6_ghz;
  }
}

/// Of an 80+80 MHz channel, the half with the primary channel.
std::optional<PrimaryChannel> current_channel(const OperatingChannelReportTLV& report) {
  std::optional<PrimaryChannel> channel = operating_channel(report);
  if (channel && channel->width == ChannelWidth::WIDTH_80_80_MHZ) {
    channel->width = ChannelWidth::WIDTH_80_MHZ;
  }
  return channel;
}

/// Makes the input, agent by agent.
class Builder {
 public:
  Builder(const MeshModel& model, const PlanPolicy& policy, TimePoint now)
      : model_(model), policy_(policy), now_(now) {}

  PlanInput build() {
    for (const auto& [al_mac, agent] : model_.agents) {
      for (const auto& [id, radio] : agent.radios) {
        if (agent.state != AgentState::LOST && radio.channel) {
          add(al_mac, agent, id, radio);
        }
      }
    }
    for (std::size_t index = 0; index < models_.size(); ++index) {
      listen(index);
    }
    for (const auto& [pair, rcpi] : heard_) {
      input_.hearings.push_back({pair.first, pair.second, rcpi});
    }
    set_demands();
    return std::move(input_);
  }

 private:
  void add(const MACAddress& al_mac, const AgentModel& agent, const MACAddress& id, const RadioModel& model) {
    const std::size_t index = input_.radios.size();
    PlanRadio radio;
    radio.agent = al_mac;
    radio.radio = id;
    radio.agent_name = visible(agent.name);
    radio.current = current_channel(model.channel->value);
    if (!radio.current) {
      fix(radio, "its operating channel is not understood");
    }
    read_scores(radio, model);
    for (const auto& [bssid, bss] : model.bss) {
      radio_of_bss_.emplace(bssid, index);
      radio.clients += static_cast<unsigned int>(bss.clients.size());
      if (is_fresh(bss.utilization, now_, LOAD_LASTS)) {
        radio.utilization = std::max(radio.utilization, bss.utilization->value * 100U / 255);
      }
    }
    if (policy_.excluded_radios.contains(id)) {
      fix(radio, "the policy excludes it");
    }
    if (agent.state == AgentState::JOINING) {
      fix(radio, "its agent is still joining");
    }
    if (!model.capabilities) {
      fix(radio, "its capabilities are not known");
    }
    const auto score = radio.current ? radio.scores.find(*radio.current) : radio.scores.end();
    const bool can_stay = score != radio.scores.end() && score->second.is_operable();
    if (can_stay && model.switched_at && now_ - *model.switched_at < policy_.settle) {
      const auto since = std::chrono::duration_cast<std::chrono::seconds>(now_ - *model.switched_at);
      fix(radio, "it changed " + std::to_string(since.count()) + " s ago and stays for at least " +
                     std::to_string(policy_.settle.count()) + " s");
    }
    // Otherwise each plan would begin with it, and end there.
    const auto rest = std::max(policy_.settle, 4 * policy_.interval);
    if (model.failed_at && now_ - *model.failed_at < rest) {
      const auto since = std::chrono::duration_cast<std::chrono::seconds>(now_ - *model.failed_at);
      fix(radio, "a plan could not move it " + std::to_string(since.count()) + " s ago; it is left alone for " +
                     std::to_string(rest.count()) + " s");
    }
    for (const MACAddress& station : agent.backhaul_stations) {
      agent_of_station_.emplace(station, &al_mac);
    }
    radios_of_agent_[al_mac].push_back(index);
    models_.push_back(&model);
    input_.radios.push_back(std::move(radio));
  }

  /// The first reason counts.
  static void fix(PlanRadio& radio, const std::string& why) {
    radio.fixed_why = radio.is_fixed ? radio.fixed_why : why;
    radio.is_fixed = true;
  }

  /// A radio stays in its band, even if it can use several: hostapd cannot switch to another one.
  void read_scores(PlanRadio& radio, const RadioModel& model) const {
    if (!model.capabilities) {
      return;
    }
    const ChannelPreferenceConversion conversion(model.capabilities->value, REGION, SKIP);
    ChannelPreferenceTLV preferences(conversion.get_radio_identifier());
    if (model.preferences && model.preferences->value.get_radio_identifier() == conversion.get_radio_identifier()) {
      preferences = model.preferences->value;
    }
    for (const auto& [channel, score] : conversion.to_primary_scores(conversion.to_scores(preferences))) {
      if (radio.current &&
          qel::frequency_to_band(channel.frequency) != qel::frequency_to_band(radio.current->frequency)) {
        continue;
      }
      if (channel == radio.current ||
          (channel.width != ChannelWidth::WIDTH_80_80_MHZ && channel.width <= widest(channel.frequency, policy_))) {
        radio.scores.emplace(channel, score);
      }
    }
  }

  /// Finds whom the radio's clients hear, and which of them are backhaul stations.
  void listen(std::size_t index) {
    for (const auto& [bssid, bss] : models_[index]->bss) {
      for (const auto& [mac, client] : bss.clients) {
        for (const auto& [heard, rcpi] : client.heard_bss) {
          const auto other = radio_of_bss_.find(heard);
          if (other != radio_of_bss_.end() && now_ - rcpi.at <= HEARING_LASTS && rcpi.value < LEAST_UNKNOWN_RCPI) {
            hear(index, other->second, rcpi.value);
          }
        }
        const auto agent = agent_of_station_.find(mac);
        if (agent != agent_of_station_.end() && *agent->second != input_.radios[index].agent) {
          ++input_.radios[index].backhaul_clients;
          link(index, *agent->second, client);
        }
      }
    }
  }

  /// A backhaul link says how well the two devices hear each other. The radio on its channel is that of the station.
  void link(std::size_t index, const MACAddress& agent, const ClientModel& station) {
    const bool is_known =
        is_fresh(station.link, now_, LOAD_LASTS) && station.link->value.uplink_rcpi < LEAST_UNKNOWN_RCPI;
    const std::uint8_t rcpi = is_known ? station.link->value.uplink_rcpi : RCPI_OF_BACKHAUL;
    const std::optional<PrimaryChannel>& channel = input_.radios[index].current;
    for (const std::size_t other : radios_of_agent_[agent]) {
      PlanRadio& radio = input_.radios[other];
      if (!channel || !radio.current) {
        continue;
      }
      if (radio.current->frequency == channel->frequency && !radio.follows) {
        radio.follows = index;
      }
      for (const std::size_t ours : radios_of_agent_[input_.radios[index].agent]) {
        if (is_in_band_of(input_.radios[ours], radio)) {
          hear(ours, other, rcpi);
        }
      }
    }
  }

  static bool is_in_band_of(const PlanRadio& one, const PlanRadio& other) {
    return one.current && other.current &&
           qel::frequency_to_band(one.current->frequency) == qel::frequency_to_band(other.current->frequency);
  }

  void hear(std::size_t one, std::size_t other, std::uint8_t rcpi) {
    if (one != other) {
      std::uint8_t& known = heard_[std::minmax(one, other)];
      known = std::max(known, rcpi);
    }
  }

  /// A radio also measures the traffic of others that it hears on its channel. The sum is divided by their clients.
  void set_demands() {
    std::vector<double> all;
    for (const PlanRadio& radio : input_.radios) {
      all.push_back(1.0 + radio.clients);
    }
    for (const Hearing& hearing : input_.hearings) {
      const PlanRadio& one = input_.radios[hearing.one];
      const PlanRadio& other = input_.radios[hearing.other];
      if (one.current && other.current) {
        const double part = cost::weight_of_hearing(hearing.rcpi) * cost::overlap(*one.current, *other.current);
        all[hearing.one] += part * (1.0 + other.clients);
        all[hearing.other] += part * (1.0 + one.clients);
      }
    }
    for (std::size_t index = 0; index < all.size(); ++index) {
      PlanRadio& radio = input_.radios[index];
      const double speed = radio.current ? cost::speed(radio.current->width) : 1;
      radio.demand = radio.utilization * speed * (1.0 + radio.clients) / all[index];
    }
  }

  const MeshModel& model_;
  const PlanPolicy& policy_;
  TimePoint now_;
  PlanInput input_;
  std::vector<const RadioModel*> models_;  ///< by index of the radio, like those of the input
  std::map<MACAddress, std::size_t> radio_of_bss_;
  std::map<MACAddress, const MACAddress*> agent_of_station_;
  std::map<MACAddress, std::vector<std::size_t>> radios_of_agent_;
  std::map<std::pair<std::size_t, std::size_t>, std::uint8_t> heard_;  ///< the lower index first
};

}  // namespace

PlanInput plan_input(const MeshModel& model, const PlanPolicy& policy, TimePoint now) {
  return Builder(model, policy, now).build();
}

}  // namespace meshd::controller
