#include "simulation/Session.h"

#include <algorithm>
#include <cmath>

namespace velmora::simulation {

static int64_t whole(double seconds) {
  return static_cast<int64_t>(std::trunc(seconds));
}

void Session::save(double at) {
  if (!saved_) saved_.emplace();
  saved_->fields = now;
  saved_->at = at;
  if (now.stopwatchRuns) saved_->stopwatchAt = at;
  if (now.countdownRuns) saved_->countdownAt = at;
}

void Session::change(const PomodoroSettings& s) {
  if (s == settings) return;
  settings = s;
  if (!now.isRunning) reload();
}

void Session::start(bool skipGate, double at) {
  autoStart_.reset();
  if (!skipGate && isBrak() && now.type == SessionType::focus && !hasContext) {
    isGateUp = true;
    return;
  }
  now.isRunning = now.isActive = true;
  if (!now.stopwatchRuns) {
    now.stopwatchRuns = true;
    tickFromNow(stopwatch);
  }
  tickFromNow(clock);
  save(at);
}

void Session::confirm(double at) {
  hasContext = true;
  isGateUp = false;
  start(true, at);
}

void Session::stopStopwatch() {
  if (!now.stopwatchRuns) return;
  now.stopwatchRuns = false;
  noTicks(stopwatch);
  if (!now.isRunning && !now.countdownRuns) now.isActive = false;
}

void Session::stopClock() {
  autoStart_.reset();
  now.isRunning = false;
  noTicks(clock);
  stopStopwatch();
  if (!now.countdownRuns) now.isActive = false;
}

void Session::pause(double at) {
  stopClock();
  save(at);
}

void Session::reset(double at) {
  stopClock();
  now.type = SessionType::focus;
  now.completed = now.inBlock = 0;
  now.stopsAfterBreak = false;
  loseContext();
  isGateUp = false;
  reload();
  now.isActive = false;
  save(at);
}

void Session::skip(double at) {
  complete(at);
}

void Session::switchTo(SessionType type) {
  if (now.isRunning) return;
  now.type = type;
  reload();
}

// A focus phase is followed by a break, every so many by a long one; a limit ends the block with
// the phase, or with the long break that is due after it.
void Session::complete(double at) {
  const bool wasFocus = now.type == SessionType::focus;
  const int64_t count = now.inBlock + 1;
  const bool isLongDue = wasFocus && count % settings.sessionsBeforeLongBreak == 0;
  const bool isLimit =
      wasFocus && settings.focusSessionLimit > 0 && count >= settings.focusSessionLimit;
  const bool isOver =
      wasFocus ? isLimit && !isLongDue : now.type == SessionType::longBreak && now.stopsAfterBreak;
  stopClock();
  if (wasFocus) {
    ++now.completed;
    ++now.inBlock;
    loseContext();
    now.stopsAfterBreak = isLimit;
  }
  now.type = !wasFocus || isOver ? SessionType::focus
             : isLongDue         ? SessionType::longBreak
                                 : SessionType::shortBreak;
  if (isOver) {
    now.inBlock = 0;
    now.stopsAfterBreak = false;
  }
  reload();
  save(at);
  if (!isOver && (settings.autoStart || settings.isHardcore || isBrak())) autoStart_ = !onWhole_;
}

void Session::startCountdown(double at) {
  if (now.countdown <= 0) return;
  now.countdownRuns = now.isActive = true;
  tickFromNow(countdown);
  save(at);
}

void Session::pauseCountdown(double at) {
  if (!now.countdownRuns) return;
  now.countdownRuns = false;
  noTicks(countdown);
  if (!now.isRunning && !now.stopwatchRuns) now.isActive = false;
  save(at);
}

void Session::setCountdown(int64_t seconds, double at) {
  if (now.countdownRuns) return;
  now.duration = now.countdown = seconds;
  save(at);
}

void Session::completeCountdown(double at) {
  now.countdownRuns = false;
  noTicks(countdown);
  now.countdown = 0;
  if (!now.isRunning && !now.stopwatchRuns) now.isActive = false;
  save(at);
}

void Session::half(bool isWhole, double at) {
  onWhole_ = isWhole;
  const bool starts = autoStart_ == isWhole;
  for (const Ticking& one : std::vector(ticking_)) {
    if (one.onWhole != isWhole || !std::ranges::count(ticking_, one)) continue;
    if (one.which == stopwatch && ++now.stopwatch % 60 == 0) save(at);
    if (one.which == clock) {
      if (now.remaining >= 1)
        --now.remaining;
      else
        complete(at);
    }
    if (one.which != countdown) continue;
    if (now.countdown < 1)
      completeCountdown(at);
    else if (--now.countdown % 60 == 0)
      save(at);
  }
  if (starts) start(false, at);
}

bool Session::ticks(Clock which) const {
  return std::ranges::any_of(ticking_, [which](const Ticking& t) { return t.which == which; });
}

void Session::tickFromNow(Clock which) {
  if (!ticks(which)) ticking_.push_back({which, onWhole_});
}

void Session::noTicks(Clock which) {
  std::erase_if(ticking_, [which](const Ticking& t) { return t.which == which; });
}

// --- missions ------------------------------------------------------------------------------------

void Session::missionIsAt(SessionType type, int64_t remaining) {
  now.type = type;
  now.remaining = remaining;
}

void Session::missionStarts(bool isBrakMission, SessionType type, int64_t remaining, double at) {
  missionIsAt(type, remaining);
  hasContext = isBrakMission;
  isGateUp = false;
  autoStart_.reset();
  resumesClock_ = resumesCountdown_ = false;
  ticking_.clear();
  now.stopwatchRuns = now.countdownRuns = false;
  now.isRunning = now.isActive = now.isMission = true;
  save(at);
}

void Session::missionEnds(double at) {
  now.isRunning = now.isActive = now.isMission = false;
  now.type = SessionType::focus;
  reload();
  loseContext();
  save(at);
}

void Session::pass(double at) {
  autoStart_.reset();
  noTicks(clock);
  now.isRunning = now.isActive = now.isMission = false;
  now.inBlock = 0;
  now.stopsAfterBreak = false;
  loseContext();
  isGateUp = false;
  reload();
  save(at);
}

void Session::becomesHard() {
  if (now.isActive) return;
  now.type = SessionType::focus;
  reload();
}

// --- dying and coming back -----------------------------------------------------------------------

void Session::relaunch(double at) {
  ticking_.clear();
  autoStart_.reset();
  resumesClock_ = resumesCountdown_ = false;
  isGateUp = false;
  now = {};
  reload();
  if (!saved_) return;
  Fields& stored = saved_->fields;
  if (stored.isMission) {  // the schedule begins it again
    stored.isMission = stored.isRunning = stored.isActive = false;
    loseContext();
    return;
  }
  now.type = stored.type;
  now.completed = stored.completed;
  now.inBlock = stored.inBlock;
  now.stopsAfterBreak = stored.stopsAfterBreak;
  now.isActive = stored.isActive;

  const int64_t left = stored.remaining - (stored.isRunning ? whole(at - saved_->at) : 0);
  if (left < 1) {
    reload();
    now.isActive = false;
  } else {
    now.remaining = left;
    resumesClock_ = stored.isRunning;
  }
  now.stopwatch = stored.stopwatch + (stored.stopwatchRuns ? whole(at - saved_->stopwatchAt) : 0);
  if (stored.stopwatchRuns && !resumesClock_) stored.stopwatchRuns = false;

  now.duration = stored.duration < 1 ? 3600 : stored.duration;
  now.countdown = stored.countdown - (stored.countdownRuns ? whole(at - saved_->countdownAt) : 0);
  if (now.countdown < 1) now.countdown = now.duration;
  resumesCountdown_ = stored.countdownRuns;
  if (!resumesClock_ && !resumesCountdown_) now.isActive = false;
}

void Session::resume(double at) {
  onWhole_ = false;
  const bool any = resumesClock_ || resumesCountdown_;
  if (std::exchange(resumesClock_, false)) start(false, at);
  if (std::exchange(resumesCountdown_, false)) startCountdown(at);
  if (!any || now.isRunning || now.stopwatchRuns || now.countdownRuns) return;
  now.isActive = false;
  save(at);
}

}  // namespace velmora::simulation
