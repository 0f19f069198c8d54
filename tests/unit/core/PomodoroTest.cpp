#include "unit/core/TimerFixture.h"

namespace velmora {
namespace {

using enum SessionType;

class Pomodoro : public TimerFixture {
 protected:
  // Brings the clock into one of its states; soft mode unless the gate is meant.
  void enter(const std::string& state) {
    recorder.hasContext = true;
    if (state == "gate") recorder.hasContext = false;
    else soften();
    if (state == "break" || state == "paused break") timer().switchSession(shortBreak);
    if (state != "idle") timer().start(false);
    if (state != "idle" && state != "gate") wait(10);
    if (state == "paused" || state == "paused break") timer().pause();
    told();
  }
  void finishPhase() { wait(static_cast<double>(left()) + 1); }
};

TEST_F(Pomodoro, GoesFromStateToStateAsTheTableSays) {
  struct Row {
    const char* from;
    std::function<void(TimerService&)> event;
    const char* to;
    int64_t left;
    bool spendsPass = false;
  };
  const auto start = [](TimerService& t) { t.start(false); };
  const auto skipGate = [](TimerService& t) { t.start(true); };
  const auto toggle = [](TimerService& t) { t.toggleTimer(); };
  const auto pause = [](TimerService& t) { t.pause(); };
  const auto reset = [](TimerService& t) { t.reset(); };
  const auto skip = [](TimerService& t) { t.skipSession(); };
  const auto pass = [](TimerService& t) { t.useEmergencyPass(); };
  const auto toBreak = [](TimerService& t) { t.switchSession(longBreak); };
  const Row rows[] = {
      {"idle", start, "focus running active", 1500},
      {"idle", toggle, "focus running active", 1500},
      {"idle", pause, "focus", 1500},
      {"idle", skip, "shortBreak", 300},
      {"idle", pass, "focus", 1500},
      {"idle", toBreak, "longBreak", 900},
      {"gate", start, "focus", 1500},
      {"gate", skipGate, "focus running active", 1500},
      {"gate", reset, "focus", 1500},
      {"focus", start, "focus running active", 1490},
      {"focus", toggle, "focus", 1490},
      {"focus", pause, "focus", 1490},
      {"focus", reset, "focus", 1500},
      {"focus", skip, "shortBreak", 300},
      {"focus", pass, "focus", 1500, true},
      {"focus", toBreak, "focus running active", 1490},
      {"paused", start, "focus running active", 1490},
      {"paused", skip, "shortBreak", 300},
      {"paused", pass, "focus", 1490},  // nothing is active, so nothing is spent
      {"paused", toBreak, "longBreak", 900},
      {"break", pause, "shortBreak", 290},
      {"break", skip, "focus", 1500},
      {"break", reset, "focus", 1500},
      {"break", pass, "shortBreak", 300, true},  // the type is kept
      {"paused break", start, "shortBreak running active", 290},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.from) + " row " + std::to_string(&row - rows));
    preferences = {};
    crash();
    enter(row.from);
    row.event(timer());
    EXPECT_EQ(state(), row.to);
    EXPECT_EQ(left(), row.left);
    EXPECT_EQ(timer().emergencyPassUsedAt.get().has_value(), row.spendsPass);
  }
}

TEST_F(Pomodoro, APhaseLastsItsLengthAndOneTickMore) {
  enter("idle");
  timer().start(false);
  wait(1500);
  EXPECT_EQ(state(), "focus running active");
  EXPECT_EQ(timer().timeString(), "00:00");
  wait(1);
  EXPECT_EQ(state(), "shortBreak");
}

TEST_F(Pomodoro, TicksAreCountedAndASleepingMachineLosesThem) {
  enter("focus");
  world.jump(Seconds(3000));
  wait(1);
  EXPECT_EQ(left(), 1489);
  clock.skew = Seconds(-86400);
  wait(1);
  EXPECT_EQ(left(), 1488);
}

TEST_F(Pomodoro, PauseLeavesTheSessionActiveOnlyWhileTheCountdownRuns) {
  enter("focus");
  timer().startCountdown();
  timer().pause();
  EXPECT_EQ(state(), "focus active");
  timer().reset();
  EXPECT_EQ(state(), "focus");
}

TEST_F(Pomodoro, FinishingAFocusPhaseTellsEverybodyOnce) {
  enter("focus");
  finishPhase();
  EXPECT_EQ(told(), (Texts{"habit", "clearContext", "dismissHUD"}));
  EXPECT_EQ(sounds.played, Texts{"Glass"});
  EXPECT_EQ(notifications.posted,
            (std::vector<Notice>{{"Focus session complete! 🎯", "Great work. Time for a break."}}));
  EXPECT_EQ(timer().completedSessions.get(), 1);
  EXPECT_EQ(timer().focusSessionsInBlock.get(), 1);
}

