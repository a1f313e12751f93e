#include "bench/multi_ap/simulation.h"

#include <gmock/gmock.h>

namespace meshd::simulation {
namespace {

using namespace std::chrono_literals;

/// Five agents with thirty clients each, for ten minutes with radar in the middle.
struct Trial {
  Trial(std::uint64_t seed, bool is_active) {
    controller::Policy policy;
    policy.steering.is_on = policy.plan.is_on = is_active;
    policy.plan.interval = 60s;
    MultiApSimulation mesh({.world = {.access_points = 5, .seed = seed}, .controller = {.policy = policy}, .heap = {}});
    knows_all = mesh.run_until([&] { return mesh.knows_all(); }, 30s);
    mesh.run(300s);
    left = mesh.world().find_radar();
    mesh.run(300s);
    faults = mesh.faults();
    knows_all_after = mesh.run_until([&] { return mesh.knows_all(); }, 10s);
    figures = mesh.world().figures();
    reception = mesh.world().reception();
    digest = mesh.world().digest();
  }

  bool knows_all = false;
  bool knows_all_after = false;
  std::size_t left = 0;
  std::set<std::string> faults;
  World::Figures figures;
  World::Reception reception;
  std::uint64_t digest = 0;
};

TEST(MultiApSimulation, ControllerImprovesTheMeshAndDecidesTheSameWithTheSameSeed) {
  const Trial idle(1, false);
  EXPECT_EQ(idle.figures.asked + idle.figures.questioned + idle.figures.switches, 0) << "without policy";

  const Trial active(1, true);
  for (const Trial& trial : {idle, active}) {
    EXPECT_TRUE(trial.knows_all);
    EXPECT_TRUE(trial.knows_all_after) << "after clients and channels have changed";
    EXPECT_THAT(trial.faults, testing::IsEmpty());
  }
  EXPECT_GT(active.left, 0);
  EXPECT_GT(active.figures.moved, 10);
  EXPECT_GT(active.figures.refused, 0);
  EXPECT_EQ(active.figures.returned, 0);
  EXPECT_GT(active.figures.gain / static_cast<std::int64_t>(active.figures.moved), 10);
  EXPECT_GT(active.figures.switches, 0);
  EXPECT_LT(active.reception.bad, idle.reception.bad);
  EXPECT_LT(active.reception.busy, idle.reception.busy);

  EXPECT_EQ(Trial(1, true).digest, active.digest);
  EXPECT_NE(Trial(2, true).digest, active.digest);
}

}  // namespace
}  // namespace meshd::simulation
