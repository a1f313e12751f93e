#include "tools/meshd/controller/plan.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <ctime>
#include <iomanip>
#include <iostream>
#include <map>
#include <random>
#include <vector>

#include "qel/ieee1905_1/channel_preference_conversion.h"

/// Plans channels for meshes of 100 to 600 radios: devices with one radio in each band, at random places with the same
/// density, once with reports of who hears whom and once without. The yardstick is the mesh of 100 radios: a table of
/// the growth follows the measurements.

namespace {

using namespace meshd::controller;
using namespace qel::ieee1905_1;
using qel::ChannelWidth;

constexpr int SIZES[] = {100, 200, 400, 600};
constexpr unsigned int BANDS = 3;

struct Band {
  std::vector<std::uint8_t> opclasses;
  ChannelWidth widest;
};

const std::array<Band, BANDS> ALL_BANDS = {{
    {{81}, ChannelWidth::WIDTH_20_MHZ},
    {{115, 116, 117, 118, 119, 120, 121, 122, 123, 125, 126, 127, 128}, ChannelWidth::WIDTH_80_MHZ},
    {{131, 132, 133, 134}, ChannelWidth::WIDTH_160_MHZ},
}};

/// All channels of the band; those that need radar detection are free.
PrimaryScores scores_of(const Band& band) {
  APRadioBasicCapabilitiesTLV capabilities;
  for (const std::uint8_t opclass : band.opclasses) {
    capabilities.add_operation_class_information({opclass, 20});
  }
  const ChannelPreferenceConversion conversion(capabilities);
  PrimaryScores scores = conversion.to_primary_scores(conversion.to_scores(ChannelPreferenceTLV()));
  std::erase_if(scores, [&](const auto& each) { return each.first.width > band.widest; });
  for (auto& [channel, score] : scores) {
    const long mhz = channel.frequency.value() / 1000;
    if ((mhz > 5250 && mhz < 5350) || (mhz > 5470 && mhz < 5730)) {
      score = {12, ChannelPreferenceReasonCode::IMMEDIATE_OPERATION_POSSIBLE_ON_DFS_CHANNEL};
    }
  }
  return scores;
}

PlanInput mesh_of(int radios, bool is_heard) {
  constexpr double SPACING = 15;  // meters between devices, on average
  std::mt19937 random(1905);      // its numbers are the same everywhere
  const auto pick = [&](unsigned int number) { return static_cast<unsigned int>(random() % number); };
  const auto devices = static_cast<unsigned int>(radios) / BANDS;
  std::vector<std::pair<double, double>> places;
  PlanInput input;
  for (unsigned int device = 0; device < devices; ++device) {
    const double side = std::sqrt(devices) * SPACING;
    places.emplace_back(pick(1000) * side / 1000, pick(1000) * side / 1000);
    for (unsigned int band = 0; band < BANDS; ++band) {
      PlanRadio radio;
      const auto high = static_cast<std::uint8_t>(device >> 8U);
      const auto low = static_cast<std::uint8_t>(device);
      radio.agent = qel::MACAddress({2, 0, 0, 0, high, low});
      radio.radio = qel::MACAddress({2, 0, 0, static_cast<std::uint8_t>(band + 1), high, low});
      radio.scores = scores_of(ALL_BANDS[band]);
      radio.current = std::next(radio.scores.begin(), pick(static_cast<unsigned int>(radio.scores.size())))->first;
      radio.clients = pick(30);
      radio.demand = pick(150);
      input.radios.push_back(radio);
    }
  }
  for (unsigned int one = 0; one < devices && is_heard; ++one) {
    for (unsigned int other = one + 1; other < devices; ++other) {
      const double distance =
          std::hypot(places[one].first - places[other].first, places[one].second - places[other].second);
      const double dbm = -40 - 35 * std::log10(std::max(distance, 1.0));
      for (unsigned int band = 0; band < BANDS && dbm > -95; ++band) {
        input.hearings.push_back(
            {one * BANDS + band, other * BANDS + band, static_cast<std::uint8_t>(2 * (dbm + 110))});
      }
    }
  }
  return input;
}

std::map<std::pair<bool, int>, double>& seconds() {
  static std::map<std::pair<bool, int>, double> all;
  return all;
}

void plan(benchmark::State& state, bool is_heard) {
  const auto radios = static_cast<int>(state.range(0));
  const PlanInput input = mesh_of(radios, is_heard);
  Plan plan;
  double least = 1e9;
  for ([[maybe_unused]] auto _ : state) {
    const std::clock_t start = std::clock();  // of the processor, so that others on the machine matter less
    plan = make_plan(input, {});
    least = std::min(least, static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
  }
  state.counters["hearings"] = static_cast<double>(input.hearings.size());
  state.counters["changes"] = static_cast<double>(plan.changes.size());
  state.counters["cost_before"] = plan.cost_before;
  state.counters["cost_after"] = plan.cost_after;
  double& known = seconds().try_emplace({is_heard, radios}, least).first->second;
  known = std::min(known, least);
}

BENCHMARK_CAPTURE(plan, heard, true)->Unit(benchmark::kMillisecond)->ArgsProduct({{100, 200, 400, 600}});
BENCHMARK_CAPTURE(plan, unknown, false)->Unit(benchmark::kMillisecond)->ArgsProduct({{100, 200, 400, 600}});

void print_growth() {
  std::cout << "\nGrowth, compared with 100 radios\n  radios  heard: ms  times   unknown: ms  times\n" << std::fixed;
  for (const int radios : SIZES) {
    std::cout << std::setw(8) << radios;
    for (const bool is_heard : {true, false}) {
      const auto found = seconds().find({is_heard, radios});
      const auto first = seconds().find({is_heard, SIZES[0]});
      if (found != seconds().end() && first != seconds().end()) {
        std::cout << std::setprecision(1) << std::setw(is_heard ? 11 : 14) << found->second * 1000 << std::setw(7)
                  << found->second / first->second;
      }
    }
    std::cout << '\n';
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 1;
  }
  benchmark::RunSpecifiedBenchmarks();
  print_growth();
  return 0;
}
