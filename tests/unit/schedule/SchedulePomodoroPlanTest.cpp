#include <gtest/gtest.h>

#include "schedule/model/SchedulePomodoroPlan.h"

namespace velmora {
namespace {

TEST(PomodoroPlan, TakesNumbersOfAnySizeAndTheEndOfTheBlockWins) {
  using Phases = std::vector<SchedulePomodoroPhase>;
  using enum SessionType;
  const auto plan = [](int64_t total, int64_t focusSeconds, int64_t brief, int64_t full,
                       int64_t every) {
    return SchedulePomodoroPlan::phases(total, focusSeconds, brief, full, every);
  };
  EXPECT_EQ(plan(10, 10, 2, 5, 2), (Phases{{focus, 0, 10}}));
  EXPECT_EQ(plan(-1, 10, 2, 5, 2), Phases{});
  EXPECT_EQ(plan(3, -5, 0, 0, 0), (Phases{{focus, 0, 1}, {longBreak, 1, 2}, {focus, 2, 3}}));
  EXPECT_EQ(plan(100, 60, INT64_MAX, 1, 4), (Phases{{focus, 0, 60}, {shortBreak, 60, 100}}));
}

}  // namespace
}  // namespace velmora
