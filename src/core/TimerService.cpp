#include "core/TimerService.h"

#include <algorithm>
#include <cstdio>

#include "base/Saturating.h"
#include "core/StoredSettings.h"
#include "schedule/model/SchedulePomodoroPlan.h"

namespace velmora {
namespace {

constexpr Seconds kTick(1.0);
// A tick that comes a little late is not seen; it lets the system wake up once for all timers.
constexpr Seconds kTickTolerance(0.1);
constexpr Seconds kAutoStartDelay(0.5);

std::string clockText(int64_t seconds) {
  char out[48];
  if (seconds < 3600)
    std::snprintf(out, sizeof out, "%02lld:%02lld", static_cast<long long>(seconds / 60),
                  static_cast<long long>(seconds % 60));
  else
    std::snprintf(out, sizeof out, "%lld:%02lld:%02lld", static_cast<long long>(seconds / 3600),
                  static_cast<long long>(seconds / 60 % 60), static_cast<long long>(seconds % 60));
  return out;
}

}  // namespace

TimerService::TimerService(Preferences& preferences, Clock& clock, RunLoop& loop,
                           Notifications& notifications, Sounds& sounds,
                           const Neighbours& neighbours)
    : settings(loadPomodoroSettings(preferences)),
      timeRemaining(settings.get().fullLength(SessionType::focus)),
      preferences_(preferences),
      clock_(clock),
      loop_(loop),
      notifications_(notifications),
      sounds_(sounds),
      neighbours_(neighbours) {
  restoreState();
}

// --- derived values ------------------------------------------------------------------------------

bool TimerService::effectiveIsHardcore() const {
  return scheduledHardModeActive.get() || settings.get().isHardcore;
}

bool TimerService::effectiveBrakModeEnabled() const {
  if (isScheduledSessionActive.get())
    return scheduledProtectionMode.get() == ScheduleProtectionMode::brak;
  return settings.get().isBrakModeEnabled && !settings.get().isSoftBlocklistEnabled;
}

std::string TimerService::timeString() const { return clockText(timeRemaining.get()); }
std::string TimerService::stopwatchString() const { return clockText(stopwatchElapsed.get()); }
std::string TimerService::countdownString() const { return clockText(countdownRemaining.get()); }

double TimerService::progress() const {
  if (isScheduledSessionActive.get()) {
    if (scheduledTotalSeconds_ <= 0) return 0.0;
    const double total = static_cast<double>(scheduledTotalSeconds_);
    const double remaining = static_cast<double>(scheduledMissionRemaining.get());
    return std::clamp((total - remaining) / total, 0.0, 1.0);
  }
  const double full = static_cast<double>(settings.get().fullLength(currentSessionType.get()));
  return full <= 0.0 ? 0.0 : (full - static_cast<double>(timeRemaining.get())) / full;
}

double TimerService::stopwatchProgress() const {
  return static_cast<double>(stopwatchElapsed.get() % 3600) / 3600.0;
}

double TimerService::countdownProgress() const {
  if (countdownDuration.get() < 1) return 0.0;
  return static_cast<double>(countdownRemaining.get()) /
         static_cast<double>(countdownDuration.get());
}

bool TimerService::isChronoActive() const {
  if (stopwatchRunning.get()) return true;
  return countdownRunning.get() && countdownRemaining.get() > 0;
}

std::optional<int> TimerService::scheduledEndMinutes() const {
  if (!isScheduledSessionActive.get() || !scheduledEndDate_) return {};
  const int minutes = Calendar(clock_.zone()).minuteOfDay(*scheduledEndDate_);
  return minutes == 0 ? 1440 : minutes;
}

bool TimerService::emergencyPassAvailable() const {
  const auto used = emergencyPassUsedAt.get();
  return !used || !Calendar(clock_.zone()).isSameIsoWeek(*used, clock_.now());
}

TimerService::Controls TimerService::controls() const {
  const bool running = isRunning.get();
  const bool hard = effectiveIsHardcore();
  Controls c;
  c.playPause = !hard || !running;
  c.reset = !hard;
  c.skip = !hard;
  c.switchType = !running;
  c.hardcoreSwitch = !running;
  c.emergencyPass = emergencyPassAvailable() && isSessionActive.get();
  return c;
}

// --- settings and modes --------------------------------------------------------------------------

void TimerService::setSettings(const PomodoroSettings& value) {
  if (value == settings.get()) return;
  settings.set(value, [this] {
    if (!isRunning.get()) reloadClock();
  });
}

void TimerService::setStopwatchMode(bool on) {
  isStopwatchMode.set(on);
  if (!isAboutToResume()) saveState();  // what is stored still says that the clock runs
}

void TimerService::setChronoCountdownMode(bool on) {
  isChronoCountdownMode.set(on);
  if (!isAboutToResume()) saveState();
}

void TimerService::reloadClock() {
  timeRemaining.set(settings.get().fullLength(currentSessionType.get()));
}

// --- the pomodoro clock --------------------------------------------------------------------------

void TimerService::toggleTimer() {
  if (isRunning.get())
    pause();
  else
    start(false);
}

void TimerService::start(bool skipFocusGate) {
  pendingAutoStart_.reset();
  dropResumes();
  const bool hasContext =
      neighbours_.focusContext && neighbours_.focusContext->hasActiveFocusContext();
  if (!skipFocusGate && effectiveBrakModeEnabled() && !isStopwatchMode.get() &&
      currentSessionType.get() == SessionType::focus && !hasContext) {
    if (neighbours_.screens)
      neighbours_.screens->requireFocusSelection("Choose your next focus");
    return;
  }
  const bool wasTicking = static_cast<bool>(timer_);
  isRunning.set(true);
  isSessionActive.set(true);
  startStopwatchEngine();
  saveState();
  if (!wasTicking) {
    notifications_.requestAuthorization();
    timer_ = loop_.every(kTick, kTickTolerance, [this] { tick(); });
  }
  showHUDIfNeeded();
}

void TimerService::showHUDIfNeeded() {
  if (!neighbours_.screens) return;
  if (isScheduledSessionActive.get()) {
    if (scheduledShowFloatingProgress.get())
      neighbours_.screens->showHUD();
    else
      neighbours_.screens->dismissHUD();
    return;
  }
  if (!effectiveBrakModeEnabled() || !settings.get().showFloatingProgress || isStopwatchMode.get())
    return;
  if (currentSessionType.get() == SessionType::focus &&
      !(neighbours_.focusContext && neighbours_.focusContext->hasActiveFocusContext()))
    return;
  neighbours_.screens->showHUD();
}

// The clock shows 00:00 for one full second: a phase of length L ends with tick L + 1.
void TimerService::tick() {
  if (timeRemaining.get() >= 1)
    timeRemaining.set(timeRemaining.get() - 1);
  else
    completeSession();
}

void TimerService::pause() {
  if (isScheduledSessionActive.get()) return stopScheduledSessionByUser();
  stopClock();
  saveState();
}

void TimerService::stopClock() {
  pendingAutoStart_.reset();
  dropResumes();
  isRunning.set(false);
  timer_.reset();
  pauseStopwatchEngine();
  // The stopwatch may have been paused on its own before.
  if (!countdownRunning.get()) isSessionActive.setIfChanged(false);
}

void TimerService::reset() {
  if (isScheduledSessionActive.get()) return stopScheduledSessionByUser();
  pause();
  currentSessionType.set(SessionType::focus);
  completedSessions.set(0);
  focusSessionsInBlock.set(0);
  stopAfterCurrentBreak_ = false;
  clearActiveContext();
  dismissFocusSelection();
  dismissHUD();
  reloadClock();
  isSessionActive.set(false);
  saveState();
}

// A skipped focus phase counts as finished, with all that goes with it.
void TimerService::skipSession() {
  if (isScheduledSessionActive.get()) return stopScheduledSessionByUser();
  completeSession();
}

void TimerService::switchSession(SessionType to) {
  if (isRunning.get()) return;
  currentSessionType.set(to);
  reloadClock();
}

void TimerService::completeSession() {
  const SessionType finished = currentSessionType.get();
  const PomodoroSettings& s = settings.get();
  const int64_t nextCount = saturatingSum(focusSessionsInBlock.get(), 1);
  const bool isFocus = finished == SessionType::focus;
  // A hand-edited 0 must not divide.
  const int64_t longBreakEvery = std::max<int64_t>(1, s.sessionsBeforeLongBreak);
  const bool longBreakDue = isFocus && nextCount % longBreakEvery == 0;
  const bool limitReached =
      isFocus && s.focusSessionLimit >= 1 && nextCount >= s.focusSessionLimit;
  const bool blockFinished = isFocus ? limitReached && !longBreakDue
                                     : finished == SessionType::longBreak && stopAfterCurrentBreak_;

  stopClock();  // saved with what comes next, so that a kill in between loses no finished phase
  if (s.soundEnabled) sounds_.play(soundName(finished));
  sendNotification(finished, blockFinished);

  SessionType next = SessionType::focus;
  if (isFocus) {
    completedSessions.set(saturatingSum(completedSessions.get(), 1));
    focusSessionsInBlock.set(saturatingSum(focusSessionsInBlock.get(), 1));
    recordFocusSession();
    clearActiveContext();
    dismissHUD();
    if (blockFinished) return endBlock();
    stopAfterCurrentBreak_ = limitReached;
    next = longBreakDue ? SessionType::longBreak : SessionType::shortBreak;
  } else if (blockFinished) {
    return endBlock();
  }
  currentSessionType.set(next);
  reloadClock();
  saveState();
  if (settings.get().autoStart || effectiveIsHardcore() || effectiveBrakModeEnabled())
    scheduleAutoStart();
}

void TimerService::endBlock() {
  currentSessionType.set(SessionType::focus);
  focusSessionsInBlock.set(0);
  stopAfterCurrentBreak_ = false;
  reloadClock();
  saveState();
}

void TimerService::scheduleAutoStart() {
  pendingAutoStart_ = loop_.after(kAutoStartDelay, [this] {
    pendingAutoStart_.reset();
    start(false);
  });
}

void TimerService::sendNotification(SessionType finished, bool blockFinished) {
  switch (finished) {
    case SessionType::focus:
      if (blockFinished)
        notifications_.post("Pomodoro block complete", "Nice work. Your focus block is done.");
      else
        notifications_.post("Focus session complete! 🎯", "Great work. Time for a break.");
      return;
    case SessionType::shortBreak:
      notifications_.post("Break over", "Ready to focus again?");
      return;
    case SessionType::longBreak:
      if (blockFinished)
        notifications_.post("Pomodoro block complete", "Long break over. Your block is finished.");
      else
        notifications_.post("Long break over", "You've earned this — now let's go!");
      return;
  }
}

// --- the chrono clocks ---------------------------------------------------------------------------

void TimerService::startStopwatchEngine() {
  if (stopwatchRunning.get()) return;
  stopwatchRunning.set(true);
  isSessionActive.set(true);
  stopwatchTimer_ = loop_.every(kTick, kTickTolerance, [this] {
    stopwatchElapsed.set(saturatingSum(stopwatchElapsed.get(), 1));
    if (stopwatchElapsed.get() % 60 == 0) saveState();
  });
}

void TimerService::pauseStopwatchEngine() {
  if (!stopwatchRunning.get()) return;
  stopwatchRunning.set(false);
  stopwatchTimer_.reset();
  deactivateUnlessLive(isRunning.get() || countdownRunning.get());
}

void TimerService::deactivateUnlessLive(bool someClock) {
  if (!someClock) isSessionActive.set(false);
}

void TimerService::toggleStopwatch() {
  if (stopwatchRunning.get())
    pauseStopwatch();
  else
    startStopwatch();
}

void TimerService::startStopwatch() {
  startStopwatchEngine();
  saveState();
}

void TimerService::pauseStopwatch() {
  pauseStopwatchEngine();
  saveState();
}

void TimerService::resetStopwatch() {
  pauseStopwatchEngine();
  stopwatchElapsed.set(0);
  saveState();
}

void TimerService::toggleCountdown() {
  if (countdownRunning.get())
    pauseCountdown();
  else
    startCountdown();
}

void TimerService::startCountdown() {
  if (countdownRemaining.get() <= 0) return;
  countdownRunning.set(true);
  isSessionActive.set(true);
  saveState();
  if (countdownTimer_) return;
  countdownTimer_ = loop_.every(kTick, kTickTolerance, [this] {
    if (countdownRemaining.get() < 1) return completeCountdown();
    countdownRemaining.set(countdownRemaining.get() - 1);
    if (countdownRemaining.get() % 60 == 0) saveState();
  });
}

void TimerService::pauseCountdown() {
  if (!countdownRunning.get()) return;
  countdownRunning.set(false);
  countdownTimer_.reset();
  deactivateUnlessLive(isRunning.get() || stopwatchRunning.get());
  saveState();
}

void TimerService::resetCountdown() {
  if (effectiveIsHardcore() && countdownRunning.get()) return;
  pauseCountdown();
  countdownRemaining.set(countdownDuration.get());
  saveState();
}

void TimerService::setCountdownDuration(int64_t seconds) {
  if (countdownRunning.get()) return;
  countdownDuration.set(seconds);
  countdownRemaining.set(seconds);
  saveState();
}

void TimerService::completeCountdown() {
  countdownRunning.set(false);
  countdownTimer_.reset();
  countdownRemaining.set(0);
  deactivateUnlessLive(isRunning.get() || stopwatchRunning.get());
  if (settings.get().soundEnabled) sounds_.play("Glass");
  saveState();
}

// --- the emergency pass --------------------------------------------------------------------------

void TimerService::useEmergencyPass() {
  if (!emergencyPassAvailable() || !isSessionActive.get()) return;
  emergencyPassUsedAt.set(clock_.now());
  pendingAutoStart_.reset();
  dropResumes();
  const bool wasScheduled = isScheduledSessionActive.get();
  timer_.reset();
  isRunning.set(false);
  isSessionActive.set(false);
  focusSessionsInBlock.set(0);
  stopAfterCurrentBreak_ = false;
  clearActiveContext();
  dismissFocusSelection();
  dismissHUD();
  isScheduledSessionActive.set(false);
  scheduledBlockID.set(std::nullopt);
  clearScheduledMetadata();
  reloadClock();
  saveState(neighbours_.schedule ? neighbours_.schedule->activateEmergencyPass()
                                 : Preferences::Changes{});
  if (wasScheduled) syncBlocking();
}

// --- scheduled missions --------------------------------------------------------------------------

void TimerService::startScheduledBlock(const ScheduledBlock& block) {
  const Date now = clock_.now();
  if (block.endDate <= now) return;
  // The mission that is replaced counts as done; the same one, entered again, does not.
  if (isScheduledSessionActive.get() && scheduledBlockID.get() != block.entryID)
    recordFocusSession();
  pendingAutoStart_.reset();
  dropResumes();
  stopTimers();
  stopwatchRunning.set(false);
  countdownRunning.set(false);
  isStopwatchMode.set(false);
  isChronoCountdownMode.set(false);

  isScheduledSessionActive.set(true);
  scheduledBlockID.set(block.entryID);
  scheduledStartDate_ = block.startDate;
  scheduledEndDate_ = block.endDate;
  scheduledTotalSeconds_ = std::max<int64_t>(1, wholeSeconds(block.endDate - block.startDate));
  scheduledMissionName.set(block.missionName);
  scheduledProtectionMode.set(block.protectionMode);
  scheduledProtectionName.set(block.protectionName);
  scheduledBlockedApps.set(block.blockedApps);
  scheduledBlockedSites.set(block.blockedSites);
  scheduledRhythm.set(block.rhythm);
  scheduledShowFloatingProgress.set(block.showFloatingProgress);

  // A copy: later changes of the settings do not reach a running mission.
  const PomodoroSettings& s = settings.get();
  scheduledFocusSeconds_ = std::max<int64_t>(1, s.fullLength(SessionType::focus));
  scheduledShortBreakSeconds_ = std::max<int64_t>(1, s.fullLength(SessionType::shortBreak));
  scheduledLongBreakSeconds_ = std::max<int64_t>(1, s.fullLength(SessionType::longBreak));
  scheduledLongBreakEvery_ = std::max<int64_t>(1, s.sessionsBeforeLongBreak);

  isRunning.set(true);
  isSessionActive.set(true);
  updateScheduledClock(now, false);
  armScheduledTimer();
  showHUDIfNeeded();
  saveState();
  notifications_.requestAuthorization();
  syncBlocking();
}

void TimerService::armScheduledTimer() {
  timer_ = loop_.every(kTick, kTickTolerance, [this] { scheduledTick(); });
}

void TimerService::scheduledTick() {
  if (!scheduledEndDate_) return;
  const Date now = clock_.now();
  updateScheduledClock(now, true);
  if (!scheduledEndDate_ || now < *scheduledEndDate_) return;
  timer_.reset();
  if (neighbours_.schedule) neighbours_.schedule->scheduledTimerReachedBoundary();
  // The clock was set back while the schedule looked: the mission goes on, and so must its clock.
  if (!timer_ && scheduledEndDate_ && clock_.now() < *scheduledEndDate_) armScheduledTimer();
}

void TimerService::updateScheduledClock(Date at, bool announceTransition) {
  if (!scheduledEndDate_) return;
  scheduledMissionRemaining.setIfChanged(
      std::max<int64_t>(0, wholeSeconds(*scheduledEndDate_ - at)));
  if (at >= *scheduledEndDate_) {
    timeRemaining.setIfChanged(0);
    return;
  }
  const Phase phase = scheduledPhase(at);
  const SessionType old = currentSessionType.get();
  currentSessionType.setIfChanged(phase.type);
  timeRemaining.setIfChanged(phase.remaining);
  if (phase.type == old) return;
  if (announceTransition) {
    if (settings.get().soundEnabled) sounds_.play(soundName(old));
    sendNotification(old, false);
  }
  syncBlocking();
}

TimerService::Phase TimerService::scheduledPhase(Date at) const {
  if (scheduledRhythm.get() != ScheduleRhythm::pomodoro || !scheduledStartDate_ ||
      !scheduledEndDate_)
    return {SessionType::focus, scheduledMissionRemaining.get()};
  const int64_t total =
      std::max<int64_t>(1, wholeSeconds(*scheduledEndDate_ - *scheduledStartDate_));
  const int64_t elapsed =
      std::clamp<int64_t>(wholeSeconds(at - *scheduledStartDate_), 0, total);
  const auto phases = SchedulePomodoroPlan::phases(
      total, scheduledFocusSeconds_, scheduledShortBreakSeconds_, scheduledLongBreakSeconds_,
      scheduledLongBreakEvery_);
  for (const auto& phase : phases)
    if (phase.end > elapsed) return {phase.type, phase.end - elapsed};
  return {SessionType::focus, 0};
}

void TimerService::endScheduledBlock(bool recordCompletion) {
  if (!isScheduledSessionActive.get()) return;
  if (recordCompletion) recordFocusSession();
  timer_.reset();
  isRunning.set(false);
  isSessionActive.set(false);
  isScheduledSessionActive.set(false);
  scheduledBlockID.set(std::nullopt);
  clearScheduledMetadata();
  currentSessionType.set(SessionType::focus);
  reloadClock();
  clearActiveContext();
  dismissHUD();
  saveState();
  syncBlocking();
}

void TimerService::stopScheduledSessionByUser() {
  if (!isScheduledSessionActive.get() || scheduledHardModeActive.get()) return;
  if (neighbours_.schedule) neighbours_.schedule->suppressCurrentOccurrence();
  endScheduledBlock(false);
}

void TimerService::setScheduledHardModeActive(bool value) {
  if (value == scheduledHardModeActive.get()) return;
  scheduledHardModeActive.set(value);
  if (value && !isSessionActive.get()) {
    isStopwatchMode.set(false);
    currentSessionType.set(SessionType::focus);
    reloadClock();
  }
  syncBlocking();
}

void TimerService::clearScheduledMetadata() {
  scheduledStartDate_.reset();
  scheduledEndDate_.reset();
  scheduledTotalSeconds_ = 0;
  scheduledFocusSeconds_ = 0;
  scheduledShortBreakSeconds_ = 0;
  scheduledLongBreakSeconds_ = 0;
  scheduledLongBreakEvery_ = 0;
  scheduledMissionRemaining.set(0);
  scheduledMissionName.set("");
  scheduledProtectionName.set("");
  scheduledProtectionMode.set(ScheduleProtectionMode::brak);
  scheduledRhythm.set(ScheduleRhythm::continuous);
  scheduledBlockedApps.set({});
  scheduledBlockedSites.set({});
}

// --- following another device --------------------------------------------------------------------

void TimerService::stopTimers() {
  timer_.reset();
  stopwatchTimer_.reset();
  countdownTimer_.reset();
}

void TimerService::halt() {
  pendingAutoStart_.reset();
  dropResumes();
  stopTimers();
  isRunning.set(false);
  stopwatchRunning.set(false);
  countdownRunning.set(false);
  isSessionActive.set(false);
}

void TimerService::quiet() {
  if (isScheduledSessionActive.get()) return;
  halt();
  currentSessionType.set(SessionType::focus);
  focusSessionsInBlock.set(0);
  stopAfterCurrentBreak_ = false;
  stopwatchElapsed.set(0);
  countdownRemaining.set(countdownDuration.get());
  reloadClock();
  clearActiveContext();
  dismissFocusSelection();
  dismissHUD();
  saveState();
}

void TimerService::adopt(const SharedSession::Plan& plan, const TimerPosition& position) {
  if (isScheduledSessionActive.get()) return;
  halt();
  currentSessionType.set(SessionType::focus);
  const int64_t remaining = wholeSeconds(Seconds(position.remaining));
  if (const auto* single = std::get_if<SharedSession::Single>(&plan)) {
    isStopwatchMode.set(true);
    isChronoCountdownMode.set(true);
    countdownDuration.set(std::max<int64_t>(1, wholeSeconds(Seconds(single->seconds))));
    countdownRemaining.set(std::max<int64_t>(1, remaining));
    if (position.isRunning) return startCountdown();
  } else if (std::holds_alternative<SharedSession::Pomodoro>(plan)) {
    isStopwatchMode.set(false);
    isChronoCountdownMode.set(false);
    currentSessionType.set(position.phase);
    focusSessionsInBlock.set(position.completed);
    stopAfterCurrentBreak_ = false;
    timeRemaining.set(std::max<int64_t>(1, remaining));
    if (position.isRunning) return start(true);
  } else {
    isStopwatchMode.set(true);
    isChronoCountdownMode.set(false);
    stopwatchElapsed.set(std::max<int64_t>(0, remaining));
    if (position.isRunning) return startStopwatch();
  }
  saveState();
}

// --- neighbours ----------------------------------------------------------------------------------

void TimerService::recordFocusSession() {
  if (neighbours_.habits) neighbours_.habits->recordFocusSession(clock_.now());
}
void TimerService::syncBlocking() {
  if (neighbours_.coordinator) neighbours_.coordinator->sync();
}
void TimerService::clearActiveContext() {
  if (neighbours_.focusContext) neighbours_.focusContext->clearActiveContext();
}
void TimerService::dismissFocusSelection() {
  if (neighbours_.screens) neighbours_.screens->dismissFocusSelection();
}
void TimerService::dismissHUD() {
  if (neighbours_.screens) neighbours_.screens->dismissHUD();
}

}  // namespace velmora
