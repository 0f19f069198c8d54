#include "schedule/model/SchedulePomodoroPlan.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using Phases = std::vector<SchedulePomodoroPhase>;
using enum SessionType;

TEST(PomodoroPlan, TheEndOfTheBlockWins) {
  const auto plan = [](int64_t total) {
    return SchedulePomodoroPlan::phases(total, 1500, 300, 900, 4);
  };
  EXPECT_EQ(plan(0), Phases{});
  EXPECT_EQ(plan(-1), Phases{});
  EXPECT_EQ(plan(1000), (Phases{{focus, 0, 1000}}));
  EXPECT_EQ(plan(1500), (Phases{{focus, 0, 1500}}));
  EXPECT_EQ(plan(1501), (Phases{{focus, 0, 1500}, {shortBreak, 1500, 1501}}));
  EXPECT_EQ(plan(3600), (Phases{{focus, 0, 1500}, {shortBreak, 1500, 1800}, {focus, 1800, 3300},
                                {shortBreak, 3300, 3600}}));
}

TEST(PomodoroPlan, EveryNthBreakIsLongAndEveryLengthAtLeastOne) {
  EXPECT_EQ(SchedulePomodoroPlan::phases(40, 10, 2, 5, 2),
            (Phases{{focus, 0, 10}, {shortBreak, 10, 12}, {focus, 12, 22}, {longBreak, 22, 27},
                    {focus, 27, 37}, {shortBreak, 37, 39}, {focus, 39, 40}}));
  EXPECT_EQ(SchedulePomodoroPlan::phases(4, -5, 0, 0, 0),
            (Phases{{focus, 0, 1}, {longBreak, 1, 2}, {focus, 2, 3}, {longBreak, 3, 4}}));
  EXPECT_EQ(SchedulePomodoroPlan::phases(100, 60, INT64_MAX, INT64_MAX, 4),
            (Phases{{focus, 0, 60}, {shortBreak, 60, 100}}));
}

}  // namespace
}  // namespace velmora
