#include "tools/meshd/wifi/regulatory.h"

#include <linux/nl80211.h>

#include <algorithm>
#include <limits>

namespace meshd::wifi {

namespace {

/// Reads a frequency in kHz. The kernel uses 32 bits without a sign; higher values become 2^31 - 1.
qel::kHz kilohertz_in(Octets attribute) {
  std::uint32_t count = 0;
  take(attribute, count);
  constexpr std::uint32_t LARGEST = std::numeric_limits<std::int32_t>::max();
  return qel::kHz(static_cast<long>(std::min(count, LARGEST)));
}

RegulatoryRule rule_of(Octets attributes) {
  RegulatoryRule rule;
  for_each_nested(attributes, [&](int type, Octets value) {
    std::int32_t hundredths = 0;
    switch (type) {
      case NL80211_ATTR_FREQ_RANGE_START:
        rule.start = kilohertz_in(value);
        break;
      case NL80211_ATTR_FREQ_RANGE_END:
        rule.end = kilohertz_in(value);
        break;
      case NL80211_ATTR_FREQ_RANGE_MAX_BW:
        rule.max_bandwidth = kilohertz_in(value);
        break;
      case NL80211_ATTR_POWER_RULE_MAX_EIRP:
        if (take(value, hundredths)) {
          rule.max_power = dbm_of(hundredths);
        }
        break;
      default:
        break;
    }
  });
  return rule;
}

}  // namespace

Regulatory regulatory_of(const Message& message) {
  Regulatory regulatory;
  netlink::for_each_attribute(message.attributes, [&](int type, Octets value) {
    switch (type) {
      case NL80211_ATTR_REG_ALPHA2:
        regulatory.country = country_of(value);
        break;
      case NL80211_ATTR_WIPHY:
        take(value, regulatory.wiphy);
        break;
      case NL80211_ATTR_REG_RULES:
        for_each_nested(value, [&](int, Octets rule) {
          if (regulatory.rules.size() < MOST_RULES) {
            regulatory.rules.push_back(rule_of(rule));
          }
        });
        break;
      default:
        break;
    }
  });
  return regulatory;
}

std::optional<float> max_regulatory_power(const Regulatory& regulatory, const qel::kHz& frequency) {
  constexpr qel::kHz HALF(10'000);
  const auto rule =
      std::find_if(regulatory.rules.begin(), regulatory.rules.end(), [&](const RegulatoryRule& candidate) {
        return candidate.start <= frequency - HALF && frequency + HALF <= candidate.end;
      });
  return rule == regulatory.rules.end() ? std::nullopt : std::optional(rule->max_power);
}

}  // namespace meshd::wifi
