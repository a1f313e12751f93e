#include "tools/meshd/wifi/survey.h"

#include <linux/nl80211.h>

#include <algorithm>
#include <limits>

#include "tools/meshd/wifi/station.h"

namespace meshd::wifi {

namespace {

using std::chrono::milliseconds;

void take_time(Octets attribute, std::optional<milliseconds>& target) {
  std::uint64_t count = 0;
  constexpr std::uint64_t LARGEST = std::numeric_limits<milliseconds::rep>::max();
  if (take(attribute, count)) {
    target = milliseconds(static_cast<milliseconds::rep>(std::min(count, LARGEST)));
  }
}

}  // namespace

Survey survey_of(const Message& message) {
  Survey survey;
  std::uint32_t megahertz = 0;
  std::uint32_t offset = 0;
  netlink::for_each_attribute(message.attributes, [&](int outer, Octets information) {
    if (outer != NL80211_ATTR_SURVEY_INFO) {
      return;
    }
    for_each_nested(information, [&](int type, Octets value) {
      switch (type) {
        case NL80211_SURVEY_INFO_FREQUENCY:
          take(value, megahertz);
          break;
        case NL80211_SURVEY_INFO_FREQUENCY_OFFSET:
          take(value, offset);
          break;
        case NL80211_SURVEY_INFO_NOISE:
          take(value, survey.noise);
          break;
        case NL80211_SURVEY_INFO_IN_USE:
          survey.is_in_use = true;
          break;
        case NL80211_SURVEY_INFO_TIME:
          take_time(value, survey.active);
          break;
        case NL80211_SURVEY_INFO_TIME_BUSY:
          take_time(value, survey.busy);
          break;
        case NL80211_SURVEY_INFO_TIME_RX:
          take_time(value, survey.receiving);
          break;
        case NL80211_SURVEY_INFO_TIME_TX:
          take_time(value, survey.sending);
          break;
        default:
          break;
      }
    });
  });
  survey.frequency = frequency_of(megahertz, offset);
  return survey;
}

std::optional<std::uint8_t> utilization(const Survey& survey, const Survey& earlier) {
  if (!survey.active || !survey.busy) {
    return std::nullopt;
  }
  const bool goes_on = earlier.active.value_or(milliseconds(0)) <= *survey.active &&
                       earlier.busy.value_or(milliseconds(0)) <= *survey.busy;
  const Survey begin = goes_on ? earlier : Survey();
  const milliseconds active = *survey.active - begin.active.value_or(milliseconds(0));
  const milliseconds busy = std::min(active, *survey.busy - begin.busy.value_or(milliseconds(0)));
  if (active == milliseconds(0)) {
    return std::nullopt;
  }
  // Divides before multiplying if the product could overflow.
  constexpr int PERCENT = 100;
  const auto share = active.count() > std::numeric_limits<std::int32_t>::max()
                         ? busy.count() / (active.count() / PERCENT)
                         : busy.count() * PERCENT / active.count();
  return static_cast<std::uint8_t>(std::min<milliseconds::rep>(share, PERCENT));
}

void apply_survey(qel::ChannelList& channels, const Survey& survey, const Survey& earlier, Timestamp now) {
  qel::ChannelEntry* const entry = channels.get_channel_entry(survey.frequency);
  if (entry == nullptr) {
    return;
  }
  if (survey.noise) {
    entry->set_ANPI({rcpi_of(*survey.noise), now});
  }
  if (const auto share = utilization(survey, earlier)) {
    entry->set_channel_utilization({*share, now});
  }
}

}  // namespace meshd::wifi