TEST_F(Pomodoro, ResetClearsTheCountersAndTheContext) {
  enter("focus");
  timer().skipSession();
  told();
  timer().reset();
  EXPECT_EQ(timer().completedSessions.get(), 0);
  EXPECT_EQ(timer().focusSessionsInBlock.get(), 0);
  EXPECT_EQ(told(), (Texts{"clearContext", "dismissGate", "dismissHUD"}));
}

// Runs whole phases by skipping and writes down what followed each.
TEST_F(Pomodoro, BlocksEndByTheLimitAndLongBreaksByTheCount) {
  struct Row {
    int every, limit;
    std::vector<std::string> phases;  // after each skip; "|" marks the end of a block
  };
  const Row rows[] = {
      {4, 0, {"shortBreak", "focus", "shortBreak", "focus", "shortBreak", "focus", "longBreak",
              "focus", "shortBreak"}},
      {4, 4, {"shortBreak", "focus", "shortBreak", "focus", "shortBreak", "focus", "longBreak",
              "|focus", "shortBreak"}},
      {4, 3, {"shortBreak", "focus", "shortBreak", "focus", "|focus", "shortBreak"}},
      {2, 1, {"|focus", "|focus"}},
      {0, 0, {"longBreak", "focus", "longBreak"}},   // hand-edited: counts as 1
      {-3, 0, {"longBreak", "focus", "longBreak"}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::to_string(row.every) + " every, limit " + std::to_string(row.limit));
    preferences = {};
    crash();
    soften();
    change([&](auto& s) { s.sessionsBeforeLongBreak = row.every; s.focusSessionLimit = row.limit; });
    std::vector<std::string> seen;
    for (size_t i = 0; i < row.phases.size(); ++i) {
      notifications.posted.clear();
      timer().skipSession();
      const bool ended = notifications.posted.at(0).title == "Pomodoro block complete";
      seen.push_back((ended ? "|" : "") + std::string(rawText(timer().currentSessionType.get())));
      if (ended) {
        EXPECT_EQ(timer().focusSessionsInBlock.get(), 0);
        EXPECT_FALSE(timer().stopsAfterCurrentBreak());
      }
    }
    EXPECT_EQ(seen, row.phases);
  }
}

TEST_F(Pomodoro, EveryEndHasItsSoundAndItsWords) {
  soften();
  change([](auto& s) { s.sessionsBeforeLongBreak = 2; s.focusSessionLimit = 2; });
  for (int i = 0; i < 4; ++i) timer().skipSession();
  change([](auto& s) { s.focusSessionLimit = 1; });
  timer().skipSession();
  change([](auto& s) { s.focusSessionLimit = 0; });
  timer().switchSession(longBreak);
  timer().skipSession();
  EXPECT_EQ(notifications.posted,
            (std::vector<Notice>{
                {"Focus session complete! 🎯", "Great work. Time for a break."},
                {"Break over", "Ready to focus again?"},
                {"Focus session complete! 🎯", "Great work. Time for a break."},
                {"Pomodoro block complete", "Long break over. Your block is finished."},
                {"Pomodoro block complete", "Nice work. Your focus block is done."},
                {"Long break over", "You've earned this — now let's go!"}}));
  EXPECT_EQ(sounds.played, (Texts{"Glass", "Ping", "Glass", "Hero", "Glass", "Hero"}));
}

TEST_F(Pomodoro, TheNextPhaseStartsHalfASecondLaterWhenItMay) {
  struct Row {
    const char* name;
    std::function<void(PomodoroSettings&)> edit;
    bool starts;
  };
  const Row rows[] = {{"soft", [](auto& s) { s.isSoftBlocklistEnabled = true; }, false},
                      {"no mode", [](auto& s) { s.isBrakModeEnabled = false; }, false},
                      {"auto start", [](auto& s) { s.isSoftBlocklistEnabled = s.autoStart = true; },
                       true},
                      {"hardcore", [](auto& s) { s.isSoftBlocklistEnabled = s.isHardcore = true; },
                       true},
                      {"brak", [](auto&) {}, true}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    preferences = {};
    crash();
    recorder.hasContext = true;
    change(row.edit);
    timer().start(false);
    timer().skipSession();
    wait(0.49);
    EXPECT_EQ(state(), "shortBreak");
    wait(0.01);
    EXPECT_EQ(state(), row.starts ? "shortBreak running active" : "shortBreak");
  }
}

TEST_F(Pomodoro, AnEndedBlockDoesNotStartByItself) {
  soften();
  change([](auto& s) { s.autoStart = true; s.focusSessionLimit = 1; });
  timer().start(false);
  timer().skipSession();
  wait(2);
  EXPECT_EQ(state(), "focus");
}

TEST_F(Pomodoro, APendingStartIsDroppedByPauseResetAndTheNextStart) {
  soften();
  change([](auto& s) { s.autoStart = true; });
  const std::function<void()> events[] = {[&] { timer().pause(); }, [&] { timer().reset(); },
                                          [&] { timer().halt(); }, [&] { timer().quiet(); }};
  for (const auto& event : events) {
    timer().skipSession();
    event();
    wait(1);
    EXPECT_FALSE(timer().isRunning.get());
  }
  timer().switchSession(focus);
  timer().skipSession();
  timer().start(false);
  timer().pause();
  wait(1);
  EXPECT_FALSE(timer().isRunning.get());
}

