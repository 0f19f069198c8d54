#include <gtest/gtest.h>

#include "linux/PrivateXServer.h"
#include "platform/linux/CommandProcesses.h"
#include "platform/linux/LaunchAgentFiles.h"
#include "platform/linux/LaunchAgents.h"
#include "support/NotedProcesses.h"
#include "support/TempFolder.h"

namespace velmora {
namespace {

class LaunchAgents : public testing::Test {
 protected:
  AgentPlaces places() const {
    return {folder / "config", folder / "manager", folder / "Velmora 100%/velmora"};
  }
  TempFolder folder;
  NotedProcesses processes;
};

TEST_F(LaunchAgents, TheirTextsAreAcceptedByThoseWhoReadThem) {
  for (const char* judge : {"systemd-analyze", "desktop-file-validate"})
    if (!test::hasProgram(judge)) GTEST_SKIP() << judge;
  const auto p = places();
  std::filesystem::create_directories(std::filesystem::path(p.program).parent_path());
  std::filesystem::copy_file("/bin/true", p.program);
  const auto put = [&](const std::string& name, const std::string& text) {
    EXPECT_TRUE(writeAgentFile(folder / name, text));
    return folder / name;
  };
  const auto service = put(agents::kGuardianService, agents::guardianService(p.program));
  const auto timer = put(agents::kGuardianTimer, agents::guardianTimer());
  const std::string odd = p.program + " \"x\" $HOME";  // in a unit systemd refuses such a path
  const auto guardian = put(agents::kGuardianEntry, agents::guardianEntry(odd));
  const auto launch = put(agents::kLaunchEntry, agents::launchEntry(odd));
  const auto application = put("com.velmora.app.desktop", agents::applicationEntry(p.program));
  CommandProcesses real;
  setenv("XDG_RUNTIME_DIR", folder.path().c_str(), 1);
  EXPECT_EQ(real.run({"systemd-analyze", "verify", "--user", timer, service})->status, 0);
  const auto entries =
      real.run({"desktop-file-validate", "--no-hints", guardian, launch, application});
  EXPECT_EQ(entries->status, 0) << entries->output;
  EXPECT_NE(contentOf(launch).find(R"(100%%/velmora \\"x\\" \\$HOME")"), std::string::npos);
}

TEST_F(LaunchAgents, TheGuardianIsATimerWhereThereIsAUserManager) {
  putContent(folder / "manager", "");
  GuardianAgent guardian(places(), processes);
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
  GuardianAgent guardian(places(), processes);
  for (const bool hasManager : {false, true}) {
    if (hasManager) putContent(folder / "manager", "");
    processes.obeys = false;
    guardian.install();
    EXPECT_TRUE(guardian.isInstalled());
    EXPECT_EQ(processes.lines.back(), places().program + " --watch");
    EXPECT_FALSE(std::filesystem::exists(places().unit(agents::kGuardianTimer)));
    guardian.remove();
    EXPECT_FALSE(guardian.isInstalled());
  }
}

}  // namespace
}  // namespace velmora
