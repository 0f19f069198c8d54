#include "schedule/model/SchedulePomodoroPlan.h"

#include <algorithm>

namespace velmora {

std::vector<SchedulePomodoroPhase> SchedulePomodoroPlan::phases(int64_t totalSeconds,
                                                                int64_t focusSeconds,
                                                                int64_t shortBreakSeconds,
                                                                int64_t longBreakSeconds,
                                                                int64_t longBreakEvery) {
  std::vector<SchedulePomodoroPhase> phases;
  longBreakEvery = std::max<int64_t>(1, longBreakEvery);
  focusSeconds = std::max<int64_t>(1, focusSeconds);
  int64_t cursor = 0;
  int64_t done = 0;
  const auto append = [&](SessionType type, int64_t seconds) {
    const int64_t end = seconds < totalSeconds - cursor ? cursor + seconds : totalSeconds;
    phases.push_back({type, cursor, end});
    cursor = end;
    return cursor < totalSeconds;
  };
  if (totalSeconds <= 0) return phases;
  while (append(SessionType::focus, focusSeconds)) {
    const bool isLong = ++done % longBreakEvery == 0;
    const int64_t seconds = std::max<int64_t>(1, isLong ? longBreakSeconds : shortBreakSeconds);
    if (!append(isLong ? SessionType::longBreak : SessionType::shortBreak, seconds)) break;
  }
  return phases;
}

std::vector<SchedulePomodoroPhase> SchedulePomodoroPlan::phases(int64_t totalSeconds,
                                                                const PomodoroSettings& settings) {
  return phases(totalSeconds, settings.fullLength(SessionType::focus),
                settings.fullLength(SessionType::shortBreak),
                settings.fullLength(SessionType::longBreak), settings.sessionsBeforeLongBreak);
}

}  // namespace velmora