// --- the gate and the HUD ------------------------------------------------------------------------

TEST_F(Pomodoro, TheGateStandsOnlyBeforeAFocusWithoutAChoice) {
  struct Row {
    const char* name;
    std::function<void(TimerService&)> prepare;
    bool context, skip, gate;
  };
  const Row rows[] = {
      {"no choice", [](auto&) {}, false, false, true},
      {"chosen", [](auto&) {}, true, false, false},
      {"gate passed", [](auto&) {}, false, true, false},
      {"break", [](auto& t) { t.switchSession(shortBreak); }, false, false, false},
      {"stopwatch screen", [](auto& t) { t.setStopwatchMode(true); }, false, false, false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    preferences = {};
    crash();
    row.prepare(timer());
    recorder.hasContext = row.context;
    told();
    const auto before = preferences.all();
    timer().start(row.skip);
    EXPECT_EQ(count("gate: Choose your next focus"), row.gate ? 1 : 0);
    EXPECT_EQ(timer().isRunning.get(), !row.gate);
    EXPECT_EQ(preferences.all() == before, row.gate);  // the gate changes nothing else
  }
}

TEST_F(Pomodoro, TheFocusAfterABreakStopsAtTheGateAgain) {
  timer().start(false);
  timer().skipSession();  // ends the context with the phase
  wait(1);
  timer().skipSession();
  told();
  wait(1);
  EXPECT_EQ(state(), "focus");
  EXPECT_EQ(told(), Texts{"gate: Choose your next focus"});
}

TEST_F(Pomodoro, TheHudShowsInBrakModeAndNeverInChronoOrSoft) {
  struct Row {
    const char* name;
    std::function<void(PomodoroSettings&)> edit;
    std::function<void(TimerService&)> prepare;
    bool context, shows;
  };
  const auto nothing = [](auto&) {};
  const auto toBreak = [](TimerService& t) { t.switchSession(shortBreak); };
  const Row rows[] = {
      {"brak focus", nothing, nothing, true, true},
      {"brak break needs no context", nothing, toBreak, false, true},
      {"gate passed without a context", nothing, nothing, false, false},
      {"not wanted", [](auto& s) { s.showFloatingProgress = false; }, nothing, true, false},
      {"soft", [](auto& s) { s.isSoftBlocklistEnabled = true; }, nothing, true, false},
      {"chrono", nothing, [](TimerService& t) { t.setStopwatchMode(true); }, true, false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    preferences = {};
    crash();
    recorder.hasContext = row.context;
    change(row.edit);
    row.prepare(timer());
    told();
    timer().start(true);
    EXPECT_EQ(told(), row.shows ? Texts{"showHUD"} : Texts{});
  }
}

// --- settings and derived values -----------------------------------------------------------------

TEST_F(Pomodoro, SettingsReloadTheClockOnlyWhileItIsStopped) {
  enter("focus");
  change([](auto& s) { s.focusDuration = 50; });
  EXPECT_EQ(left(), 1490);
  timer().pause();
  timer().setSettings(timer().settings.get());  // an equal record is no write
  EXPECT_EQ(left(), 1490);
  change([](auto& s) { s.soundEnabled = false; });
  EXPECT_EQ(left(), 3000);
}

TEST_F(Pomodoro, SettingsWrittenInsideAHandlerReachTheClockAtOnce) {
  soften();
  int64_t seen = 0;
  const Subscription s = timer().settings.onWrite([&](const PomodoroSettings& settings) {
    if (settings.focusDuration == 45) return;
    EXPECT_EQ(left(), 600);  // before any observer
    change([](auto& nested) { nested.focusDuration = 45; });
    seen = left();
  });
  change([](auto& settings) { settings.focusDuration = 10; });
  EXPECT_EQ(seen, 2700);
}

TEST_F(Pomodoro, TextsAndProgressFollowTheClocks) {
  enter("focus");
  EXPECT_EQ(timer().timeString(), "24:50");
  EXPECT_DOUBLE_EQ(timer().progress(), 10.0 / 1500);
  timer().pause();
  timer().setCountdownDuration(3661);
  EXPECT_EQ(timer().countdownString(), "1:01:01");
  EXPECT_DOUBLE_EQ(timer().countdownProgress(), 1.0);
  timer().setCountdownDuration(0);
  EXPECT_DOUBLE_EQ(timer().countdownProgress(), 0.0);
  EXPECT_EQ(timer().stopwatchString(), "00:10");
  EXPECT_DOUBLE_EQ(timer().stopwatchProgress(), 10.0 / 3600);
  change([](auto& s) { s.focusDuration = 0; });
  EXPECT_DOUBLE_EQ(timer().progress(), 0.0);
}

}  // namespace
}  // namespace velmora
