#include <benchmark/benchmark.h>

#include <algorithm>
#include <bitset>
#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "bench/allocations.h"
#include "qel/channel/frequency.h"
#include "qel/channel/operating_class_deduction.h"

/// Compares looking up the operating classes of all channels with a binary search for the same frequencies in one
/// sorted array, in the same run. The results are the ratios; a table of them, per channel, follows the measurements.

namespace {

using namespace qel;
using Deduction = OperatingClassDeduction;
using Region = Deduction::Region;
using Behavior = Deduction::Behavior;

/// A channel in its segment, made from the 20 MHz channels of the region's classes.
struct Channel {
  kHz primary;
  ChannelWidth width;
  std::set<Behavior> behaviors;
  ChannelInfo info;
  unsigned char opclass;
};

/// Every class with all its 20 MHz channels.
std::vector<Channel> all_channels(Region region) {
  const Deduction::OpclassLookup& lookup = Deduction::get_lookup(region);
  const std::vector<kHz> primaries = lookup.get_primary_frequencies_with_capabilities(std::bitset<9>(1));
  std::vector<Channel> channels;
  for (const unsigned char opclass : lookup.get_all_region_opclasses()) {
    const std::bitset<9> capabilities = lookup.get_channel_capabilities(opclass);
    const ChannelWidth width = capability_bits_max_channel_width(capabilities);
    const std::set<Behavior> behaviors = Deduction::OpclassLookup::behaviors_from_channel_capabilities(capabilities);
    for (const kHz& primary : primaries) {
      if (is_valid(width) && lookup.get_opclass(width, primary, behaviors) == opclass) {
        const kHz center = behaviors.contains(Behavior::PRIMARY_LOWER_BEHAVIOR) ? primary + kHz(10000) : primary;
        const ChannelInfo info(LastChanged<kHz>(primary), LastChanged<ChannelInfo::Segment>({center, width}), primary,
                               {});
        channels.push_back({primary, width, behaviors, info, opclass});
      }
    }
  }
  return channels;
}

/// Runs `step` once over all channels; counts its allocations after a warm-up.
template <class Step>
void measure(benchmark::State& state, const std::vector<Channel>& channels, Step step) {
  const auto pass = [&] {
    for (const Channel& channel : channels) {
      benchmark::DoNotOptimize(step(channel));
    }
  };
  pass();
  const std::size_t before = allocations;
  pass();
  const std::size_t of_pass = allocations - before;
  const auto count = static_cast<double>(channels.size());
  state.counters["channels"] = count;
  state.counters["allocs"] = static_cast<double>(of_pass) / count;
  for (auto iteration : state) {
    pass();
  }
}

void search_flat_array(benchmark::State& state, const std::vector<Channel>& channels, Region) {
  struct Row {
    ChannelWidth width;
    kHz primary;
    unsigned char opclass;
  };
  std::vector<Row> rows;
  for (const Channel& channel : channels) {
    rows.push_back({channel.width, channel.primary, channel.opclass});
  }
  const auto key = [](const auto& row) { return std::pair(row.width, row.primary); };
  std::ranges::sort(rows, {}, key);
  measure(state, channels,
          [&](const Channel& channel) { return std::ranges::lower_bound(rows, key(channel), {}, key)->opclass; });
}

void get_opclass(benchmark::State& state, const std::vector<Channel>& channels, Region region) {
  const Deduction::OpclassLookup& lookup = Deduction::get_lookup(region);
  measure(state, channels, [&](const Channel& channel) {
    const unsigned char opclass = lookup.get_opclass(channel.width, channel.primary, channel.behaviors);
    if (opclass != channel.opclass) {
      std::abort();
    }
    return opclass;
  });
}

/// Measures the cost of returning the answer in a vector.
void make_vector(benchmark::State& state, const std::vector<Channel>& channels, Region) {
  measure(state, channels, [](const Channel& channel) { return std::vector<unsigned char>{channel.opclass}; });
}

void from_channel_info(benchmark::State& state, const std::vector<Channel>& channels, Region region) {
  measure(state, channels,
          [&](const Channel& channel) { return Deduction::get_opclasses_from_channel_info(channel.info, region); });
}

/// Collects the figures for the table while the usual reporter prints them. Keeps the fastest of repeated runs.
class Figures : public benchmark::ConsoleReporter {
 public:
  Figures() : ConsoleReporter(OO_Tabular) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration || run.error_occurred) {
        continue;
      }
      const Figure figure{run.GetAdjustedCPUTime() / run.counters.at("channels"), run.counters.at("allocs")};
      const auto [place, added] = figures_.emplace(run.run_name.function_name, figure);
      if (!added && figure.nanoseconds < place->second.nanoseconds) {
        place->second = figure;
      }
    }
  }

  void print_table(std::ostream& os) const {
    os << "\nregion   lookup              library   beside             ratio   allocations (beside)\n" << std::fixed;
    for (const std::string region : {"EUROPE", "GLOBAL"}) {
      print_row(os, region, "get_opclass", "flat_array");
      print_row(os, region, "from_channel_info", "vector");
    }
  }

 private:
  struct Figure {
    double nanoseconds;
    double allocations;
  };

  void print_row(std::ostream& os, const std::string& region, const std::string& name,
                 const std::string& yardstick) const {
    const auto library = figures_.find(region + "/" + name);
    const auto beside = figures_.find(region + "/" + yardstick);
    if (library == figures_.end() || beside == figures_.end()) {
      return;  // excluded by --benchmark_filter
    }
    os << std::left << std::setw(9) << region << std::setw(18) << name << std::right << std::setprecision(1)
       << std::setw(6) << library->second.nanoseconds << " ns" << std::setw(6) << beside->second.nanoseconds << " ns "
       << std::left << std::setw(12) << yardstick << std::right << std::setprecision(2) << std::setw(5)
       << library->second.nanoseconds / beside->second.nanoseconds << std::setw(8) << library->second.allocations
       << " (" << beside->second.allocations << ")\n";
  }

  std::map<std::string, Figure> figures_;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 2;
  }
  using Benchmark = void (*)(benchmark::State&, const std::vector<Channel>&, Region);
  constexpr std::pair<const char*, Benchmark> LOOKUPS[] = {{"flat_array", search_flat_array},
                                                           {"get_opclass", get_opclass},
                                                           {"vector", make_vector},
                                                           {"from_channel_info", from_channel_info}};
  for (const Region region : {Region::EUROPE, Region::GLOBAL}) {
    const std::vector<Channel> channels = all_channels(region);
    for (const auto& [name, function] : LOOKUPS) {
      const auto run = [channels, region, function = function](benchmark::State& state) {
        function(state, channels, region);
      };
      benchmark::RegisterBenchmark(((region == Region::EUROPE ? "EUROPE/" : "GLOBAL/") + std::string(name)).c_str(),
                                   run);
    }
  }
  Figures figures;
  benchmark::RunSpecifiedBenchmarks(&figures);
  figures.print_table(std::cout);
  return 0;
}
