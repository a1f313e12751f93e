#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <string>
#include <vector>

#include "bench/growth_table.h"
#include "bench/mesh/heap.h"
#include "bench/multi_ap/simulation.h"

/// Simulates a controller and 10, 50, 100 and 200 agents with three radios and thirty clients each, in virtual time.
/// Prints what the controller costs, what it decides and what comes of it, and checks that the same seed gives the same
/// decisions. Except for times of the processor, the figures do not depend on this machine.

namespace {

using namespace meshd::simulation;
using namespace std::chrono_literals;

constexpr std::size_t SIZES[] = {10, 50, 100, 200};
constexpr std::chrono::minutes ACTIVE_TIME{30};  // with steering and plans
constexpr std::chrono::minutes RADAR_TIME{20};   // since then

bool has_failed = false;

void require(bool condition, const std::string& what) {
  if (!condition) {
    std::cerr << "FAILED: " << what << '\n';
    has_failed = true;
  }
}

/// With which the controller acts by itself, or does not.
meshd::controller::Policy policy(bool is_active) {
  meshd::controller::Policy policy;
  policy.steering.is_on = is_active;
  policy.plan.is_on = is_active;
  policy.plan.interval = 300s;
  return policy;
}

MultiApSimulation::Settings settings(std::size_t agents, std::uint64_t seed, bool is_active) {
  return {.world = {.access_points = agents, .seed = seed},
          .controller = {.policy = policy(is_active)},
          .heap = heap_in_use};
}

double milliseconds(std::chrono::nanoseconds time) { return std::chrono::duration<double, std::milli>(time).count(); }

/// A controller that only looks on.
void measure_cost(GrowthTable& table, std::size_t agents) {
  MultiApSimulation mesh(settings(agents, 1, false));
  const auto count = static_cast<double>(agents);
  const bool knows = mesh.run_until([&] { return mesh.knows_all(); }, 10min);
  for (const std::string& fault : mesh.faults()) {
    require(false, fault);
  }
  require(knows, "the controller of " + std::to_string(agents) + " agents does not know them all in ten minutes");
  table.add("the controller knows everything after, s", 0, static_cast<double>(mesh.now().count()));
  table.add("  frames that it has sent by then", 0, static_cast<double>(mesh.controller_traffic().frames_sent));
  table.add("  frames that it has received by then", 0, static_cast<double>(mesh.controller_traffic().frames_received));
  mesh.run(60s);

  constexpr int MINUTES = 3;
  const MultiApTraffic controller_before = mesh.controller_traffic();
  const MultiApTraffic agents_before = mesh.agent_traffic();
  const auto controller_time = mesh.controller_cost().time;
  const auto agents_time = mesh.agent_cost().time;
  mesh.run(std::chrono::minutes(MINUTES));
  const MultiApTraffic controller = mesh.controller_traffic() - controller_before;
  const MultiApTraffic all = mesh.agent_traffic() - agents_before;
  const auto add_traffic = [&](const std::string& who, const MultiApTraffic& traffic, double shares) {
    const auto add = [&](const char* what, std::uint64_t figure) {
      table.add(who + " a minute, " + what, 0, static_cast<double>(figure) / MINUTES / shares);
    };
    add("frames sent", traffic.frames_sent);
    add("octets sent", traffic.octets_sent);
    add("frames received", traffic.frames_received);
    add("octets received", traffic.octets_received);
  };
  table.add("controller a minute, processor, ms", 1,
            milliseconds(mesh.controller_cost().time - controller_time) / MINUTES);
  add_traffic("controller", controller, 1);
  table.add("agent a minute, processor, ms", 2, milliseconds(mesh.agent_cost().time - agents_time) / MINUTES / count);
  add_traffic("agent", all, count);

  const auto heap = static_cast<double>(mesh.controller_cost().heap);
  table.add("memory of the controller, KiB", 0, heap / 1024);
  table.add("  octets for each agent", 0, heap / count);
  table.add("  octets for each client", 0, heap / static_cast<double>(mesh.world().clients()));

  const std::clock_t began = std::clock();
  const auto [input, plan] = mesh.controller().plan(mesh.time());
  const double took = static_cast<double>(std::clock() - began) / CLOCKS_PER_SEC;
  require(took < 1, "the plan takes longer than a second");
  table.add("plan: radios", 0, static_cast<double>(input.radios.size()));
  table.add("  processor, ms", 1, 1000 * took);
  table.add("  cost before", 1, plan.cost_before);
  table.add("  cost after", 1, plan.cost_after);
  table.add("  changes", 0, static_cast<double>(plan.changes.size()));
}

/// What the controller did within ACTIVE_TIME, and what has come of it.
struct Outcome {
  std::uint64_t digest = 0;
  World::Figures figures;
  World::Figures before_radar;
  World::Reception at_first;
  World::Reception at_last;
  std::size_t left = 0;  // radios, because of radar
  double cost = 0;       // of the controller, in milliseconds of the processor a minute
};

Outcome run(std::size_t agents, std::uint64_t seed, bool is_active, std::chrono::minutes time) {
  MultiApSimulation mesh(settings(agents, seed, is_active));
  mesh.run(5s);
  Outcome outcome;
  outcome.at_first = mesh.world().reception();
  const auto before = std::min(time, RADAR_TIME);
  mesh.run(before);
  outcome.before_radar = mesh.world().figures();
  outcome.left = time > RADAR_TIME ? mesh.world().find_radar() : 0;
  mesh.run(time - before);
  outcome.figures = mesh.world().figures();
  outcome.at_last = mesh.world().reception();
  outcome.digest = mesh.world().digest();
  outcome.cost = milliseconds(mesh.controller_cost().time) / static_cast<double>(time.count());
  return outcome;
}

void measure_decisions(GrowthTable& table, std::size_t agents) {
  const Outcome idle = run(agents, 1, false, ACTIVE_TIME);
  const Outcome active = run(agents, 1, true, ACTIVE_TIME);
  const World::Figures& figures = active.figures;
  const auto add = [&](const char* name, std::size_t figure) { table.add(name, 0, static_cast<double>(figure)); };
  table.add("active, controller a minute, processor, ms", 1, active.cost);
  add("active for half an hour, clients asked", figures.asked);
  add("  accepted", figures.accepted);
  add("  refused", figures.refused);
  add("  ignored", figures.ignored);
  add("  moved", figures.moved);
  add("  moved back within ten minutes", figures.returned);
  table.add("  uplink RCPI gained by a move", 1,
            static_cast<double>(figures.gain) / static_cast<double>(std::max<std::size_t>(figures.moved, 1)));
  add("  most, of a client that never walks", figures.most_asked);
  add("  asked for what they hear", figures.questioned);
  add("  moved of their own accord", figures.went);
  add("    without steering", idle.figures.went);
  add("  channel switches by orders", figures.switches);
  add("    after radar", figures.switches - active.before_radar.switches);
  add("    radios that left because of it", active.left);
  const auto compare = [&](const std::string& name, int digits, double factor, double World::Reception::*figure) {
    table.add(name + ", at first", digits, factor * active.at_first.*figure);
    table.add("  at the end", digits, factor * active.at_last.*figure);
    table.add("  at the end without controller", digits, factor * idle.at_last.*figure);
  };
  compare("mean uplink RCPI", 1, 1, &World::Reception::mean_rcpi);
  compare("clients below RCPI 80, percent", 1, 100, &World::Reception::bad);
  compare("radios with a busy channel, percent", 1, 100, &World::Reception::busy);
  require(figures.moved > 0, "no client was moved");
  require(figures.most_asked <= 5, "a client is asked again and again");
  require(figures.returned * 20 <= figures.moved, "more than one of twenty moved clients was moved back");
  require(run(agents, 1, true, ACTIVE_TIME).digest == active.digest, "the same seed gives other decisions");
  require(run(agents, 2, true, ACTIVE_TIME).digest != active.digest, "another seed gives the same decisions");
}

}  // namespace

/// Argument: the largest number of agents. Returns 1 if a check fails.
int main(int argc, char** argv) {
  const std::size_t most = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : SIZES[std::size(SIZES) - 1];
  GrowthTable table;
  std::vector<std::size_t> sizes;
  for (const std::size_t size : SIZES) {
    if (size <= most) {
      const auto began = std::chrono::steady_clock::now();
      sizes.push_back(size);
      table.begin_column();
      measure_cost(table, size);
      measure_decisions(table, size);
      std::cerr << size
                << " agents: " << std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count()
                << " s\n";
    }
  }
  table.print(std::cout, "agents", sizes);
  std::cout << (has_failed ? "A check has failed.\n" : "The same seed gave the same decisions.\n");
  return has_failed ? 1 : 0;
}
