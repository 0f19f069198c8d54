#pragma once

#include <optional>
#include <vector>

#include "core/model/PomodoroSettings.h"
#include "core/model/SessionType.h"

namespace velmora::simulation {

// What the rules make of the user's own clocks: the pomodoro clock with its stopwatch, and the
// countdown. Time moves in halves of a second, since that is where the simulated program's timers
// lie; a mission takes the fields over and gives them back.
class Session {
 public:
  struct Fields {
    bool isRunning = false;
    bool isActive = false;
    SessionType type = SessionType::focus;
    int64_t remaining = 0;
    int64_t completed = 0;
    int64_t inBlock = 0;
    bool stopsAfterBreak = false;
    int64_t stopwatch = 0;
    bool stopwatchRuns = false;
    int64_t duration = 3600;  // of the countdown
    int64_t countdown = 3600;
    bool countdownRuns = false;
    bool isMission = false;
    bool operator==(const Fields&) const = default;
  };
  explicit Session(const PomodoroSettings& s) : settings(s) { reload(); }

  PomodoroSettings settings;
  Fields now;
  bool hasContext = false;
  bool isGateUp = false;
  bool isBrak() const { return settings.isBrakModeEnabled && !settings.isSoftBlocklistEnabled; }
  // As the next start would read it; null before the first save.
  const Fields* stored() const { return saved_ ? &saved_->fields : nullptr; }
  // Nothing counts and nothing is about to: time may go by in any steps.
  bool isStill() const { return ticking_.empty() && !autoStart_; }

  // The position as a restart would find it.
  void save(double at);
  // A restart finds a mission in its place, begun or about to begin.
  void saveMission() {
    if (saved_) saved_->fields.isMission = true;
  }
  // The wall time at which each of these happens is what a restart goes by.
  void change(const PomodoroSettings& s);
  void start(bool skipGate, double at);
  void confirm(double at);
  void pause(double at);
  void reset(double at);
  void skip(double at);
  void switchTo(SessionType type);
  void startCountdown(double at);
  void pauseCountdown(double at);
  void setCountdown(int64_t seconds, double at);
  // The next half second is over; `isWhole` when the one over lies on whole seconds of the clocks.
  void half(bool isWhole, double at);

  void missionStarts(bool isBrak, SessionType type, int64_t remaining, double at);
  void missionIsAt(SessionType type, int64_t remaining);
  void missionEnds(double at);
  void pass(double at);
  void becomesHard();

  // The process dies and comes back; what was put off resumes a little later.
  void relaunch(double at);
  void resume(double at);

 private:
  enum Clock { clock, stopwatch, countdown };
  struct Ticking {
    Clock which;
    bool onWhole;  // the halves on which it ticks: it was started on one of them
    bool operator==(const Ticking&) const = default;
  };
  bool ticks(Clock which) const;
  void tickFromNow(Clock which);  // unless it does already
  void noTicks(Clock which);
  void reload() { now.remaining = settings.fullLength(now.type); }
  void stopClock();
  void complete(double at);
  void stopStopwatch();
  void completeCountdown(double at);
  void loseContext() { hasContext = false; }

  std::vector<Ticking> ticking_;   // the oldest first, since that one ticks first
  std::optional<bool> autoStart_;  // on which half
  bool onWhole_ = false;           // the half that is being lived through
  bool resumesClock_ = false, resumesCountdown_ = false;
  struct Saved {
    Fields fields;
    double at = 0;
    double stopwatchAt = 0;
    double countdownAt = 0;
  };
  std::optional<Saved> saved_;
};

}  // namespace velmora::simulation
