#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/Calendar.h"
#include "base/LateRef.h"
#include "base/Property.h"
#include "blocking/model/BlockedApp.h"
#include "blocking/model/BlockedSite.h"
#include "core/model/PomodoroSettings.h"
#include "core/model/SessionType.h"
#include "ports/Clock.h"
#include "ports/Notifications.h"
#include "ports/Preferences.h"
#include "ports/RunLoop.h"
#include "ports/Sounds.h"
#include "schedule/model/ScheduleTypes.h"
#include "sync/model/SharedSession.h"

namespace velmora {

// The single owner of session state. Three clocks share one set of flags: the pomodoro clock, a
// stopwatch and a countdown (together the chrono clocks); a scheduled mission borrows the fields of
// the first while it runs. Main lane only. Refused operations return silently; the services never
// refuse for hardcore except where said: what the user may do is a matter of controls().
class TimerService {
 public:
  // Questions and orders to what is built later. A neighbour that does not exist stays unbound.
  class FocusContext {
   public:
    virtual ~FocusContext() = default;
    virtual bool hasActiveFocusContext() const = 0;
    virtual void clearActiveContext() = 0;
  };
  class Screens {
   public:
    virtual ~Screens() = default;
    virtual void requireFocusSelection(const std::string& reason) = 0;
    virtual void dismissFocusSelection() = 0;
    virtual void showHUD() = 0;
    virtual void dismissHUD() = 0;
  };
  class Coordinator {
   public:
    virtual ~Coordinator() = default;
    virtual void sync() = 0;
  };
  class Schedule {
   public:
    virtual ~Schedule() = default;
    // Returns what is stored together with the spent pass: a kill in between would waste it.
    virtual Preferences::Changes activateEmergencyPass() = 0;
    virtual void suppressCurrentOccurrence() = 0;
    virtual void scheduledTimerReachedBoundary() = 0;
  };
  class Habits {
   public:
    virtual ~Habits() = default;
    virtual void recordFocusSession(Date on) = 0;
  };
  struct Neighbours {
    LateRef<FocusContext> focusContext;
    LateRef<Screens> screens;
    LateRef<Coordinator> coordinator;
    LateRef<Schedule> schedule;
    LateRef<Habits> habits;
  };

  struct ScheduledBlock {
    Uuid entryID;
    std::string missionName;
    Date startDate;
    Date endDate;
    ScheduleProtectionMode protectionMode = ScheduleProtectionMode::brak;
    std::string protectionName;
    std::vector<BlockedApp> blockedApps;
    std::vector<BlockedSite> blockedSites;
    ScheduleRhythm rhythm = ScheduleRhythm::continuous;
    bool showFloatingProgress = true;
  };

  // Which controls the timer screen offers now; every front end obeys the same table.
  struct Controls {
    bool reset = false;
    bool playPause = false;
    bool skip = false;
    bool switchType = false;
    bool emergencyPass = false;   // pressable, wherever it stands
    bool hardcoreSwitch = false;
  };

  // Loads the settings and the saved position; nothing is posted before resumeRestored().
  TimerService(Preferences& preferences, Clock& clock, RunLoop& loop, Notifications& notifications,
               Sounds& sounds, const Neighbours& neighbours);
  TimerService(const TimerService&) = delete;
  TimerService& operator=(const TimerService&) = delete;

  template <class T>
  using Value = Owned<T, TimerService>;

  Value<bool> isRunning{false};  // the pomodoro or scheduled clock is ticking
  Value<SessionType> currentSessionType{SessionType::focus};
  Value<int64_t> completedSessions{0};     // focus sessions since the last reset
  Value<int64_t> focusSessionsInBlock{0};  // drives the long break and the limit
  Value<bool> isSessionActive{false};      // some clock is live: what blocking goes by
  Value<int64_t> totalFocusMinutes{0};     // kept and restored; nothing adds to it
  Value<std::optional<Date>> emergencyPassUsedAt;
  Value<bool> scheduledHardModeActive{false};
  Value<bool> isScheduledSessionActive{false};
  Value<std::optional<Uuid>> scheduledBlockID;
  Value<bool> scheduledShowFloatingProgress{true};
  Value<ScheduleProtectionMode> scheduledProtectionMode{ScheduleProtectionMode::brak};
  Value<ScheduleRhythm> scheduledRhythm{ScheduleRhythm::continuous};
  Value<std::vector<BlockedApp>> scheduledBlockedApps;
  Value<std::vector<BlockedSite>> scheduledBlockedSites;
  Value<std::string> scheduledMissionName;
  Value<std::string> scheduledProtectionName;
  Value<int64_t> scheduledMissionRemaining{0};  // seconds
  Value<PomodoroSettings> settings;
  Value<int64_t> timeRemaining{0};     // seconds
  Value<bool> isStopwatchMode{false};  // the timer screen shows the chrono clocks
  Value<int64_t> stopwatchElapsed{0};  // seconds
  Value<bool> stopwatchRunning{false};
  Value<bool> isChronoCountdownMode{false};  // the countdown rather than the stopwatch
  Value<int64_t> countdownDuration{3600};
  Value<int64_t> countdownRemaining{3600};
  Value<bool> countdownRunning{false};

