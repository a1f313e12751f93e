#include "bench/mesh/simulation.h"

#include "tests/support/testing.h"

namespace meshd::simulation::test {
namespace {

using namespace std::chrono_literals;

std::uint64_t frames(const Traffic& traffic, Kind kind) { return traffic.frames[static_cast<std::size_t>(kind)]; }

bool all_know_all(const Simulation& mesh) {
  for (std::size_t node = 0; node < mesh.nodes(); ++node) {
    if (!mesh.knows_all_metrics(node)) {
      return false;
    }
  }
  return true;
}

/// What each node sends in the time.
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

class SimulationTest : public testing::TestWithParam<Shape (*)(std::size_t)> {};

INSTANTIATE_TEST_SUITE_P(Shapes, SimulationTest, testing::Values(chain, star, tree, ring, random, one_switch),
                         [](const auto& shape) { return shape.param(10).name; });

/// The bounds hold for both sizes: what a node sends beside its questions and answers does not grow with the mesh.
TEST_P(SimulationTest, IsWholeSoonAndThenQuiet) {
  for (const std::size_t nodes : {std::size_t{10}, std::size_t{GetParam() == one_switch ? 18U : 30U}}) {
    SCOPED_TRACE(nodes);
    Simulation mesh(GetParam()(nodes), {});
    ASSERT_TRUE(mesh.run_until([&] { return all_know_all(mesh); }, 60s));
    mesh.run(60s);
    for (const Traffic& node : traffic_in(mesh, 2min)) {
      EXPECT_EQ(frames(node, Kind::NOTIFIED) + frames(node, Kind::RELAYED), 0U);
    }

    const std::size_t spare = mesh.cables().size() - 1;
    mesh.set_plugged_in(spare, true);
    const std::vector<Traffic> changed = traffic_in(mesh, 20s);
    std::uint64_t notified = 0;
    for (const Traffic& node : changed) {
      notified += frames(node, Kind::NOTIFIED);
    }
    EXPECT_GE(notified, 2U);
    EXPECT_TRUE(all_know_all(mesh));
    for (std::size_t node = 0; node < nodes; ++node) {
      EXPECT_LE(frames(changed[node], Kind::RELAYED), notified * mesh.interfaces(node)) << "no notification goes round";
      if (node != mesh.cables()[spare].left && node != mesh.cables()[spare].right) {
        EXPECT_LE(changed[node].to_ends, 16U);
      }
    }
  }
}

/// Half of a chain is lost with its cable, and comes back with it, although one frame in fifty never arrives.
TEST(Simulation, FollowsWhatIsCutOff) {
  Simulation mesh(chain(10), {.lost_of_thousand = 20, .heap = {}});
  ASSERT_TRUE(mesh.run_until([&] { return all_know_all(mesh); }, 600s));
  mesh.set_plugged_in(4, false);
  const auto knows = [&](std::size_t node, std::size_t other) {
    return mesh.entity(node).devices().find(Simulation::al_mac(other)) != nullptr;
  };
  EXPECT_TRUE(mesh.run_until([&] { return !knows(0, 5) && !knows(0, 9) && !knows(9, 0) && knows(0, 4); }, 60s));
  mesh.set_plugged_in(4, true);
  EXPECT_TRUE(mesh.run_until([&] { return all_know_all(mesh); }, 600s));
}

}  // namespace
}  // namespace meshd::simulation::test
