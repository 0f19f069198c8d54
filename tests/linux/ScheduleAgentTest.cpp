#include <gtest/gtest.h>

#include "linux/PrivateXServer.h"
#include "platform/linux/CommandProcesses.h"
#include "platform/linux/LaunchAgentFiles.h"
#include "platform/linux/LinuxScheduleAgent.h"
#include "platform/linux/ScheduleRules.h"
#include "platform/linux/ScheduleTable.h"
#include "platform/sim/Fakes.h"
#include "support/NotedProcesses.h"
#include "support/TempFolder.h"
#include "support/WatchEntries.h"

namespace velmora {
namespace {

using namespace std::chrono_literals;
using namespace velmora::test;

Calendar in(const char* zone) {
  return Calendar(*Zone::named(zone));
}

TEST(ScheduleRules, AMissionCoversThisMomentWhateverStandsBesideIt) {
  const auto covers = [](std::vector<Entry> entries, local_days day, int minute) {
    const auto calendar = in("Europe/Berlin");
    return watch::isCovered({.entries = std::move(entries), .isGuard = false},
                            calendar.instant(day, minute), calendar);
  };
  for (const auto& one : coverings())
    EXPECT_EQ(covers({one.mission}, one.day, one.minute), one.isCovered)
        << one.day.time_since_epoch().count() << ", " << one.minute;
  EXPECT_FALSE(covers({once({}, 0, 60)}, kMonday, 0));

  // The table of truths in which a condition that groups from the left fails.
  const auto yes = daily(0, 1440);
  const auto no = daily(0, 1);
  auto past = yes;
  past.last = november(1);
  EXPECT_TRUE(covers({yes, inNovember(no)}, kMonday, 720));
  EXPECT_TRUE(covers({inNovember(no), yes}, kMonday, 720));
  EXPECT_TRUE(covers({yes, past}, kMonday, 720));
  EXPECT_TRUE(covers({once(kMonday, 0, 1440), weekly({1, 2}, 0, 1), once(kMonday, 0, 1)}, kMonday, 720));
  EXPECT_FALSE(covers({no, past, inNovember(no)}, kMonday, 720));
  EXPECT_FALSE(covers({}, kMonday, 720));
}

TEST(ScheduleRules, AMissionInWhichTheProgramWasQuitCountsForAGuardOnly) {
  const auto calendar = in("Europe/Berlin");
  const auto at = [&](int minute) { return calendar.instant(kMonday, minute); };
  WatchTable table{.entries = {daily(540, 600), daily(570, 660)}, .isGuard = false};
  const auto covers = [&](int now, int quitAt) {
    const PreferenceValue stored(static_cast<int64_t>(at(quitAt).secondsSinceUnixEpoch()));
    return watch::isCovered(table, at(now), calendar, watch::quitTime(stored, at(now)));
  };
  EXPECT_FALSE(covers(560, 540));
  EXPECT_TRUE(covers(570, 569)) << "the next one";
  EXPECT_FALSE(covers(650, 570));
  EXPECT_TRUE(covers(540, 539)) << "before it";
  EXPECT_TRUE(covers(540, 550)) << "the clock was set back";
  table.isGuard = true;
  EXPECT_TRUE(covers(560, 540));
  EXPECT_EQ(watch::quitTime(PreferenceValue("soon"), at(0)), std::nullopt);
}

// Berlin's clocks skip 02:00 to 03:00 on 28 March 2027, and show it twice on 25 October 2026.
TEST(ScheduleRules, GapsAndRepeatedTimes) {
  const auto berlin = in("Europe/Berlin");
  const local_days spring{2027y / 3 / 28};
  const Date gap = berlin.instant(spring, 180);
  const auto covers = [&](const Entry& entry, Date at) {
    return watch::isCovered({.entries = {entry}, .isGuard = false}, at, berlin);
  };
  EXPECT_TRUE(covers(daily(150, 240), gap)) << "the first instant after the gap";
  EXPECT_FALSE(covers(daily(60, 150), gap));
  EXPECT_FALSE(covers(daily(130, 170), gap)) << "wholly inside";
  const Date second = berlin.instant(local_days(2026y / 10 / 25), 150) + Seconds(3600);
  EXPECT_FALSE(covers(daily(135, 160), second)) << "it was over before the clock went back";
  EXPECT_TRUE(covers(daily(135, 180), second));

  const Date before = berlin.instant(spring, 60);
  const WatchTable table{.entries = {daily(150, 240), weekly({1}, 150, 160), daily(540, 600)},
                         .isGuard = false};
  EXPECT_EQ(watch::startsAfterGaps(table, before, berlin),
            (std::vector<CivilSeconds>{CivilSeconds(spring) + 3h,
                                       CivilSeconds(local_days(2028y / 3 / 26)) + 3h}));
  EXPECT_EQ(watch::nextLook(table, before, berlin), gap);
  EXPECT_EQ(watch::nextLook(table, gap, berlin), gap + Seconds(30)) << "as the manager's timers";
  EXPECT_EQ(watch::nextLook(table, gap + Seconds(30), berlin), berlin.instant(spring, 540));
  EXPECT_FALSE(watch::nextLook({.entries = {daily(130, 170)}, .isGuard = false}, before, berlin));
}

TEST(ScheduleRules, OnlyAWholeNumberIsAPass) {
  const Date now = Date::sinceUnixEpoch(1795424400.5);
  for (const PreferenceValue& pass : {PreferenceValue(1795424401.0), PreferenceValue(1795424401)})
    EXPECT_TRUE(watch::isPassInForce(pass, now));
  for (const PreferenceValue& none : {PreferenceValue(1795424400.0), PreferenceValue(1795428000.5),
                                     PreferenceValue(HUGE_VAL), PreferenceValue("1795428000")})
    EXPECT_FALSE(watch::isPassInForce(none, now));
  EXPECT_FALSE(watch::isPassInForce(std::nullopt, now));
}

TEST(ScheduleTable, ComesBackAsItWasAndIsNeverGuessed) {
  const WatchTable table{
      .entries = {inNovember(weekly({1, 7}, 0, 1440)), once(kMonday, 540, 600), daily(1, 2)},
      .isGuard = true};
  const auto text = watch::tableText(table);
  EXPECT_EQ(watch::tableFromText(text), table);
  for (const char* day : {"2026-11-31", "2026-11", "2026-11-23-1", "-1-11-23", "soon", ""}) {
    auto bad = text;
    bad.replace(bad.find("2026-11-24"), 10, day);
    EXPECT_FALSE(watch::tableFromText(bad)) << day;
  }
  EXPECT_FALSE(watch::tableFromText(text.substr(0, text.size() / 2)));
}

class ScheduleAgentTest : public testing::Test {
 protected:
  AgentPlaces places() const {
    return {folder / "config", folder / "manager", folder / "Velmora 100%/velmora",
            {"XDG_DATA_HOME=" + (folder / "50% \"data\"")}};
  }
  bool exists(const std::string& path) const { return std::filesystem::exists(path); }
  using Lines = std::vector<std::string>;

