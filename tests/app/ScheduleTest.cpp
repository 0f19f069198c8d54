#include "support/ControlDevice.h"

namespace velmora {
namespace {

// The whole program with missions, from ten to half past on the virtual Monday.
class MissionsTest : public testing::Test {
 protected:
  MissionsTest() {
    device.start();
    wait(1);
    ScheduleEntry site = mission("No X", 600, 615);
    site.softBlockedSites = {{device.random.uuid(), "x.com"}};
    ScheduleEntry preset = mission("Deep", 615, 630);
    preset.protectionMode = ScheduleProtectionMode::brak;
    app().schedule.replaceEntries({site, preset}, nullptr, "");
    app().schedule.setEnabled(true);
  }
  App& app() { return *device.app; }
  TimerService& timer() { return app().timer; }
  void wait(double seconds) { world.advance(Seconds(seconds)); }
  void goTo(int minute) {
    const Date at = Calendar(Zone::utc()).instant(monday, minute);
    wait((at - device.clock.now()).count());
    wait(1.5);
  }
  ScheduleEntry mission(const std::string& label, int start, int end) {
    ScheduleEntry e;
    e.id = device.random.uuid();
    e.label = label;
    e.startMinutes = start;
    e.endMinutes = end;
    return e;
  }
  bool isBlocking() { return app().engine.isRunning(); }
  std::string running() {
    return timer().isScheduledSessionActive.get() ? timer().scheduledMissionName.get() : "-";
  }

  const std::chrono::local_days monday =
      Calendar(Zone::utc()).day(Date::sinceUnixEpoch(1767603600));
  sim::World world;
  sim::SimDevice device{world};
};

TEST_F(MissionsTest, AKillInsideAMissionEndsItForNoLongerThanTheProgramIsGone) {
  app().schedule.setHardRoutineEnabled(true);
  goTo(605);
  EXPECT_TRUE(device.scheduleAgent.installed->isGuard);
  for (const double gone : {10.0, 600.0}) {  // the second time into the next mission
    device.kill();
    world.jump(Seconds(gone));
    device.boot();
    EXPECT_EQ(running(), "-") << "nothing is restored: the schedule works it out again";
    device.start(Lifecycle::Launch::silent);
    wait(0.2);
    EXPECT_EQ(running(), gone == 10 ? "No X" : "Deep");
    EXPECT_TRUE(isBlocking());
    EXPECT_TRUE(app().screens.scheduledTransition.get());
    EXPECT_TRUE(app().lifecycle.isLocked());
    EXPECT_FALSE(app().lifecycle.isWindowWanted.get());
  }
}

TEST_F(MissionsTest, HoldFromTheFirstCommandAfterALaunchOn) {
  app().schedule.setHardRoutineEnabled(true);
  ScheduleEntry brak = app().schedule.entries.get()[1];
  goTo(616);
  const std::vector<std::vector<std::string>> commands = {
      {"schedule", "off", "--yes"},
      {"schedule", "hard-routine", "off"},
      {"schedule", "mode", "simple", "--interrupt", "--yes"},
      {"missions", "remove", brak.id.text()},
      {"quit"},
      {"end"},
      {"mode", "soft"},
      {"skip"},
      {"screen", "stopwatch"},
      {"settings", "set", "isBrakModeEnabled", "false"}};
  for (const auto& command : commands) {
    device.kill();
    device.boot();
    sim::Control control(device);
    app().start(Lifecycle::Launch::silent);
    EXPECT_EQ(control.status(command[0], {command.begin() + 1, command.end()}), 1) << command[0];
    EXPECT_TRUE(app().lifecycle.isLocked() && running() == "Deep") << command[0];
    EXPECT_FALSE(control.hasQuit || app().lifecycle.hasStopped.get());
  }
  app().lifecycle.stop();
  app().schedule.tick();
  EXPECT_EQ(running(), "Deep") << "who ends, begins nothing";
}

TEST_F(MissionsTest, AStopByHandDoesNotOutliveTheProgram) {
  goTo(605);
  timer().reset();
  wait(5);
  EXPECT_EQ(running(), "-");
  device.relaunch(Seconds(5));
  wait(1);
  EXPECT_EQ(running(), "No X");
}

TEST_F(MissionsTest, AQuitIsNotedUntilTheNextLaunch) {
  goTo(600);
  EXPECT_TRUE(app().lifecycle.applicationShouldTerminate());
  EXPECT_EQ(device.preferences.integer("vm_schedule_quitAt"),
            static_cast<int64_t>(device.clock.now().secondsSinceUnixEpoch()));
  device.kill();
  device.boot();
  device.start();
  wait(1);
  EXPECT_FALSE(device.preferences.has("vm_schedule_quitAt"));
  app().lifecycle.stop();
  EXPECT_FALSE(device.preferences.has("vm_schedule_quitAt")) << "the desktop ends, nobody quits";
}

TEST_F(MissionsTest, TheWatchdogKnowsOfAnEditThatTheProgramEndsUpon) {
  goTo(640);
  app().schedule.replaceEntries({mission("new", 700, 710)}, nullptr, "");
  EXPECT_TRUE(app().lifecycle.applicationShouldTerminate());
  wait(0);
  EXPECT_EQ(device.scheduleAgent.installed->entries.at(0).startMinutes, 700);
}

TEST_F(MissionsTest, AStartIsMadeGoodAsSoonAsTheSystemWakes) {
  goTo(590);
  world.jump(Seconds(15 * 60));
  app().schedule.tick();
  EXPECT_EQ(running(), "No X");
}

TEST_F(MissionsTest, AKillInTheMiddleOfAStartLeavesNoFocusBehind) {
  goTo(590);
  std::vector<Preferences::Changes> journal;
  device.preferences.journal = &journal;
  const auto before = device.preferences.all();
  app().schedule.setEnabled(false);
  world.jump(Seconds(30 * 60));
  app().schedule.setEnabled(true);
  device.preferences.journal = nullptr;
  ASSERT_TRUE(app().presets.hasActiveFocusContext());
  sim::FakePreferences disk;
  for (const auto& [key, value] : before) disk.set(key, value);
  for (size_t written = 0; written < journal.size(); ++written) {
    disk.write(journal[written]);
    EXPECT_TRUE(!disk.has("vm_focus_active_context_v2") ||
                disk.boolean("vm_schedule_session_active_v4"))
        << written;
  }
}

TEST_F(MissionsTest, APassLiftsTheBlockTillTheEndOfTheMissionOverAKillAtAnyMoment) {
  app().schedule.setHardRoutineEnabled(true);
  goTo(605);
  timer().useEmergencyPass();
  EXPECT_EQ(running(), "-");
  for (int relaunches = 0; relaunches < 2; ++relaunches) {
    wait(5);
    EXPECT_TRUE(running() == "-" && !isBlocking() && app().schedule.hasPass());
    device.relaunch(Seconds(5));
  }
  EXPECT_FALSE(timer().emergencyPassAvailable());
  goTo(615);
  EXPECT_EQ(running(), "Deep");
  EXPECT_TRUE(isBlocking());
}

}  // namespace
}  // namespace velmora
