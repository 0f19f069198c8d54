#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#include "core/StoredSettings.h"
#include "platform/sim/FakeDesktopShell.h"
#include "platform/sim/Fakes.h"
#include "platform/sim/World.h"
#include "schedule/ScheduleService.h"

namespace velmora {

// The schedule on the real timer and presets, on virtual time and a disk that outlives them.
class ScheduleFixture : public testing::Test, TimerService::Habits, ScheduleService::Bridge {
 protected:
  using Texts = std::vector<std::string>;

  ScheduleFixture() {
    clock.start = Calendar(Zone::utc()).instant(kMonday, 0);
    relaunch();
  }
  // The process dies; another one starts `gone` seconds later.
  void relaunch(double gone = 0) {
    program_.reset();
    world.jump(Seconds(gone));
    program_ = std::make_unique<Program>(*this);
    schedule().tick();
  }
  ScheduleService& schedule() { return program_->schedule; }
  TimerService& timer() { return program_->timer; }
  FocusPresetStore& presets() { return program_->presets; }
  FocusSessionCoordinator& screens() { return program_->screens; }

  // A mission of every day with a name of its own, not yet in any list.
  ScheduleEntry mission(const std::string& label, int start, int end) {
    ScheduleEntry e;
    e.id = random.uuid();
    e.label = label;
    e.recurrence = ScheduleRecurrence::daily;
    e.startMinutes = start;
    e.endMinutes = end;
    return e;
  }
  // One that takes place once, so many days after that Monday.
  ScheduleEntry once(const std::string& label, int start, int end, int day = 0) {
    ScheduleEntry e = mission(label, start, end);
    e.recurrence = ScheduleRecurrence::once;
    e.scheduledDate = Calendar(clock.zone()).instant(kMonday + std::chrono::days(day), 0);
    return e;
  }
  void plan(std::vector<ScheduleEntry> entries) {
    schedule().replaceEntries(std::move(entries), nullptr, "");
    schedule().setEnabled(true);
  }
  void edit(const std::function<void(std::vector<ScheduleEntry>&)>& change) {
    auto list = schedule().entries.get();
    change(list);
    schedule().replaceEntries(std::move(list), nullptr, "");
  }
  static constexpr std::chrono::local_days kMonday =
      std::chrono::local_days(std::chrono::year_month_day(
          std::chrono::year(2026), std::chrono::month(1), std::chrono::day(5)));
  // Somebody sets the clock, or a suspend ends: it is that time there, and a tick comes.
  void go(double minute, int day = 0) {
    const auto at =
        Calendar(clock.zone()).instant(kMonday + std::chrono::days(day), static_cast<int>(minute));
    set(at + Seconds((minute - static_cast<int>(minute)) * 60));
  }
  void set(Date at) {
    clock.skew += at - clock.now();
    schedule().tick();
  }
  // The mission that runs, and why none does: "A", "A hard", "(stopped)", "(pass)", "-".
  std::string state() {
    const auto& s = schedule();
    if (timer().isScheduledSessionActive.get())
      return timer().scheduledMissionName.get() +
             (timer().scheduledHardModeActive.get() ? " hard" : "");
    if (!s.isCurrentlyInBlock.get()) return "-";
    return s.activeEntryID.get() ? "(stopped)" : s.hasPass() ? "(pass)" : "(?)";
  }
  // How many missions were recorded as done since the last call.
  int done() { return std::exchange(done_, 0); }

  sim::World world;
  sim::FakeClock clock{world};
  sim::Lane loop{world};
  sim::FakePreferences preferences;
  sim::FakeRandom random;
  sim::FakeNotifications notifications;
  sim::FakeSounds sounds;
  sim::FakeLog log;
  sim::FakeScheduleAgent agent;
  std::vector<Uuid> toldStopped;

 private:
  struct Program {
    explicit Program(ScheduleFixture& f)
        : timer(f.preferences, f.clock, f.loop, f.notifications, f.sounds, neighbours),
          presets(f.preferences, f.random),
          screens(timer, presets, f.preferences, f.loop),
          uses24Hour(f.preferences, "vm_uses_24_hour_time", true),
          schedule(timer, presets, screens, uses24Hour,
                   {f.preferences, f.clock, f.loop, f.random, f.log, f.agent, f.loop},
                   scheduleNeighbours) {
      neighbours.focusContext.bind(presets);
      neighbours.screens.bind(screens);
      neighbours.schedule.bind(schedule);
      neighbours.habits.bind(f);
      scheduleNeighbours.bridge.bind(f);
    }
    TimerService::Neighbours neighbours;
    ScheduleService::Neighbours scheduleNeighbours;
    TimerService timer;
    FocusPresetStore presets;
    FocusSessionCoordinator screens;
    StoredSwitch uses24Hour;
    ScheduleService schedule;
  };
  void recordFocusSession(Date) override { ++done_; }
  void blockStoppedHere(Uuid id) override { toldStopped.push_back(id); }

  std::unique_ptr<Program> program_;
  int done_ = 0;
};

}  // namespace velmora
