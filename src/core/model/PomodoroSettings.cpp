#include "core/model/PomodoroSettings.h"

namespace velmora {

int64_t PomodoroSettings::fullLength(SessionType type) const {
  const int minutes = type == SessionType::focus        ? focusDuration
                      : type == SessionType::shortBreak ? shortBreakDuration
                                                        : longBreakDuration;
  return int64_t{minutes} * 60;
}

}  // namespace velmora