  bool effectiveIsHardcore() const;
  bool effectiveBrakModeEnabled() const;
  std::string timeString() const;
  std::string stopwatchString() const;
  std::string countdownString() const;
  double progress() const;
  double stopwatchProgress() const;
  double countdownProgress() const;
  bool isChronoActive() const;
  // As they were handed over; nothing without a mission.
  std::optional<Date> scheduledStartDate() const { return scheduledStartDate_; }
  std::optional<Date> scheduledEndDate() const { return scheduledEndDate_; }
  // Minutes of the day; a mission ending at midnight reads 1440.
  std::optional<int> scheduledEndMinutes() const;
  bool emergencyPassAvailable() const;
  bool stopsAfterCurrentBreak() const { return stopAfterCurrentBreak_; }
  // True between a restore and the start that it put off.
  bool isAboutToResume() const { return !resumes_.empty(); }
  Controls controls() const;

  // Reloads the clock while nothing runs. An equal record is no write. Does not save.
  void setSettings(const PomodoroSettings& settings);
  void setStopwatchMode(bool on);
  void setChronoCountdownMode(bool on);

  void toggleTimer();
  // Stops at the gate when Brak mode asks for a choice of focus first.
  void start(bool skipFocusGate);
  void pause();
  void reset();
  void skipSession();
  void switchSession(SessionType to);
  void useEmergencyPass();

  // While a mission is expected to start, what a process that dies leaves is taken for its remains.
  // Its start settles that.
  void expectScheduledBlock(bool isExpected);
  void startScheduledBlock(const ScheduledBlock& block);
  void endScheduledBlock(bool recordCompletion);
  void stopScheduledSessionByUser();
  void setScheduledHardModeActive(bool value);
  struct Phase {
    SessionType type;
    int64_t remaining;
  };
  Phase scheduledPhase(Date at) const;
  void updateScheduledClock(Date at, bool announceTransition);

  void toggleStopwatch();
  void startStopwatch();
  void pauseStopwatch();
  void resetStopwatch();
  void toggleCountdown();
  void startCountdown();
  void pauseCountdown();
  void resetCountdown();
  void setCountdownDuration(int64_t seconds);
  void completeCountdown();

  // Following a session that runs on another device.
  void adopt(const SharedSession::Plan& plan, const TimerPosition& position);
  void halt();
  void quiet();

  // All of it in one write, with what else belongs to the same step.
  void saveState(Preferences::Changes alongside = {});
  // Lets what the restore found running go on, 0.3 seconds from now.
  void resumeRestored();

 private:
  void restoreState();
  void restoreMissionRemains();
  void restoreOnSyncLine();
  bool restorePomodoro(int64_t saved, bool wasRunning);
  void restoreStopwatch(bool resumed);
  void restoreCountdown();
  void resumeSoon(std::function<void()> action);
  void dropResumes();

  void reloadClock();
  void tick();
  void armScheduledTimer();
  void scheduledTick();
  void completeSession();
  // What a pause does, without saving it.
  void stopClock();
  void endBlock();
  void scheduleAutoStart();
  void sendNotification(SessionType finished, bool blockFinished);
  void showHUDIfNeeded();
  void startStopwatchEngine();
  void pauseStopwatchEngine();
  void stopTimers();
  void deactivateUnlessLive(bool someClock);
  void clearScheduledMetadata();
  void recordFocusSession();
  void syncBlocking();
  void clearActiveContext();
  void dismissFocusSelection();
  void dismissHUD();

  Preferences& preferences_;
  Clock& clock_;
  RunLoop& loop_;
  Notifications& notifications_;
  Sounds& sounds_;
  const Neighbours& neighbours_;

  std::optional<Date> scheduledStartDate_;
  std::optional<Date> scheduledEndDate_;
  int64_t scheduledTotalSeconds_ = 0;
  int64_t scheduledFocusSeconds_ = 0;
  int64_t scheduledShortBreakSeconds_ = 0;
  int64_t scheduledLongBreakSeconds_ = 0;
  int64_t scheduledLongBreakEvery_ = 0;
  bool stopAfterCurrentBreak_ = false;  // a long break now running ends the block
  std::vector<std::function<void()>> resumes_;

  Subscription timer_;
  Subscription stopwatchTimer_;
  Subscription countdownTimer_;
  Subscription pendingAutoStart_;
  Subscription resumeTimer_;
};

}  // namespace velmora
