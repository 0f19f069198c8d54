#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

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
    told.push_back("clearContext");
  }
  void requireFocusSelection(const std::string& reason) override {
    told.push_back("gate: " + reason);
  }
  void dismissFocusSelection() override { told.push_back("dismissGate"); }
  void showHUD() override { told.push_back("showHUD"); }
  void dismissHUD() override { told.push_back("dismissHUD"); }
  void sync() override {
    told.push_back("sync");
    if (onSync) onSync();
  }
  void activateEmergencyPass() override { told.push_back("pass"); }
  void suppressCurrentOccurrence() override { told.push_back("suppress"); }
  void scheduledTimerReachedBoundary() override {
    told.push_back("boundary");
    if (onBoundary) onBoundary();
  }
  void recordFocusSession(Date) override { told.push_back("habit"); }

  bool hasContext = true;
  std::function<void()> onSync;
  std::function<void()> onBoundary;
  std::vector<std::string> told;
};

inline Uuid uuid(uint8_t n) {
  std::array<uint8_t, 16> bytes{};
  bytes[15] = n;
  return Uuid(bytes);
}

// The timer alone, on virtual time and a disk that outlives it.
class TimerFixture : public testing::Test {
 protected:
  using Texts = std::vector<std::string>;
  using Notice = sim::FakeNotifications::Notice;

  TimerFixture() {
    neighbours_.focusContext.bind(recorder);
    neighbours_.screens.bind(recorder);
    neighbours_.coordinator.bind(recorder);
    neighbours_.schedule.bind(recorder);
    neighbours_.habits.bind(recorder);
    boot();
  }
  void boot() {
    timer_ = std::make_unique<TimerService>(preferences, clock, loop, notifications, sounds,
                                            neighbours_);
  }
  // The process dies; another one starts `gone` seconds later.
  void crash(double gone = 0) {
    timer_.reset();
    world.jump(Seconds(gone));
    boot();
  }
  void relaunch(double gone = 0) {
    crash(gone);
    timer_->resumeRestored();
  }
  TimerService& timer() { return *timer_; }
  void wait(double seconds) { world.advance(Seconds(seconds)); }
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
  Texts told() { return std::exchange(recorder.told, {}); }
  int count(const std::string& what) {
    return static_cast<int>(std::ranges::count(recorder.told, what));
  }
  int64_t left() { return timer().timeRemaining.get(); }
  // Type, whether it runs and whether a session is active, e.g. "focus running active".
  std::string state() {
    std::string out(rawText(timer().currentSessionType.get()));
    if (timer().isRunning.get()) out += " running";
    if (timer().isSessionActive.get()) out += " active";
    return out;
  }
  TimerService::ScheduledBlock mission(double seconds, uint8_t id = 1) {
    TimerService::ScheduledBlock block;
    block.entryID = uuid(id);
    block.missionName = "Thesis";
    block.protectionName = "Strict";
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
