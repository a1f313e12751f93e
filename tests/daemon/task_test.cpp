#include "qel/daemon/task.h"

#include <optional>
#include <sstream>

#include "qel/daemon/value_task.h"
#include "tests/daemon/fixture.h"

namespace qel::async {
namespace {

using namespace std::chrono_literals;
using fake_platform::advance_microseconds;
using fake_platform::take_calls;
using testing::ElementsAre;
using testing::IsEmpty;

/// Writes down its notifications, and can be put into any state.
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

template <class Action>
void expect_error(Action action, TaskErrc code, const std::string& text) {
  EXPECT_THAT(action, testing::Throws<TaskError>(
                          testing::AllOf(testing::Property(&TaskError::code, testing::Eq(make_error_code(code))),
                                         testing::Property(&TaskError::what, testing::StrEq(text)))));
}

TEST_F(TaskTest, CompletesOnceWithAValue) {
  continue_and_log(*task);
  EXPECT_FALSE(task->complete(1));
  task->start();
  EXPECT_TRUE(task->is_running());
  EXPECT_TRUE(task->complete(2));
  EXPECT_FALSE(task->complete(3));
  EXPECT_FALSE(task->cancel());
  EXPECT_FALSE(task->fail(std::make_exception_ptr(1)));
  EXPECT_EQ(task->get(), 2);
  EXPECT_TRUE(task->is_done());
  task.reset();
  EXPECT_THAT(log, ElementsAre("started", "done COMPLETE_WITH_VALUE", "continued COMPLETE_WITH_VALUE"));
}

TEST_F(TaskTest, EveryEndIsReportedByGet) {
  expect_error([&] { task->get(); }, TaskErrc::NOT_RUNNING, "Task has no value!: Task not running");
  task->start();
  expect_error([&] { task->get(); }, TaskErrc::IS_RUNNING, "Task has no value!: Task is running");
  task->cancel();
  expect_error([&] { task->get(); }, TaskErrc::CANCELLED, "Task has no value!: Task cancelled");
  task->reset();
  task->start();
  task->fail(std::make_exception_ptr(std::out_of_range("lost")));
  EXPECT_THROW(task->get(), std::out_of_range);
  EXPECT_NE(task->get_exception(), nullptr);
  task->reset();
  EXPECT_EQ(task->get_exception(), nullptr);
  EXPECT_THAT(log, ElementsAre("started", "done CANCELLED", "reset CANCELLED", "started",
                               "done COMPLETE_WITH_EXCEPTION", "reset COMPLETE_WITH_EXCEPTION"));
}

TEST_F(TaskTest, TimesOutAlsoWhenItWasMovedBefore) {
  continue_and_log(*task);
  task->set_timeout(20ms);
  Probe taken(std::move(*task));
  EXPECT_FALSE(task->has_continuation());
  task.reset();
  EXPECT_EQ(taken.get_timeout(), 20ms);
  taken.start();
  EXPECT_THAT(take_calls(), ElementsAre("ctimer_setup_internal(0, 2, 0, 20, 1000, 0, 0)"));
  advance_microseconds(5'000);
  EXPECT_EQ(taken.get_remaining_time(), 15ms);
  take_calls();
  advance_microseconds(15'000);
  EXPECT_THAT(take_calls(), IsEmpty());
  EXPECT_THAT(log, ElementsAre("started", "done TIMEOUT", "continued TIMEOUT"));
  expect_error([&] { taken.get(); }, TaskErrc::TIMED_OUT, "Task has no value!: Task timed out");
}

TEST_F(TaskTest, AnEndInTimeStopsTheTimerAndWithoutATimeoutNoneIsTouched) {
  EXPECT_EQ(task->get_timeout(), 0ms);
  task->start();
  EXPECT_EQ(task->get_remaining_time(), 0ms);
  task->complete(1);
  EXPECT_THAT(take_calls(), IsEmpty());
  log.clear();
  task->reset();
  task->set_timeout(20ms);
  task->start();
  task->complete(1);
  EXPECT_EQ(fake_platform::count_timers(), 0u);
  task->reset();
  task->start();
  task->reset();
  EXPECT_EQ(fake_platform::count_timers(), 0u);
  EXPECT_EQ(task->get_state(), TaskState::NEVER_STARTED);
  EXPECT_THAT(log, ElementsAre("reset COMPLETE_WITH_VALUE", "started", "done COMPLETE_WITH_VALUE",
                               "reset COMPLETE_WITH_VALUE", "started", "reset RUNNING"));
}

TEST_F(TaskTest, MisuseThrowsAndChangesNothing) {
  expect_error([&] { task->remove_continuation(); }, TaskErrc::NO_CONTINUATION,
               "Continuation cannot be removed!: Task has no continuation");
  expect_error([&] { static_cast<void>(task->get_remaining_time()); }, TaskErrc::NOT_RUNNING,
               "Task is not running!: Task not running");
  continue_and_log(*task);
  expect_error([&] { task->then([](Task&) {}); }, TaskErrc::HAS_CONTINUATION,
               "Task cannot be continued!: Task has a continuation");
  task->start();
  expect_error([&] { task->start(); }, TaskErrc::ALREADY_RUNNING,
               "Task has already been started!: Task already running");
  expect_error([&] { task->set_timeout(1ms); }, TaskErrc::IS_RUNNING, "Running task cannot be moved!: Task is running");
  Probe other(log);
  expect_error([&] { Probe taken(std::move(*task)); }, TaskErrc::IS_RUNNING,
               "Cannot assign to or from running task!: Task is running");
  expect_error([&] { other = std::move(*task); }, TaskErrc::IS_RUNNING,
               "Cannot assign to or from running task!: Task is running");
  expect_error([&] { *task = std::move(other); }, TaskErrc::IS_RUNNING,
               "Cannot assign to or from running task!: Task is running");
  EXPECT_TRUE(task->is_running());
  task->complete(1);
  expect_error([&] { task->start(); }, TaskErrc::ALREADY_RUNNING,
               "Task has already been started!: Task already running");
  EXPECT_EQ(task->get(), 1);
  EXPECT_THAT(log, ElementsAre("started", "done COMPLETE_WITH_VALUE", "continued COMPLETE_WITH_VALUE"));
}

TEST_F(TaskTest, OnlyTheFirstDoneStateIsReportedAndATimeoutByHandLeavesTheTimer) {
  task->set_timeout(1s);
  fake_platform::set_result("ctimer_setup_internal", -2);
  EXPECT_THROW(task->start(), time::TimerError);
  EXPECT_EQ(task->get_state(), TaskState::NEVER_STARTED);
  fake_platform::clear_result("ctimer_setup_internal");
  task->start();
  take_calls();
  task->set_state(TaskState::TIMEOUT);
  EXPECT_THAT(take_calls(), IsEmpty());
  task->set_state(TaskState::CANCELLED);
  task->set_state(TaskState::RUNNING);
  EXPECT_TRUE(task->is_running());
  task->set_state(TaskState::DELETED);
  EXPECT_THAT(log, ElementsAre("started", "done TIMEOUT", "done DELETED"));
}

TEST_F(TaskTest, DeletionReachesTheContinuation) {
  continue_and_log(*task);
  task->set_timeout(1s);
  task->start();
  task.reset();
  EXPECT_EQ(fake_platform::count_timers(), 0u);
  EXPECT_THAT(log, ElementsAre("started", "continued DELETED"));

  log.clear();
  task.emplace(log);
  task->reports_deletion = true;
  continue_and_log(*task);
  task->start();
  task.reset();
  EXPECT_THAT(log, ElementsAre("started", "done DELETED", "continued DELETED"));

  task.emplace(log);
  task->set_timeout(1s);
  task->start();
  fake_platform::set_result("ctimer_unsetup_internal", -4);
  task.reset();
  EXPECT_THAT(take_calls(), testing::Contains("errmsg(%s: %s, Task: failed to end task (Changed handle))"));
}

TEST_F(TaskTest, AContinuationMayDestroyItsTask) {
  task->then([this](Task&) {
    task.reset();
    log.push_back("gone");
  });
  task->set_timeout(1ms);
  task->start();
  advance_microseconds(1'000);
  EXPECT_THAT(log, ElementsAre("started", "done TIMEOUT", "gone"));
}

TEST(TaskState, Texts) {
  const char* const texts[] = {"NEVER_STARTED",           "RUNNING", "CANCELLED", "COMPLETE_WITH_VALUE",
                               "COMPLETE_WITH_EXCEPTION", "TIMEOUT", "DELETED",   "INVALID"};
  for (int value = 0; value <= 7; ++value) {
    std::ostringstream os;
    os << TaskState(value);
    EXPECT_EQ(os.str(), texts[value]);
    EXPECT_EQ(task_state_is_done(TaskState(value)), value >= 2 && value <= 6) << value;
  }
}

TEST(TaskError, TextsAndGenericConditions) {
  const std::error_category& category = task_error_category();
  EXPECT_STREQ(category.name(), "Task");
  const std::pair<const char*, std::errc> rows[] = {{"Task timed out", std::errc::timed_out},
                                                    {"Task cancelled", std::errc::operation_canceled},
                                                    {"Task already running", std::errc::operation_in_progress},
                                                    {"Task not running", std::errc::resource_unavailable_try_again},
                                                    {"Task is running", std::errc::resource_unavailable_try_again},
                                                    {"Task has no continuation", std::errc::operation_not_supported},
                                                    {"Task has a continuation", std::errc::operation_not_supported},
                                                    {"Task composition invalid", std::errc::operation_not_supported}};
  for (int code = 1; code <= 8; ++code) {
    EXPECT_EQ(category.message(code), rows[code - 1].first);
    EXPECT_EQ(category.default_error_condition(code), rows[code - 1].second) << code;
  }
  EXPECT_EQ(category.message(9), "(unrecognised error)");
  EXPECT_EQ(category.default_error_condition(9), std::error_condition(9, category));
  EXPECT_EQ(make_error_condition(TaskErrc::CANCELLED), std::error_condition(2, category));
}

}  // namespace
}  // namespace qel::async