  TempFolder folder;
  sim::World world{1};
  sim::FakeClock clock{world};
  NotedProcesses processes;
  LinuxScheduleAgent agent{places(), folder / "table.json", processes, clock};
  const std::string timer = places().unit(agents::kScheduleTimer);
  const std::string watcher = places().autostart(agents::kScheduleWatchEntry);
  const std::string check = places().autostart(agents::kScheduleCheckEntry);
  const std::string startWatcher = places().program + " --schedule-watch";
  WatchTable table{.entries = {daily(540, 600)}, .isGuard = false};
};

TEST_F(ScheduleAgentTest, TheTimerRingsAtTheStartsOrAlways) {
  table.entries = {weekly({2, 4}, 545, 600), daily(150, 240), once(kMonday, 1439, 1440),
                   weekly({}, 1, 2), once({}, 1, 2)};
  const auto berlin = in("Europe/Berlin");
  const auto text = agents::scheduleTimer(table, berlin.instant(kMonday, 0), berlin);
  EXPECT_NE(text.find("[Timer]\n"
                      "OnCalendar=Mon,Wed *-*-* 09:05:00,30\n"
                      "OnCalendar=*-*-* 02:30:00,30\n"
                      "OnCalendar=2026-11-23 23:59:00,30\n"
                      "OnCalendar=2027-03-28 03:00:00,30\n"
                      "OnClockChange=true\nOnTimezoneChange=true\nAccuracySec=1s\n"),
            std::string::npos)
      << text;
  table.isGuard = true;
  EXPECT_NE(agents::scheduleTimer(table, {}, berlin)
                .find("[Timer]\nOnActiveSec=0\nOnUnitActiveSec=15\nAccuracySec=1s\n"),
            std::string::npos);
}

TEST_F(ScheduleAgentTest, ItsTextsAreAcceptedByThoseWhoReadThem) {
  for (const char* judge : {"systemd-analyze", "desktop-file-validate"})
    if (!test::hasProgram(judge)) GTEST_SKIP() << judge;
  const auto p = places();
  std::filesystem::create_directories(std::filesystem::path(p.program).parent_path());
  std::filesystem::copy_file("/bin/true", p.program);
  putContent(folder / "manager", "");
  CommandProcesses real;
  setenv("XDG_RUNTIME_DIR", folder.path().c_str(), 1);
  table.entries = {weekly({1, 2, 3, 4, 5, 6, 7}, 545, 600), daily(150, 240), once(kMonday, 0, 1)};
  clock.localZone = *Zone::named("America/St_Johns");
  for (const bool isGuard : {false, true}) {
    table.isGuard = isGuard;
    agent.install(table);
    const auto service = p.unit(agents::kScheduleService);
    EXPECT_EQ(real.run({"systemd-analyze", "verify", "--user", timer, service})->status, 0);
  }
  for (const char* mode : {"--schedule-check", "--schedule-watch"}) {
    putContent(folder / "entry.desktop", agents::scheduleEntry(p.program, mode));
    EXPECT_EQ(real.run({"desktop-file-validate", folder / "entry.desktop"})->status, 0);
  }
}

TEST_F(ScheduleAgentTest, WithAUserManagerOnlyWhatChangedIsWrittenAndRestarted) {
  putContent(folder / "manager", "");
  const Lines restart{"systemctl --user daemon-reload",
                      std::string("systemctl --user enable ") + agents::kScheduleTimer,
                      std::string("systemctl --user restart ") + agents::kScheduleTimer};
  agent.install(table);
  EXPECT_EQ(processes.take(), restart);
  EXPECT_TRUE(exists(check) && !exists(watcher));
  EXPECT_EQ(watch::tableFromText(contentOf(folder / "table.json")), table);
  agent.install(table);
  table.entries[0].excluded = {kMonday};
  agent.install(table);
  EXPECT_EQ(processes.take(), Lines{}) << "when it rings is the same";
  EXPECT_EQ(watch::tableFromText(contentOf(folder / "table.json")), table);
  table.isGuard = true;
  agent.install(table);
  EXPECT_EQ(processes.take(), restart);

  LinuxScheduleAgent next(places(), folder / "table.json", processes, clock);
  next.install(table);
  EXPECT_EQ(processes.take().back(), std::string("systemctl --user start ") + agents::kScheduleTimer)
      << "somebody may have stopped it meanwhile";
  for (int i = 0; i < 2; ++i) next.remove();
  EXPECT_EQ(processes.take(),
            (Lines{std::string("systemctl --user disable --now ") + agents::kScheduleTimer,
                   "systemctl --user daemon-reload"}));
  EXPECT_FALSE(exists(timer) || exists(check) || exists(folder / "table.json"));
}

TEST_F(ScheduleAgentTest, AWatcherOfOurOwnWhereTheManagerIsMissingOrRefuses) {
  for (const bool hasManager : {false, true}) {
    if (hasManager) putContent(folder / "manager", "");
    processes.obeys = !hasManager;
    agent.install(table);
    EXPECT_EQ(processes.take().back(), startWatcher);
    EXPECT_TRUE(exists(watcher) && !exists(check) && !exists(timer));
    if (hasManager) break;
    agent.install({.entries = {daily(1, 2)}, .isGuard = true});
    EXPECT_EQ(processes.take(), Lines{}) << "it reads the table by itself";
    agent.remove();
    EXPECT_FALSE(exists(watcher));
  }
  processes.obeys = true;
  agent.install(table);
  EXPECT_TRUE(exists(check) && !exists(watcher)) << "the manager came back";
}

}  // namespace
}  // namespace velmora
