#include "qel/daemon/task.h"

#include "qel/daemon/value_task.h"
#include "tests/daemon/fixture.h"
#include "tests/support/enumerations.h"

namespace qel::async {
namespace {

/// Records its notifications, and can be put into any state.
class Probe final : public ValueTask<int> {
 public:
  explicit Probe(std::vector<std::string>& log) : log_(&log) {}
  Probe(Probe&&) = default;
  Probe& operator=(Probe&&) = default;
  ~Probe() override {
    if (reports_deletion) {
      set_state(TaskState::DELETED);
    }
  }
  using Task::set_state;
  bool reports_deletion = false;

 private:
  void on_started() override { log_->push_back("started"); }
  void on_done(TaskState state) override { log_->push_back("done " + task_state_to_string(state)); }
  void reset_impl() override {
    ValueTask::reset_impl();
    log_->push_back("reset " + task_state_to_string(get_state()));
  }

  std::vector<std::string>* log_;
};

class TaskTest : public FakePlatformTest {
 protected:
  void continue_and_log(Task& probe) {
    probe.then([this](Task& done) { log.push_back("continued " + task_state_to_string(done.get_state())); });
  }
  std::vector<std::string> log;
  std::optional<Probe> task{std::in_place, log};
};

TEST_F(TaskTest, CompletesOnceWithAValue) {
  continue_and_log(*task);
  EXPECT_FALSE(task->complete(1));
  task->start();
  EXPECT_TRUE(task->complete(2));
  EXPECT_FALSE(task->complete(3));
  EXPECT_FALSE(task->cancel());
  EXPECT_FALSE(task->fail(std::make_exception_ptr(1)));
  EXPECT_EQ(task->get(), 2);
  EXPECT_THAT(take_calls(), IsEmpty()) << "without a timeout there is no timer";
  task.reset();
  EXPECT_THAT(log, ElementsAre("started", "done COMPLETE_WITH_VALUE", "continued COMPLETE_WITH_VALUE"));
}

TEST_F(TaskTest, GetReportsHowTheTaskEndedAndResetForgetsIt) {
  const auto get = [&] { task->get(); };
  EXPECT_THAT(get, ThrowsMessage<TaskError>("Task has no value!: Task not running"));
  task->start();
  EXPECT_THAT(get, ThrowsMessage<TaskError>("Task has no value!: Task is running"));
  EXPECT_TRUE(task->cancel());
  EXPECT_THAT(get, ThrowsMessage<TaskError>("Task has no value!: Task cancelled"));
  task->reset();
  task->start();
  EXPECT_TRUE(task->fail(std::make_exception_ptr(std::out_of_range("lost"))));
  EXPECT_THROW(get(), std::out_of_range);
  EXPECT_NE(task->get_exception(), nullptr);
  task->reset();
  EXPECT_EQ(task->get_exception(), nullptr);
  EXPECT_EQ(task->get_state(), TaskState::NEVER_STARTED);
  EXPECT_THAT(log, ElementsAre("started", "done CANCELLED", "reset CANCELLED", "started",
                               "done COMPLETE_WITH_EXCEPTION", "reset COMPLETE_WITH_EXCEPTION"));
}

TEST_F(TaskTest, TimesOutAfterAMove) {
  continue_and_log(*task);
  task->set_timeout(20ms);
  Probe taken(std::move(*task));
  EXPECT_FALSE(task->has_continuation());
  task.reset();
  taken.start();
  EXPECT_THAT(take_calls(), ElementsAre("ctimer_setup_internal(0, 2, 0, 20, 1000, 0, 0)"));
  advance_microseconds(5'000);
  EXPECT_EQ(taken.get_remaining_time(), 15ms);
  take_calls();
  advance_microseconds(15'000);
  EXPECT_THAT(take_calls(), IsEmpty());
  EXPECT_THAT(log, ElementsAre("started", "done TIMEOUT", "continued TIMEOUT"));
  EXPECT_THAT([&] { taken.get(); }, ThrowsMessage<TaskError>("Task has no value!: Task timed out"));
}

TEST_F(TaskTest, KeepsLongTimeouts) {
  for (const auto timeout : {std::chrono::milliseconds(50 * 24h), std::chrono::milliseconds::max()}) {
    task.emplace(log).set_timeout(timeout);
    task->start();
    EXPECT_EQ(task->get_remaining_time(), std::min<std::chrono::milliseconds>(timeout, time::Timer::MAX_DURATION));
  }
}

TEST_F(TaskTest, EndingInTimeStopsTheTimer) {
  const std::function<void()> ends[] = {[&] { task->complete(1); }, [&] { task->reset(); }, [&] { task.reset(); }};
  for (const auto& end : ends) {
    task->reset();
    task->set_timeout(20ms);
    task->start();
    take_calls();
    end();
    EXPECT_THAT(take_calls(), ElementsAre("ctimer_unsetup_internal(2)"));
  }
}

TEST_F(TaskTest, MisuseThrowsAndChangesNothing) {
  const auto expect_error = [](const char* text, const std::vector<std::function<void()>>& actions) {
    for (const auto& action : actions) {
      EXPECT_THAT(action, ThrowsMessage<TaskError>(text));
    }
  };
  Probe other(log);
  expect_error("Continuation cannot be removed!: Task has no continuation", {[&] { task->remove_continuation(); }});
  expect_error("Task is not running!: Task not running", {[&] { task->get_remaining_time(); }});
  continue_and_log(*task);
  task->start();
  EXPECT_EQ(task->get_remaining_time(), 0ms);
  expect_error("Task cannot be continued!: Task has a continuation", {[&] { task->then([](Task&) {}); }});
  expect_error("Task has already been started!: Task already running", {[&] { task->start(); }});
  expect_error("Running task cannot be moved!: Task is running", {[&] { task->set_timeout(1ms); }});
  expect_error("Cannot assign to or from running task!: Task is running",
               {[&] { other = std::move(*task); }, [&] { *task = std::move(other); }});
  task->complete(1);
  EXPECT_THROW(task->start(), TaskError);
  EXPECT_EQ(task->get(), 1);
  EXPECT_THAT(log, ElementsAre("started", "done COMPLETE_WITH_VALUE", "continued COMPLETE_WITH_VALUE"));
}

TEST_F(TaskTest, DeletionReachesTheContinuation) {
  for (const bool reported : {false, true}) {
    log.clear();
    task.emplace(log).reports_deletion = reported;
    continue_and_log(*task);
    task->start();
    task.reset();
    EXPECT_EQ(log, reported ? std::vector<std::string>({"started", "done DELETED", "continued DELETED"})
                            : std::vector<std::string>({"started", "continued DELETED"}));
  }
  task.emplace(log).set_timeout(1s);
  task->start();
  set_result("ctimer_unsetup_internal", -4);
  task.reset();
  EXPECT_THAT(take_calls(), Contains("errmsg(%s: %s, Task: failed to end task (Changed handle))"));
}

TEST_F(TaskTest, AContinuationCannotRestartADestroyedTask) {
  std::optional<ValueTask<int>> value{std::in_place};
  value->then([this](Task& ended) {
    auto& whole = static_cast<ValueTask<int>&>(ended);
    EXPECT_THAT([&] { whole.get(); }, ThrowsMessage<TaskError>("Task has no value!: Task not running"));
    EXPECT_FALSE(ended.get_exception() != nullptr || whole.complete(1) || ended.cancel() ||
                 ended.fail(std::make_exception_ptr(1)));
    log.push_back(task_state_to_string(ended.get_state()));
    ended.reset();
    ended.start();
  });
  value->set_timeout(1s);
  value->start();
  value.reset();
  EXPECT_THAT(log, ElementsAre("DELETED"));
  advance_microseconds(2'000'000);
}

TEST_F(TaskTest, AContinuationMayDestroyItsTask) {
  task->then([this](Task&) { task.reset(); });
  task->set_timeout(1ms);
  task->start();
  advance_microseconds(1'000);
  EXPECT_THAT(log, ElementsAre("started", "done TIMEOUT"));
}

TEST(TaskState, Texts) {
  test::check_enum<TaskState>(
      "0 NEVER_STARTED 1 RUNNING 2 CANCELLED 3 COMPLETE_WITH_VALUE 4 COMPLETE_WITH_EXCEPTION 5 TIMEOUT 6 DELETED",
      "INVALID");
  for (int value = 0; value <= 7; ++value) {
    EXPECT_EQ(task_state_is_done(TaskState(value)), value >= 2 && value <= 6) << value;
  }
}

TEST(TaskError, HasGenericConditions) {
  const std::error_category& category = task_error_category();
  const int conditions[] = {ETIMEDOUT, ECANCELED, EINPROGRESS, EAGAIN, EAGAIN, EOPNOTSUPP, EOPNOTSUPP, EOPNOTSUPP};
  for (int code = 1; code <= 8; ++code) {
    EXPECT_EQ(category.default_error_condition(code), std::errc(conditions[code - 1])) << code;
  }
  test::check_enum<TaskErrc>(
      "1 TIMED_OUT 2 CANCELLED 3 ALREADY_RUNNING 4 NOT_RUNNING 5 IS_RUNNING 6 NO_CONTINUATION 7 HAS_CONTINUATION "
      "8 COMPOSITION_INVALID");
  EXPECT_EQ(category.message(8), "Task composition invalid");
  EXPECT_EQ(category.message(9), "(unrecognised error)");
  EXPECT_EQ(make_error_condition(TaskErrc::CANCELLED), std::error_condition(2, category));
  EXPECT_STREQ(category.name(), "Task");
}

}  // namespace
}  // namespace qel::async
