#include "core/model/PomodoroSettings.h"

#include "base/Saturating.h"

namespace velmora {

int64_t PomodoroSettings::fullLength(SessionType type) const {
  const int64_t minutes = type == SessionType::focus        ? focusDuration
                          : type == SessionType::shortBreak ? shortBreakDuration
                                                            : longBreakDuration;
  return saturatingProduct(minutes, 60);
}

}  // namespace velmora
