#include "qel/daemon/future_pool.h"

#include "tests/support/testing.h"

namespace qel::async {
namespace {

struct FuturePoolTest : testing::Test {
  /// Returns a handler that records what it receives.
  auto push() {
    return [this](std::future<int> future) {
      try {
        log.push_back(std::to_string(future.get()));
      } catch (const std::exception& error) {
        log.push_back(error.what());
      }
    };
  }
  static std::future<int> ready(int value) {
    std::promise<int> promise;
    promise.set_value(value);
    return promise.get_future();
  }
  FuturePool pool;
  std::vector<std::string> log;
};

TEST_F(FuturePoolTest, DeliversWhatIsReadyAndKeepsTheRest) {
  std::promise<int> first;
  std::promise<int> second;
  const auto connection = pool.add(first.get_future(), push());
  pool.add(second.get_future(), push());
  pool.add(std::async(std::launch::deferred, [] { return 5; }), push());
  EXPECT_EQ(pool.count_futures(), 3u);
  EXPECT_TRUE(pool.process_futures());
  EXPECT_THAT(log, ElementsAre("5"));
  EXPECT_TRUE(connection.connected());
  second.set_exception(std::make_exception_ptr(std::runtime_error("lost")));
  first.set_value(1);
  EXPECT_FALSE(pool.process_futures());
  EXPECT_THAT(log, ElementsAre("5", "1", "lost"));
  EXPECT_FALSE(connection.connected());
  EXPECT_THROW(pool.add(std::future<int>(), push()), std::future_error);
}

TEST_F(FuturePoolTest, ThePollIntervalGrowsUntilAFutureIsAddedOrDelivered) {
  using namespace std::chrono_literals;
  std::promise<int> promise;
  const std::function<void()> changes[] = {[&] { pool.add(promise.get_future(), push()); },
                                           [&] { promise.set_value(1); }};
  const auto later = std::chrono::steady_clock::now() + 1s;
  for (const auto& change : changes) {
    const auto before = pool.get_poll_interval(later);
    std::this_thread::sleep_for(20ms);  // time has to pass
    change();
    pool.process_futures();
    EXPECT_LT(pool.get_poll_interval(later), before);
    EXPECT_GE(pool.get_poll_interval(later), 50ms) << "a sixteenth of the second, but for a slow machine";
  }
  EXPECT_EQ(pool.get_poll_interval(later + 1h), 100ms);
  EXPECT_EQ(pool.get_poll_interval(later - 1h), 1ms);
}

TEST_F(FuturePoolTest, DropsDisconnectedFutures) {
  FutureConnection first = pool.add(ready(1), push());
  FutureConnection second = pool.add(ready(2), push());
  {
    ScopedFutureConnection scoped = first;
    ScopedFutureConnection moved = std::move(scoped);
    EXPECT_TRUE(first.connected());
    moved = second;
    EXPECT_FALSE(first.connected());
    ScopedFutureConnection other = pool.add(ready(3), push());
    other = std::move(moved);
    EXPECT_TRUE(second.connected());
  }
  EXPECT_FALSE(pool.process_futures());
  EXPECT_FALSE(second.disconnect());
  EXPECT_THAT(log, IsEmpty());
}

TEST_F(FuturePoolTest, AHandlerMayThrowAndChangeThePool) {
  FutureConnection other;
  const std::pair<std::function<void()>, bool> handlers[] = {{[&] { throw std::logic_error("handler"); }, true},
                                                             {[&] { pool.add(ready(2), push()); }, true},
                                                             {[&] { other.disconnect(); }, false},
                                                             {[&] { pool.clear_futures(); }, false}};
  for (const auto& [handler, remains] : handlers) {
    pool.add(ready(1), [&, act = handler](std::future<int>) { act(); });
    other = pool.add(ready(3), push());
    try {
      EXPECT_EQ(pool.process_futures(), remains) << "what was added waits for the next walk";
    } catch (const std::logic_error&) {
      log.push_back("thrown");
    }
    EXPECT_FALSE(pool.process_futures());
  }
  EXPECT_THAT(log, ElementsAre("thrown", "3", "3", "2"));
}

}  // namespace
}  // namespace qel::async
