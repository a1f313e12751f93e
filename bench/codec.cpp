#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "bench/allocations.h"
#include "bench/plain_codec.h"
#include "qel/core/serialization/memory_stream.h"
#include "qel/core/serialization/serialization_context.h"
#include "qel/ieee1905_1/message.h"

/// Compares decoding, encoding and printing of the reference messages with a memcpy of the same octets and with a
/// hand-written codec, in the same run. The results are the ratios; a table of them follows the measurements.

namespace {

using qel::ieee1905_1::Message;
using qel::serialization::MemoryIStream;
using qel::serialization::MemoryOStream;
using qel::serialization::SerializationContext;
using Octets = std::vector<std::uint8_t>;

constexpr const char* MESSAGES[] = {"topology_response", "topology_response_large", "link_metric_response",
                                    "ap_capability_report", "channel_preference_report_large"};

Octets read_hex(const std::string& name) {
  std::ifstream file(std::string(QEL_BENCH_VECTORS) + "/" + name + ".hex");
  Octets octets;
  char high = 0;
  char low = 0;
  while (file >> high >> low) {
    octets.push_back(static_cast<std::uint8_t>(std::stoi(std::string{high, low}, nullptr, 16)));
  }
  if (octets.empty()) {
    throw std::runtime_error("no octets in " + name + ".hex");
  }
  return octets;
}

/// Counts the allocations of one iteration after a warm-up.
template <class Step>
void measure(benchmark::State& state, Step step) {
  step();
  const std::size_t before = allocations;
  step();
  state.counters["allocs"] = static_cast<double>(allocations - before);
  for (auto iteration : state) {
    step();
  }
}

void copy_octets(benchmark::State& state, const Octets& octets) {
  Octets target(octets.size());
  measure(state, [&] {
    std::memcpy(target.data(), octets.data(), octets.size());
    benchmark::DoNotOptimize(target.data());
    benchmark::ClobberMemory();
  });
}

void decode_by_hand(benchmark::State& state, const Octets& octets) {
  measure(state, [&] {
    plain::Message message;
    if (!plain::decode(octets, message)) {
      std::abort();
    }
    benchmark::DoNotOptimize(message);
    plain::destroy(message);
  });
}

void encode_by_hand(benchmark::State& state, const Octets& octets) {
  plain::Message message;
  Octets room(octets.size() + 100);
  if (!plain::decode(octets, message) || plain::encode(message, room) != octets.size() ||
      std::memcmp(room.data(), octets.data(), octets.size()) != 0) {
    std::abort();
  }
  measure(state, [&] {
    benchmark::DoNotOptimize(plain::encode(message, room));
    benchmark::ClobberMemory();
  });
  plain::destroy(message);
}

void decode(benchmark::State& state, const Octets& octets) {
  SerializationContext context;
  MemoryIStream is;
  measure(state, [&] {
    is.reset(octets);
    Message message;
    message.deserialize_impl(is, context);
    benchmark::DoNotOptimize(message);
  });
}

Message decoded(const Octets& octets) {
  SerializationContext context;
  MemoryIStream is(octets);
  Message message;
  message.deserialize_impl(is, context);
  return message;
}

void encode(benchmark::State& state, const Octets& octets) {
  const Message message = decoded(octets);
  SerializationContext context;
  MemoryOStream os;
  measure(state, [&] {
    os.reset();
    message.serialize_impl(os, context);
    benchmark::DoNotOptimize(os.octets().data());
    benchmark::ClobberMemory();
  });
  if (!std::equal(octets.begin(), octets.end(), os.octets().begin(), os.octets().end())) {
    std::abort();
  }
}

void print(benchmark::State& state, const Octets& octets) {
  const Message message = decoded(octets);
  MemoryOStream os;
  measure(state, [&] {
    os.reset();
    os << message;
    benchmark::DoNotOptimize(os.octets().data());
    benchmark::ClobberMemory();
  });
}

/// Collects the figures for the table while the usual reporter prints them. Keeps the fastest of repeated runs.
class Figures : public benchmark::ConsoleReporter {
 public:
  Figures() : ConsoleReporter(OO_Tabular) {}

  struct Figure {
    double nanoseconds;
    double allocations;
  };

  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration || run.error_occurred) {
        continue;
      }
      const Figure figure{run.GetAdjustedCPUTime(), run.counters.at("allocs")};
      const auto [place, added] = figures_.emplace(run.run_name.function_name, figure);
      if (!added && figure.nanoseconds < place->second.nanoseconds) {
        place->second = figure;
      }
    }
  }

  void print_table(std::ostream& os) const {
    os << "\nmessage                          step     library  by hand   ratio   memcpy   allocations (by hand)\n"
       << std::fixed << std::setprecision(0);
    for (const std::string message : MESSAGES) {
      for (const std::string step : {"decode", "encode"}) {
        print_row(os, message, step);
      }
      if (const auto text = figures_.find(message + "/print"); text != figures_.end()) {
        os << std::left << std::setw(33) << message << std::setw(7) << "print" << std::right << std::setw(6)
           << text->second.nanoseconds << " ns\n";
      }
    }
  }

 private:
  void print_row(std::ostream& os, const std::string& message, const std::string& step) const {
    const auto library = figures_.find(message + "/" + step);
    const auto by_hand = figures_.find(message + "/" + step + "_by_hand");
    const auto copy = figures_.find(message + "/memcpy");
    if (library == figures_.end() || by_hand == figures_.end() || copy == figures_.end()) {
      return;  // excluded by --benchmark_filter
    }
    os << std::left << std::setw(33) << message << std::setw(7) << step << std::right << std::setw(6)
       << library->second.nanoseconds << " ns" << std::setw(6) << by_hand->second.nanoseconds << " ns"
       << std::setprecision(2) << std::setw(8) << library->second.nanoseconds / by_hand->second.nanoseconds
       << std::setprecision(1) << std::setw(6) << copy->second.nanoseconds << " ns" << std::setprecision(0)
       << std::setw(8) << library->second.allocations << " (" << by_hand->second.allocations << ")\n";
  }

  std::map<std::string, Figure> figures_;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 2;
  }
  using Benchmark = void (*)(benchmark::State&, const Octets&);
  constexpr std::pair<const char*, Benchmark> STEPS[] = {
      {"memcpy", copy_octets}, {"decode_by_hand", decode_by_hand},
      {"decode", decode},      {"encode_by_hand", encode_by_hand},
      {"encode", encode},      {"print", print},
  };
  for (const std::string message : MESSAGES) {
    const Octets octets = read_hex(message);
    for (const auto& [name, function] : STEPS) {
      benchmark::RegisterBenchmark((message + "/" + name).c_str(),
                                   [octets, function = function](benchmark::State& state) { function(state, octets); });
    }
  }
  Figures figures;
  benchmark::RunSpecifiedBenchmarks(&figures);
  figures.print_table(std::cout);
  return 0;
}
