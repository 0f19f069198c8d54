#pragma once

#include <cstdint>

#include "core/model/SessionType.h"

namespace velmora {

// The timer's settings, one JSON record. A hand-edited value outside the settings screen's ranges
// is kept as it stands.
struct PomodoroSettings {
  int64_t focusDuration = 25;           // minutes, 1 to 120
  int64_t shortBreakDuration = 5;       // minutes, 1 to 30
  int64_t longBreakDuration = 15;       // minutes, 5 to 60
  int64_t sessionsBeforeLongBreak = 4;  // 2 to 8
  int64_t focusSessionLimit = 0;        // 0 to 16; 0 means no limit
  bool isBrakModeEnabled = true;    // strict focus with allowlist and gate
  bool isSoftBlocklistEnabled = false;  // the block list instead of the allowlist
  bool showFloatingProgress = true;     // the movable mini timer
  bool autoStart = false;               // start the next phase by itself
  bool soundEnabled = true;
  bool isHardcore = false;  // no pause, restart or skip while running

  // Seconds of a phase, at the most what 64 bits hold.
  int64_t fullLength(SessionType type) const;

  bool operator==(const PomodoroSettings&) const = default;
};

template <>
struct json::Fields<PomodoroSettings> {
  using S = PomodoroSettings;
  static constexpr std::tuple all{
      json::defaulted("focusDuration", &S::focusDuration),
      json::defaulted("shortBreakDuration", &S::shortBreakDuration),
      json::defaulted("longBreakDuration", &S::longBreakDuration),
      json::defaulted("sessionsBeforeLongBreak", &S::sessionsBeforeLongBreak),
      json::defaulted("focusSessionLimit", &S::focusSessionLimit),
      json::defaulted("isBrakModeEnabled", &S::isBrakModeEnabled),
      json::defaulted("isSoftBlocklistEnabled", &S::isSoftBlocklistEnabled),
      json::defaulted("showFloatingProgress", &S::showFloatingProgress),
      json::defaulted("autoStart", &S::autoStart),
      json::defaulted("soundEnabled", &S::soundEnabled),
      json::defaulted("isHardcore", &S::isHardcore)};
};

}  // namespace velmora
