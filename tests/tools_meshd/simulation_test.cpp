#include "bench/mesh/simulation.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace meshd::simulation::test {
namespace {

using namespace std::chrono_literals;

bool all_know_all(const Simulation& mesh) {
  for (std::size_t node = 0; node < mesh.nodes(); ++node) {
    if (!mesh.knows_all_metrics(node)) {
      return false;
    }
  }
  return true;
}

std::vector<Traffic> traffic_in(Simulation& mesh, std::chrono::seconds time) {
  std::vector<Traffic> traffic;
  for (std::size_t node = 0; node < mesh.nodes(); ++node) {
    traffic.push_back(mesh.traffic(node));
  }
  mesh.run(time);
  for (std::size_t node = 0; node < mesh.nodes(); ++node) {
    traffic[node] = mesh.traffic(node) - traffic[node];
  }
  return traffic;
}

std::uint64_t sum(const std::vector<Traffic>& traffic, Kind kind) {
  std::uint64_t sum = 0;
  for (const Traffic& node : traffic) {
    sum += node.frames[static_cast<std::size_t>(kind)];
  }
  return sum;
}

class SimulationTest : public testing::TestWithParam<Shape (*)(std::size_t)> {};

INSTANTIATE_TEST_SUITE_P(Shapes, SimulationTest, testing::Values(chain, star, tree, ring, random, one_switch),
                         [](const auto& info) { return info.param(2).name; });

TEST_P(SimulationTest, IsWholeSoonAndThenQuiet) {
  for (const std::size_t nodes : {10, 30}) {
    Simulation mesh(GetParam()(nodes), {});
    ASSERT_TRUE(mesh.run_until([&] { return all_know_all(mesh); }, 60s)) << nodes;
    mesh.run(60s);
    const std::vector<Traffic> quiet = traffic_in(mesh, 6min);
    EXPECT_EQ(sum(quiet, Kind::NOTIFIED) + sum(quiet, Kind::RELAYED), 0U) << nodes;

    mesh.set_plugged_in(mesh.cables().size() - 1, true);
    const std::vector<Traffic> changed = traffic_in(mesh, 10s);
    const std::uint64_t notified = sum(changed, Kind::NOTIFIED);
    const std::uint64_t ways = 2 * mesh.cables().size();
    EXPECT_GT(notified, 0U);
    EXPECT_LE(sum(changed, Kind::RELAYED), notified * ways) << "each way has each notification once at most";
  }
}

TEST_P(SimulationTest, ForgetsWhoIsGoneAndFindsItAgain) {}

}  // namespace
}  // namespace meshd::simulation::test
