#pragma once

#include <string>

#include "qel/ieee1905_1/channel_score.h"
#include "tools/meshd/controller/plan.h"

/// How plans speak of radios, channels and costs.
namespace meshd::controller {

/// "36 at 80 MHz", or "37 (6 GHz) at 160 MHz".
std::string name_of(const qel::ieee1905_1::PrimaryChannel& channel);

/// The identifier, and the name of its agent in parentheses.
std::string name_of(const PlanRadio& radio);

/// With one decimal: "43.1".
std::string number(double cost);

/// "1 client", "2 clients".
std::string count(std::size_t number, const char* thing);

/// What a reason says of a channel, such as "radar was found".
std::string meaning_of(qel::ieee1905_1::ChannelPreferenceReasonCode reason);

}  // namespace meshd::controller
