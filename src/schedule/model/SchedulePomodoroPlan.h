#pragma once

#include <cstdint>
#include <vector>

#include "core/model/PomodoroSettings.h"
#include "core/model/SessionType.h"

namespace velmora {

// One stretch of a pomodoro block, in seconds from the block's start.
struct SchedulePomodoroPhase {
  SessionType type = SessionType::focus;
  int64_t start = 0;
  int64_t end = 0;
  bool operator==(const SchedulePomodoroPhase&) const = default;
};

struct SchedulePomodoroPlan {
  // Covers 0 to totalSeconds without a gap, beginning with focus; the block's end wins, so the
  // last phase may be short. Lengths and longBreakEvery below 1 count as 1.
  static std::vector<SchedulePomodoroPhase> phases(int64_t totalSeconds, int64_t focusSeconds,
                                                   int64_t shortBreakSeconds,
                                                   int64_t longBreakSeconds,
                                                   int64_t longBreakEvery);
  static std::vector<SchedulePomodoroPhase> phases(int64_t totalSeconds,
                                                   const PomodoroSettings& settings);
};

}  // namespace velmora
