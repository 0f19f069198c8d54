#include "platform/linux/LaunchAgents.h"

#include "linux/PrivateXServer.h"
#include "platform/linux/CommandProcesses.h"
#include "platform/linux/LaunchAgentFiles.h"
#include "platform/linux/LinuxScheduleAgent.h"
#include "platform/linux/ScheduleTable.h"
#include "platform/sim/Fakes.h"
#include "support/NotedProcesses.h"
#include "support/TempFolder.h"
#include "support/WatchEntries.h"

namespace velmora {
namespace {

using namespace velmora::test;

class LaunchAgents : public testing::Test {
 protected:
  using Lines = std::vector<std::string>;

  bool exists(const std::string& path) const { return std::filesystem::exists(path); }
  void startManager() { putContent(folder / "manager", ""); }
  std::string put(const std::string& name, const std::string& text) {
    EXPECT_TRUE(writeAgentFile(folder / name, text));
    return folder / name;
  }
  void expectAccepted(const Lines& command) {
    const auto outcome = CommandProcesses().run(command);
    EXPECT_EQ(outcome->status, 0) << outcome->output;
  }

  TempFolder folder;
  const AgentPlaces places{folder / "config", folder / "manager", folder / "Velmora 100%/velmora",
                           {"XDG_DATA_HOME=" + (folder / "50% \"data\"")}};
  sim::World world;
  sim::FakeClock clock{world};
  NotedProcesses processes;
  GuardianAgent guardian{places, processes};
  LinuxScheduleAgent agent{places, folder / "table.json", processes, clock};
  const std::string timer = places.unit(agents::kScheduleTimer);
  const std::string watcher = places.autostart(agents::kScheduleWatchEntry);
  const std::string check = places.autostart(agents::kScheduleCheckEntry);
  const std::string startWatcher = places.program + " --schedule-watch";
  WatchTable table{.entries = {daily(540, 600)}, .isGuard = false};
};

TEST_F(LaunchAgents, TheirTextsAreAcceptedByThoseWhoReadThem) {
  for (const char* judge : {"systemd-analyze", "desktop-file-validate"})
    if (!hasProgram(judge)) GTEST_SKIP() << judge;
  std::filesystem::create_directories(std::filesystem::path(places.program).parent_path());
  std::filesystem::copy_file("/bin/true", places.program);
  setenv("XDG_RUNTIME_DIR", folder.path().c_str(), 1);
  Lines verify{"systemd-analyze", "verify", "--user"};
  verify.push_back(put(agents::kGuardianService, agents::guardianService(places.program)));
  verify.push_back(put(agents::kGuardianTimer, agents::guardianTimer()));
  verify.push_back(put(agents::kScheduleService,
                       agents::scheduleService(places.program, places.variables)));
  verify.push_back(folder / agents::kScheduleTimer);
  table.entries = {weekly({1, 2, 3, 4, 5, 6, 7}, 545, 600), daily(150, 240), once(kMonday, 0, 1)};
  const Calendar calendar(*Zone::named("America/St_Johns"));
  for (const bool isGuard : {false, true}) {
    table.isGuard = isGuard;
    put(agents::kScheduleTimer, agents::scheduleTimer(table, clock.now(), calendar));
    expectAccepted(verify);
  }

  const std::string odd = places.program + " \"x\" $HOME";  // systemd refuses such a path
  const auto launch = put(agents::kLaunchEntry, agents::launchEntry(odd));
  expectAccepted({"desktop-file-validate", "--no-hints", launch,
                  put(agents::kGuardianEntry, agents::guardianEntry(odd)),
                  put("check.desktop", agents::scheduleEntry(odd, "--schedule-check")),
                  put("com.velmora.app.desktop", agents::applicationEntry(places.program))});
  EXPECT_NE(contentOf(launch).find(R"(100%%/velmora \\"x\\" \\$HOME")"), std::string::npos);
}

TEST_F(LaunchAgents, TheGuardianIsATimerWhereThereIsAUserManager) {
  startManager();
  EXPECT_FALSE(guardian.isInstalled());
  guardian.install();
  EXPECT_TRUE(guardian.isInstalled());
  EXPECT_EQ(processes.lines.back(), "systemctl --user enable --now com.velmora.guardian.timer");
  processes.lines.clear();
  guardian.remove();
  EXPECT_FALSE(guardian.isInstalled());
  EXPECT_EQ(processes.lines.front(), "systemctl --user disable --now com.velmora.guardian.timer");
  processes.lines.clear();
  guardian.revive();
  guardian.remove();
  EXPECT_TRUE(processes.lines.empty()) << "nothing is there";
}

TEST_F(LaunchAgents, TheGuardianIsAWatcherOfOurOwnWhereTheManagerIsMissingOrRefuses) {
  for (const bool hasManager : {false, true}) {
    if (hasManager) startManager();
    processes.obeys = false;
    guardian.install();
    EXPECT_TRUE(guardian.isInstalled());
    EXPECT_EQ(processes.lines.back(), places.program + " --watch");
    EXPECT_FALSE(exists(places.unit(agents::kGuardianTimer)));
    guardian.remove();
    EXPECT_FALSE(guardian.isInstalled());
  }
}

TEST_F(LaunchAgents, TheTimerOfTheScheduleRingsAtTheStartsOrAlways) {
  table.entries = {weekly({2, 4}, 545, 600), daily(150, 240), once(kMonday, 1439, 1440),
                   weekly({}, 1, 2), once({}, 1, 2)};
  const auto berlin = Calendar(*Zone::named("Europe/Berlin"));
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

TEST_F(LaunchAgents, OfTheScheduleOnlyWhatChangedIsWrittenAndRestarted) {
  startManager();
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

  LinuxScheduleAgent next(places, folder / "table.json", processes, clock);
  next.install(table);
  EXPECT_EQ(processes.take().back(),
            std::string("systemctl --user start ") + agents::kScheduleTimer)
      << "somebody may have stopped it meanwhile";
  for (int i = 0; i < 2; ++i) next.remove();
  EXPECT_EQ(processes.take(),
            (Lines{std::string("systemctl --user disable --now ") + agents::kScheduleTimer,
                   "systemctl --user daemon-reload"}));
  EXPECT_FALSE(exists(timer) || exists(check) || exists(folder / "table.json"));
}

TEST_F(LaunchAgents, TheScheduleHasAWatcherOfOurOwnWhereTheManagerIsMissingOrRefuses) {
  for (const bool hasManager : {false, true}) {
    if (hasManager) startManager();
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
