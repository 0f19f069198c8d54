#include <gtest/gtest.h>

#include "schedule/model/SchedulePomodoroPlan.h"

namespace velmora {
namespace {

TEST(PomodoroPlan, EveryNthBreakIsLongAndTheEndOfTheBlockWins) {
  using Phases = std::vector<SchedulePomodoroPhase>;
  using enum SessionType;
  const auto plan = [](int64_t total, int64_t focusSeconds, int64_t brief, int64_t full,
                       int64_t every) {
    return SchedulePomodoroPlan::phases(total, focusSeconds, brief, full, every);
  };
  EXPECT_EQ(SchedulePomodoroPlan::phases(3600, PomodoroSettings{}),
            (Phases{{focus, 0, 1500},
                    {shortBreak, 1500, 1800},
                    {focus, 1800, 3300},
                    {shortBreak, 3300, 3600}}));
  EXPECT_EQ(plan(40, 10, 2, 5, 2), (Phases{{focus, 0, 10},
                                           {shortBreak, 10, 12},
                                           {focus, 12, 22},
                                           {longBreak, 22, 27},
                                           {focus, 27, 37},
                                           {shortBreak, 37, 39},
                                           {focus, 39, 40}}));
  EXPECT_EQ(plan(10, 10, 2, 5, 2), (Phases{{focus, 0, 10}}));
  EXPECT_EQ(plan(-1, 10, 2, 5, 2), Phases{});
  EXPECT_EQ(plan(3, -5, 0, 0, 0), (Phases{{focus, 0, 1}, {longBreak, 1, 2}, {focus, 2, 3}}));
  EXPECT_EQ(plan(100, 60, INT64_MAX, 1, 4), (Phases{{focus, 0, 60}, {shortBreak, 60, 100}}));
}

}  // namespace
}  // namespace velmora
