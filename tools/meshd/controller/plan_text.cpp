#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "qel/channel/frequency.h"
#include "tools/json_line.h"
#include "tools/meshd/controller/plan.h"
#include "tools/meshd/controller/plan_words.h"

namespace meshd::controller {

namespace {

using qel::ieee1905_1::ChannelPreferenceReasonCode;
using qel::ieee1905_1::PrimaryChannel;

/// Where a radio goes; nothing if it stays.
const PlanChange* change_of(const Plan& plan, std::size_t radio) {
  for (const PlanChange& change : plan.changes) {
    if (change.radio == radio) {
      return &change;
    }
  }
  return nullptr;
}

std::string name_of(const std::optional<PrimaryChannel>& channel) {
  return channel ? controller::name_of(*channel) : "no channel";
}

/// In thousandths of the air time of one radio, since the JSON has whole numbers.
std::int64_t permille(double cost) { return std::llround(cost * 10); }

std::optional<std::int64_t> finite_permille(double cost) {
  return std::isnan(cost) ? std::nullopt : std::optional(permille(cost));
}

/// Channels that have the same reason and cost share a line.
std::string rejected_text(const std::vector<Rejected>& rejected, double cost_after) {
  std::vector<std::pair<std::string, std::string>> lines;  // the end, and the channels before it
  for (const Rejected& each : rejected) {
    const std::string more = std::isnan(each.cost) ? "" : number(each.cost - cost_after);
    const std::string end =
        (more.empty() ? "" : " (" + std::string(more.front() == '-' ? "" : "+") + more + ')') + ": " + each.why + '\n';
    const auto known = std::ranges::find(lines, end, &std::pair<std::string, std::string>::first);
    if (known == lines.end()) {
      lines.emplace_back(end, controller::name_of(each.channel));
    } else {
      known->second += ", " + controller::name_of(each.channel);
    }
  }
  std::string text;
  for (const auto& [end, channels] : lines) {
    text += "      not " + channels + end;
  }
  return text;
}

/// The radio, what is on its channel, and where it goes.
std::string head_of(const PlanRadio& radio, const PlanChange* change) {
  return "  " + name_of(radio) + ", " + std::to_string(radio.utilization) + " % busy, " +
         count(radio.clients, "client") + ": " + name_of(radio.current) +
         (change == nullptr ? "" : " -> " + controller::name_of(change->to)) + '\n';
}

void write_channel(tools::JsonLine& json, const char* key, const std::optional<PrimaryChannel>& channel) {
  json.object(key, channel, [&](const PrimaryChannel& value) {
    json.member("channel", qel::frequency_to_channel(value.frequency));
    json.member("frequency_mhz", static_cast<std::int64_t>(value.frequency.value() / 1000));
    json.member("width_mhz", static_cast<std::int64_t>(qel::channel_width_to_frequency(value.width).value()));
  });
}

}  // namespace

std::string name_of(const PrimaryChannel& channel) {
  return std::to_string(qel::frequency_to_channel(channel.frequency)) +
         (qel::frequency_to_band(channel.frequency) == qel::FrequencyBand::BAND_6_GHZ ? " (6 GHz)" : "") + " at " +
         std::to_string(qel::channel_width_to_frequency(channel.width).value()) + " MHz";
}

std::string name_of(const PlanRadio& radio) {
  return radio.radio.to_string() + (radio.agent_name.empty() ? "" : " (" + radio.agent_name + ')');
}

std::string number(double cost) {
  const std::int64_t tenths = permille(cost);
  const std::int64_t size = std::abs(tenths);
  return (tenths < 0 ? "-" : "") + std::to_string(size / 10) + '.' + std::to_string(size % 10);
}

std::string count(std::size_t number, const char* thing) {
  return std::to_string(number) + ' ' + thing + (number == 1 ? "" : "s");
}

std::string meaning_of(ChannelPreferenceReasonCode reason) {
  using Reason = ChannelPreferenceReasonCode;
  switch (reason) {
    case Reason::UNSPECIFIED:
      return "the radio gives no reason";
    case Reason::PROXIMATE_NON_80211_INTERFERER:
      return "something else than Wi-Fi interferes";
    case Reason::INTRA_NETWORK_80211_OBSS_INTERFERENCE_MANAGEMENT:
      return "radios of this mesh are kept apart";
    case Reason::EXTERNAL_NETWORK_80211_OBSS_INTERFERENCE_MANAGEMENT:
      return "another network is there";
    case Reason::REDUCED_COVERAGE:
      return "reduced coverage";
    case Reason::REDUCED_THROUGHPUT:
      return "reduced throughput";
    case Reason::INDEVICE_INTERFERER_WITHIN_AP:
      return "its device interferes";
    case Reason::OPERATION_DISALLOWED_RADAR_DFS_CHANNEL:
      return "radar was found";
    case Reason::OPERATION_WOULD_PREVENT_BACKHAUL_OPERATION:
      return "its backhaul would break";
    case Reason::IMMEDIATE_OPERATION_POSSIBLE_ON_DFS_CHANNEL:
    case Reason::CONTROLLER_DFS_CHANNEL_CLEAR_INDICATION:
      return "free of radar so far";
    case Reason::DFS_CHANNEL_STATE_UNKNOWN:
      return "not yet checked for radar";
    default:
      return enum_to_string(reason);
  }
}

std::string plan_text(const PlanInput& input, const Plan& plan) {
  std::string text = plan.verdict + '\n';
  if (!input.radios.empty()) {
    text += "Costs are in percent of the air time of one radio.\n";
  }
  if (!plan.changes.empty()) {
    text += "\nChanges, in this order:\n";
  }
  for (const PlanChange& change : plan.changes) {
    text += head_of(input.radios[change.radio], &change) + "      " + change.why + '\n' +
            rejected_text(plan.rejected[change.radio], plan.cost_after);
  }
  std::string stays;
  for (std::size_t index = 0; index < input.radios.size(); ++index) {
    if (change_of(plan, index) == nullptr) {
      stays += head_of(input.radios[index], nullptr) + "      " + plan.stays[index] + '\n' +
               rejected_text(plan.rejected[index], plan.cost_after);
    }
  }
  return text + (stays.empty() ? "" : "\nStays:\n" + stays);
}

std::string plan_json(const PlanInput& input, const Plan& plan) {
  return tools::json_line([&](tools::JsonLine& json) {
    json.member("verdict", plan.verdict);
    json.member("cost_before", permille(plan.cost_before));
    json.member("cost_after", permille(plan.cost_after));
    json.objects("changes", plan.changes, [&](const PlanChange& change) {
      const PlanRadio& radio = input.radios[change.radio];
      json.member("agent", radio.agent);
      json.member("radio", radio.radio);
      write_channel(json, "from", radio.current);
      write_channel(json, "to", change.to);
      json.member("why", change.why);
    });
    json.objects("radios", input.radios, [&](const PlanRadio& radio) {
      const auto index = static_cast<std::size_t>(&radio - input.radios.data());
      const PlanChange* change = change_of(plan, index);
      json.member("agent", radio.agent);
      json.member("name", radio.agent_name.empty() ? std::nullopt : std::optional(radio.agent_name));
      json.member("radio", radio.radio);
      write_channel(json, "current", radio.current);
      json.member("utilization", radio.utilization);
      json.member("clients", radio.clients);
      json.member("changes", change != nullptr);
      json.member("why", change != nullptr ? change->why : plan.stays[index]);
      json.objects("rejected", plan.rejected[index], [&](const Rejected& rejected) {
        write_channel(json, "channel", rejected.channel);
        json.member("cost", finite_permille(rejected.cost));
        json.member("why", rejected.why);
      });
    });
  });
}

}  // namespace meshd::controller
