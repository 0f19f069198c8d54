#pragma once

#include <gtest/gtest.h>

#include <sstream>

#include "core/StoredSettings.h"
#include "core/TimerService.h"
#include "platform/sim/Fakes.h"
#include "platform/sim/World.h"

namespace velmora {

// What the timer's neighbours were told, in one order. The context is there or not, as set.
struct TimerNeighbourRecorder final : TimerService::FocusContext,
                                      TimerService::Screens,
                                      TimerService::Coordinator,
                                      TimerService::Schedule,
                                      TimerService::Habits {
  bool hasActiveFocusContext() const override { return hasContext; }
  void clearActiveContext() override {
    hasContext = false;
    tell("clearContext");
  }
  void requireFocusSelection(const std::string& reason) override { tell("gate: " + reason); }
  void dismissFocusSelection() override { tell("dismissGate"); }
  void showHUD() override { tell("showHUD"); }
  void dismissHUD() override { tell("dismissHUD"); }
  void sync() override { tell("sync"); }
  Preferences::Changes activateEmergencyPass() override {
    tell("pass");
    return passChanges;
  }
  void suppressCurrentOccurrence() override { tell("suppress"); }
  void scheduledTimerReachedBoundary() override { tell("boundary"); }
  void recordFocusSession(Date) override { tell("habit"); }
  void tell(const std::string& what) {
    told.push_back(what);
    if (reactions.contains(what)) reactions.at(what)();
  }

  bool hasContext = true;
  Preferences::Changes passChanges;  // what the schedule has stored with a pass
  std::vector<std::string> told;
  std::map<std::string, std::function<void()>> reactions;
};

// The timer alone, on virtual time and a disk that outlives it.
class TimerFixture : public testing::Test {
 protected:
  using Texts = std::vector<std::string>;

  TimerFixture() {
    neighbours_.focusContext.bind(recorder);
    neighbours_.screens.bind(recorder);
    neighbours_.coordinator.bind(recorder);
    neighbours_.schedule.bind(recorder);
    neighbours_.habits.bind(recorder);
    relaunch();
  }
  // The process dies; another one starts `gone` seconds later.
  void relaunch(double gone = 0) {
    timer_.reset();
    world.jump(Seconds(gone));
    timer_ = std::make_unique<TimerService>(preferences, clock, loop, notifications, sounds,
                                            neighbours_);
    timer_->resumeRestored();
  }
  // A first start on an empty disk.
  void startAfresh() {
    preferences = {};
    recorder.hasContext = true;
    relaunch();
  }
  TimerService& timer() { return *timer_; }
  void change(const std::function<void(PomodoroSettings&)>& edit) {
    PomodoroSettings settings = timer().settings.get();
    edit(settings);
    timer().setSettings(settings);
    savePomodoroSettings(preferences, settings);
  }
  // The soft mode: no gate, and no start by itself either.
  void soften() {
    change([](auto& s) { s.isSoftBlocklistEnabled = true; });
  }
  // Plays what happens, word by word: "start 10 pause". A number lets as many seconds go by.
  void play(const std::string& script) {
    const std::map<std::string, std::function<void(TimerService&)>> acts{
        {"start", [](auto& t) { t.start(false); }},
        {"begin", [](auto& t) { t.start(true); }},  // past the gate
        {"toggle", [](auto& t) { t.toggleTimer(); }},
        {"pause", [](auto& t) { t.pause(); }},
        {"reset", [](auto& t) { t.reset(); }},
        {"skip", [](auto& t) { t.skipSession(); }},
        {"pass", [](auto& t) { t.useEmergencyPass(); }},
        {"toBreak", [](auto& t) { t.switchSession(SessionType::shortBreak); }},
        {"halt", [](auto& t) { t.halt(); }},
        {"quiet", [](auto& t) { t.quiet(); }},
        {"stopwatchScreen", [](auto& t) { t.setStopwatchMode(true); }},
        {"countdownScreen", [](auto& t) { t.setChronoCountdownMode(true); }},
        {"stopwatch", [](auto& t) { t.toggleStopwatch(); }},
        {"countdown", [](auto& t) { t.toggleCountdown(); }},
        {"mission", [this](auto& t) { t.startScheduledBlock(mission(3600)); }},
        {"endMission", [](auto& t) { t.endScheduledBlock(true); }}};
    std::istringstream words(script);
    for (std::string word; words >> word;)
      if (std::isdigit(word.front()))
        world.advance(Seconds(std::stod(word)));
      else
        acts.at(word)(timer());
  }
  Texts told() { return std::exchange(recorder.told, {}); }
  // Type, whether it runs, whether a session is active, seconds left: "focus running active 1490".
  std::string state() {
    std::string out(rawText(timer().currentSessionType.get()));
    if (timer().isRunning.get()) out += " running";
    if (timer().isSessionActive.get()) out += " active";
    return out + " " + std::to_string(timer().timeRemaining.get());
  }
  // What stands on the chrono clocks, the running ones marked: "90 3550+".
  std::string chrono() {
    std::ostringstream out;
    out << timer().stopwatchElapsed.get() << (timer().stopwatchRunning.get() ? "+ " : " ")
        << timer().countdownRemaining.get() << (timer().countdownRunning.get() ? "+" : "");
    return out.str();
  }
  TimerService::ScheduledBlock mission(double seconds, uint8_t id = 1) {
    TimerService::ScheduledBlock block;
    block.entryID = Uuid({id});
    block.startDate = clock.now();
    block.endDate = clock.now() + Seconds(seconds);
    return block;
  }

  sim::World world;
  sim::FakeClock clock{world};
  sim::Lane loop{world};
  sim::FakePreferences preferences;
  sim::FakeNotifications notifications;
  sim::FakeSounds sounds;
  TimerNeighbourRecorder recorder;

 private:
  TimerService::Neighbours neighbours_;
  std::unique_ptr<TimerService> timer_;
};

}  // namespace velmora
