// The timer's position as plain scalars in the preferences, and its way back after a crash.

#include <algorithm>
#include <iterator>

#include "base/Saturating.h"
#include "core/TimerService.h"

namespace velmora {
namespace {

constexpr Seconds kResumeDelay(0.3);
constexpr int64_t kDefaultCountdown = 3600;

}  // namespace

void TimerService::saveState(Preferences::Changes alongside) {
  const double now = clock_.now().secondsSinceUnixEpoch();
  Preferences::Changes changes{
      {"vm_timer_timeRemaining", timeRemaining.get()},
      {"vm_timer_sessionType", std::string(rawText(currentSessionType.get()))},
      {"vm_timer_completedSessions", completedSessions.get()},
      {"vm_timer_focusSessionsInBlock", focusSessionsInBlock.get()},
      {"vm_timer_stopAfterCurrentBreak", stopAfterCurrentBreak_},
      {"vm_timer_isRunning", isRunning.get()},
      {"vm_timer_isSessionActive", isSessionActive.get()},
      {"vm_timer_totalFocusMinutes", totalFocusMinutes.get()},
      {"vm_timer_savedAt", now},
      {"vm_sw_elapsed", stopwatchElapsed.get()},
      {"vm_sw_running", stopwatchRunning.get()},
      {"vm_sw_mode", isStopwatchMode.get()},
      {"vm_cd_submode", isChronoCountdownMode.get()},
      {"vm_cd_duration", countdownDuration.get()},
      {"vm_cd_remaining", countdownRemaining.get()},
      {"vm_cd_running", countdownRunning.get()},
      {"vm_schedule_session_active_v4", isScheduledSessionActive.get()},
  };
  if (const auto used = emergencyPassUsedAt.get())
    changes.emplace_back("vm_timer_emergencyPassUsedAt", used->secondsSinceUnixEpoch());
  if (stopwatchRunning.get()) changes.emplace_back("vm_sw_savedAt", now);
  if (countdownRunning.get()) changes.emplace_back("vm_cd_savedAt", now);
  std::optional<PreferenceValue> id, end;
  if (const auto block = scheduledBlockID.get()) id = block->text();
  if (scheduledEndDate_) end = scheduledEndDate_->secondsSinceUnixEpoch();
  changes.emplace_back("vm_schedule_session_id_v4", std::move(id));
  changes.emplace_back("vm_schedule_session_end_v4", std::move(end));
  changes.insert(changes.end(), std::make_move_iterator(alongside.begin()),
                 std::make_move_iterator(alongside.end()));
  preferences_.write(changes);
}

void TimerService::expectScheduledBlock(bool isExpected) {
  preferences_.set("vm_schedule_session_active_v4",
                   isExpected || isScheduledSessionActive.get());
}

void TimerService::restoreState() {
  if (preferences_.has("vm_timer_emergencyPassUsedAt"))
    emergencyPassUsedAt.set(
        Date::sinceUnixEpoch(preferences_.number("vm_timer_emergencyPassUsedAt")));
  if (preferences_.boolean("vm_schedule_session_active_v4")) return restoreMissionRemains();
  if (!preferences_.has("vm_timer_timeRemaining")) return;

  currentSessionType.set(
      sessionTypeFrom(preferences_.text("vm_timer_sessionType").value_or("focus")));
  completedSessions.set(preferences_.integer("vm_timer_completedSessions"));
  focusSessionsInBlock.set(preferences_.integer("vm_timer_focusSessionsInBlock"));
  stopAfterCurrentBreak_ = preferences_.boolean("vm_timer_stopAfterCurrentBreak");
  totalFocusMinutes.set(preferences_.integer("vm_timer_totalFocusMinutes"));
  isSessionActive.set(preferences_.boolean("vm_timer_isSessionActive"));

  int64_t saved = preferences_.integer("vm_timer_timeRemaining");
  const bool wasRunning = preferences_.boolean("vm_timer_isRunning");
  const double savedAt = preferences_.number("vm_timer_savedAt");
  if (wasRunning && savedAt > 0)  // a clock set backwards adds
    saved = saturatingDifference(saved,
                                 wholeSeconds(clock_.now() - Date::sinceUnixEpoch(savedAt)));

  // A device on the sync line takes its session from there, not from its own past.
  if (preferences_.blob("vm_sync_document")) return restoreOnSyncLine();

  const bool resumed = restorePomodoro(saved, wasRunning);
  restoreStopwatch(resumed);
  restoreCountdown();
  // A session is active only while some clock is live.
  if (resumes_.empty()) isSessionActive.set(false);
}

// A mission was running when the process died: the schedule works it out again from its list.
void TimerService::restoreMissionRemains() {
  preferences_.write({{"vm_schedule_session_active_v4", false},
                      {"vm_timer_isRunning", false},
                      {"vm_timer_isSessionActive", false},
                      {"vm_schedule_session_id_v4", std::nullopt},
                      {"vm_schedule_session_end_v4", std::nullopt},
                      {"vm_focus_active_context_v2", std::nullopt}});
  isRunning.set(false);
  isSessionActive.set(false);
  currentSessionType.set(SessionType::focus);
  reloadClock();
}

void TimerService::restoreOnSyncLine() {
  isRunning.set(false);
  isSessionActive.set(false);
  currentSessionType.set(SessionType::focus);
  focusSessionsInBlock.set(0);
  stopAfterCurrentBreak_ = false;
  reloadClock();
  isStopwatchMode.set(preferences_.boolean("vm_sw_mode"));
  isChronoCountdownMode.set(preferences_.boolean("vm_cd_submode"));
  const int64_t duration = preferences_.integer("vm_cd_duration");
  countdownDuration.set(duration < 1 ? kDefaultCountdown : duration);
  countdownRemaining.set(countdownDuration.get());
}

// Whether the pomodoro clock will go on.
bool TimerService::restorePomodoro(int64_t saved, bool wasRunning) {
  if (saved < 1) {  // the phase ran out meanwhile: it is not completed, and the type stays
    reloadClock();
    isSessionActive.set(false);
    isRunning.set(false);
    return false;
  }
  timeRemaining.set(saved);
  isRunning.set(false);
  if (wasRunning) resumeSoon([this] { start(false); });
  return wasRunning;
}

void TimerService::restoreStopwatch(bool resumed) {
  isStopwatchMode.set(preferences_.boolean("vm_sw_mode"));
  int64_t elapsed = preferences_.integer("vm_sw_elapsed");
  const bool wasRunning = preferences_.boolean("vm_sw_running");
  const double savedAt = preferences_.number("vm_sw_savedAt");
  if (wasRunning && savedAt > 0)
    elapsed =
        saturatingSum(elapsed, wholeSeconds(clock_.now() - Date::sinceUnixEpoch(savedAt)));
  stopwatchElapsed.set(elapsed);
  if (!wasRunning || resumed) return;  // with the pomodoro clock the stopwatch starts by itself
  if (isStopwatchMode.get())
    resumeSoon([this] { startStopwatch(); });
  else
    preferences_.set("vm_sw_running", false);
}

void TimerService::restoreCountdown() {
  isChronoCountdownMode.set(preferences_.boolean("vm_cd_submode"));
  const int64_t duration = preferences_.integer("vm_cd_duration");
  countdownDuration.set(duration < 1 ? kDefaultCountdown : duration);
  int64_t remaining = preferences_.integer("vm_cd_remaining");
  const bool wasRunning = preferences_.boolean("vm_cd_running");
  const double savedAt = preferences_.number("vm_cd_savedAt");
  if (wasRunning && savedAt > 0)
    remaining = saturatingDifference(
        remaining, wholeSeconds(clock_.now() - Date::sinceUnixEpoch(savedAt)));
  if (remaining < 1) remaining = countdownDuration.get();  // ran out meanwhile: armed again
  countdownRemaining.set(std::max<int64_t>(remaining, 0));
  if (wasRunning && countdownRemaining.get() > 0) resumeSoon([this] { startCountdown(); });
}

void TimerService::resumeSoon(std::function<void()> action) {
  resumes_.push_back(std::move(action));
}

void TimerService::resumeRestored() {
  if (resumes_.empty()) return;
  resumeTimer_ = loop_.after(kResumeDelay, [this] {
    const auto actions = std::exchange(resumes_, {});
    for (const auto& action : actions) action();
    const bool isLive = isRunning.get() || stopwatchRunning.get() || countdownRunning.get();
    if (isLive) return;
    // The gate had to be raised first: no clock is live, and waiting there costs no time.
    deactivateUnlessLive(isLive);
    saveState();
  });
}

// What was put off no longer comes, so it no longer keeps the session active.
void TimerService::dropResumes() {
  if (resumes_.empty()) return;
  resumes_.clear();
  resumeTimer_.reset();
  deactivateUnlessLive(isRunning.get() || stopwatchRunning.get() || countdownRunning.get());
}

}  // namespace velmora
