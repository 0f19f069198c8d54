#include "unit/core/TimerFixture.h"

namespace velmora {
namespace {

using Pomodoro = TimerFixture;

TEST_F(Pomodoro, GoesFromStateToStateAsTheTableSays) {
  const std::pair<const char*, const char*> rows[] = {
      {"toggle", "focus running active 1500"},
      {"skip", "shortBreak 300"},
      {"start 10 start", "focus running active 1490"},
      {"start 10 toggle", "focus 1490"},
      {"start 10 pause toBreak", "shortBreak 300"},
      {"start 10 pause pass start pass", "focus 1500"},  // the first found nothing active
      {"start 10 toBreak", "focus running active 1490"},
      {"toBreak start 10 pause", "shortBreak 290"},
      {"toBreak start 10 pass", "shortBreak 300"},  // the type is kept
      {"start 10 countdown pause", "focus active 1490"},
      {"start 1500", "focus running active 0"}};  // shown for one full second
  for (const auto& [script, end] : rows) {
    startAfresh();
    soften();
    play(script);
    EXPECT_EQ(state(), end) << script;
  }
  told();
  play("1");
  EXPECT_EQ(told(), (Texts{"habit", "clearContext", "dismissHUD"}));
}

TEST_F(Pomodoro, EveryEndIsToldInItsOwnWords) {
  const struct {
    int every, limit;
    const char *script, *title, *body;
  } rows[] = {
      {4, 0, "skip", "Focus session complete! 🎯", "Great work. Time for a break."},
      {4, 1, "skip", "Pomodoro block complete", "Nice work. Your focus block is done."},
      {4, 0, "toBreak skip", "Break over", "Ready to focus again?"},
      {1, 0, "skip skip", "Long break over", "You've earned this — now let's go!"},
      {1, 1, "skip skip", "Pomodoro block complete", "Long break over. Your block is finished."}};
  for (const auto& row : rows) {
    startAfresh();
    change([&](auto& s) {
      s.sessionsBeforeLongBreak = row.every;
      s.focusSessionLimit = row.limit;
    });
    play(row.script);
    EXPECT_EQ(notifications.posted.back().title, row.title);
    EXPECT_EQ(notifications.posted.back().body, row.body);
  }
}

TEST_F(Pomodoro, TheNextPhaseStartsHalfASecondLaterWhenItMay) {
  struct Row {
    bool isBrak, isHardcore, autoStart;
    const char* script;
    bool starts;
  };
  const Row rows[] = {
      {false, false, false, "skip", false},    {true, false, false, "skip", true},
      {false, true, false, "skip", true},      {false, false, true, "skip", true},
      {true, true, true, "skip pause", false}, {true, true, true, "skip reset", false},
      {true, true, true, "skip halt", false},  {true, true, true, "skip quiet", false}};
  for (const Row& row : rows) {
    startAfresh();
    change([&](auto& s) {
      s.isBrakModeEnabled = row.isBrak;
      s.isHardcore = row.isHardcore;
      s.autoStart = row.autoStart;
    });
    play(row.script);
    recorder.hasContext = true;
    play("0.49");
    EXPECT_FALSE(timer().isRunning.get());
    play("0.01");
    EXPECT_EQ(timer().isRunning.get(), row.starts) << row.script << " " << &row - rows;
  }
}

TEST_F(Pomodoro, AStartBringsTheGateOrTheHudOrNeither) {
  struct Row {
    const char *before, *start;
    bool hasContext, isSoft;
    Texts told;
  };
  const Texts gate{"gate: Choose your next focus"}, hud{"showHUD"}, neither;
  const Row rows[] = {{"", "start", false, false, gate},
                      {"", "start", true, false, hud},
                      {"", "begin", false, false, neither},
                      {"toBreak", "start", false, false, hud},
                      {"stopwatchScreen", "start", false, false, neither},
                      {"", "start", true, true, neither}};
  for (const Row& row : rows) {
    SCOPED_TRACE(&row - rows);
    startAfresh();
    if (row.isSoft) soften();
    play(row.before);
    recorder.hasContext = row.hasContext;
    told();
    const auto before = preferences.all();
    play(row.start);
    EXPECT_EQ(timer().isRunning.get(), row.told != gate);
    EXPECT_EQ(preferences.all() == before, row.told == gate);  // the gate changes nothing else
    EXPECT_EQ(told(), row.told);
  }
}

TEST_F(Pomodoro, SettingsReloadTheClockOnlyWhileItIsStopped) {
  play("start 10");
  change([](auto& s) { s.focusDuration = 50; });
  play("pause");
  timer().setSettings(timer().settings.get());  // an equal record is no write
  EXPECT_EQ(state(), "focus 1490");
  change([](auto& s) { s.soundEnabled = false; });
  EXPECT_EQ(state(), "focus 3000");
}

TEST_F(Pomodoro, SettingsWrittenInsideAHandlerReachTheClockAtOnce) {
  std::string seen;
  const Subscription s = timer().settings.onWrite([&](const PomodoroSettings& settings) {
    if (settings.focusDuration == 45) return;
    EXPECT_EQ(state(), "focus 600");  // before any observer
    change([](auto& nested) { nested.focusDuration = 45; });
    seen = state();
  });
  change([](auto& settings) { settings.focusDuration = 10; });
  EXPECT_EQ(seen, "focus 2700");
}

}  // namespace
}  // namespace velmora
