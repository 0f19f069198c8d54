#pragma once

#include <cstdint>
#include <optional>
#include <variant>

#include "base/Date.h"
#include "base/Uuid.h"
#include "core/model/SessionType.h"

namespace velmora {

// A session that all devices of a user agree on.
struct SharedSession {
  struct Single {
    double seconds = 0.0;
    bool operator==(const Single&) const = default;
  };
  struct Pomodoro {
    double focus = 0.0;  // seconds, like both breaks
    double shortBreak = 0.0;
    double longBreak = 0.0;
    int64_t longEvery = 0;
    std::optional<int64_t> rounds;
    bool operator==(const Pomodoro&) const = default;
  };
  struct Stopwatch {
    bool operator==(const Stopwatch&) const = default;
  };
  using Plan = std::variant<Single, Pomodoro, Stopwatch>;

  Plan plan;
  std::optional<Uuid> blocklistID;  // empty means the main list

  bool operator==(const SharedSession&) const = default;
};

// Where a running timer stands. A stopwatch carries its elapsed seconds in `remaining`.
struct TimerPosition {
  SessionType phase = SessionType::focus;
  int64_t completed = 0;
  double remaining = 0.0;
  bool isRunning = false;
  bool operator==(const TimerPosition&) const = default;
};

}  // namespace velmora
