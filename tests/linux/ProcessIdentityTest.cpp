#include <gtest/gtest.h>
#include <unistd.h>

#include <map>

#include "platform/linux/LinuxAppCatalog.h"
#include "platform/linux/ProcessIdentity.h"

namespace velmora {
namespace {

struct FakeProc final : ProcessIdentity::Source {
  struct Process {
    uint64_t startTime = 1;
    std::string cgroup;
    std::string executable;
  };
  std::map<int32_t, Process> processes;
  mutable int questions = 0;

  std::optional<uint64_t> startTime(int32_t pid) const override {
    const auto found = processes.find(pid);
    return found == processes.end() ? std::nullopt : std::optional(found->second.startTime);
  }
  std::string cgroup(int32_t pid) const override {
    ++questions;
    const auto found = processes.find(pid);
    return found == processes.end() ? "" : found->second.cgroup;
  }
  std::string executable(int32_t pid) const override {
    const auto found = processes.find(pid);
    return found == processes.end() ? "" : found->second.executable;
  }
};

struct ProcessIdentityTest : testing::Test {
  LinuxAppCatalog catalog;
  FakeProc proc;
  ProcessIdentity identity{catalog, proc};

  std::string of(FakeProc::Process process, const std::string& windowClass = "",
                 const std::string& instance = "") {
    proc.processes[7] = std::move(process);
    identity.keepOnly({});
    return identity.of(7, windowClass, instance);
  }
};

TEST(ApplicationOfCgroup, ReadsTheNamesThatDesktopsGive) {
  const std::string base = "0::/user.slice/user-1000.slice/user@1000.service/app.slice/";
  EXPECT_EQ(applicationOfCgroup(base + "app-gnome-org.mozilla.firefox-4711.scope\n"),
            "org.mozilla.firefox");
  EXPECT_EQ(applicationOfCgroup(base + "app-org.kde.konsole-08a3.scope"), "org.kde.konsole");
  EXPECT_EQ(applicationOfCgroup(base + "app-gnome-google\\x2dchrome-99.scope"), "google-chrome");
  EXPECT_EQ(applicationOfCgroup(base + "app-firefox@6f2e.service"), "firefox");
  EXPECT_EQ(applicationOfCgroup(base + "app-org.gnome.Calls.slice"), "org.gnome.Calls");
  EXPECT_EQ(applicationOfCgroup(base + "app-flatpak-org.gimp.GIMP-12.scope/inner"),
            "org.gimp.GIMP");
  EXPECT_EQ(
      applicationOfCgroup(base + "snap.firefox.firefox-0f9d5f5e-1d2c-4b5a-9f6e-3a2b1c0d9e8f.scope"),
      "firefox_firefox");
}

TEST(ApplicationOfCgroup, ShellsAndSessionsNameNoApplication) {
  const std::string base = "0::/user.slice/user-1000.slice/user@1000.service/app.slice/";
  EXPECT_EQ(applicationOfCgroup(base + "app-org.gnome.Terminal.slice/vte-spawn-1-2.scope"), "");
  EXPECT_EQ(applicationOfCgroup("0::/user.slice/user-1000.slice/session-2.scope"), "");
  EXPECT_EQ(applicationOfCgroup("8:pids:/\n0::/"), "");
  EXPECT_EQ(applicationOfCgroup("0::/app-.scope"), "");
  EXPECT_EQ(applicationOfCgroup("0::/app-x\\x2-1.scope"), "x\\x2");
  EXPECT_EQ(applicationOfCgroup(""), "");
}

TEST(StartTimeOfStat, ProgramNamesMayHoldAnything) {
  const std::string fields = " S 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 98765 20 21";
  EXPECT_EQ(startTimeOfStat("42 (cat)" + fields), 98765u);
  EXPECT_EQ(startTimeOfStat("42 (a) S 1 (b)" + fields), 98765u);
  EXPECT_EQ(startTimeOfStat("42 (cat) S 1"), std::nullopt);
  EXPECT_EQ(startTimeOfStat(""), std::nullopt);
}

TEST_F(ProcessIdentityTest, UnknownApplicationsAreNamedByGroupThenClassThenInstanceThenProgram) {
  const FakeProc::Process inScope{1, "0::/app-org.foo.Bar-1.scope", "/usr/bin/bar"};
  EXPECT_EQ(of(inScope, "Bar", "bar-window"), "org.foo.Bar");
  EXPECT_EQ(of({1, "0::/", "/usr/bin/bar"}, "Bar", "bar-window"), "Bar");
  EXPECT_EQ(of({1, "0::/", "/usr/bin/bar"}, "", "bar-window"), "bar-window");
  EXPECT_EQ(of({1, "0::/", "/usr/bin/bar"}), "bar");
  EXPECT_EQ(of({1, "", ""}), "");
}

TEST_F(ProcessIdentityTest, AKnownApplicationIsFoundInAnyOfItsNames) {
  EXPECT_EQ(of({1, "0::/app-gnome-chromium-5.scope", "/usr/lib/x"}, "Foo"),
            "org.chromium.Chromium");
  EXPECT_EQ(of({1, "0::/", "/usr/lib/x"}, "Firefox-ESR", "Navigator"), "org.mozilla.firefox");
  EXPECT_EQ(of({1, "0::/", "/usr/lib/firefox-esr/firefox-esr (deleted)"}, "Foo", "Navigator"),
            "org.mozilla.firefox");
  EXPECT_EQ(of({1, "0::/", "/usr/lib/chromium/chromium"}, "crx_abcdef", "crx_abcdef"),
            "org.chromium.Chromium");
}

TEST_F(ProcessIdentityTest, ABrowserIsNotTheProgramThatOpenedIt) {
  EXPECT_EQ(of({1, "0::/app-gnome-discord-5.scope", "/usr/lib/chromium/chromium"}, "Chromium"),
            "org.chromium.Chromium");
  // Nor what it calls its window.
  EXPECT_EQ(of({1, "0::/", "/usr/lib/chromium/chromium"}, "discord"), "org.chromium.Chromium");
}

TEST_F(ProcessIdentityTest, TheSystemIsAskedOnce) {
  EXPECT_EQ(of({1, "", "/usr/bin/xterm"}, "XTerm"), "XTerm");
  const int before = proc.questions;
  EXPECT_EQ(identity.of(7, "Popup", ""), "XTerm");
  identity.recheck(7);
  EXPECT_EQ(identity.of(7, "", ""), "XTerm");
  EXPECT_EQ(proc.questions, before);
}

TEST_F(ProcessIdentityTest, AReusedNumberIsAnotherProcess) {
  EXPECT_EQ(of({1, "", "/usr/bin/xterm"}, "XTerm"), "XTerm");
  proc.processes[7] = {2, "", "/usr/lib/chromium/chromium"};
  identity.recheck(7);
  EXPECT_EQ(identity.of(7, "Chromium", "chromium"), "org.chromium.Chromium");
}

TEST(ProcSource, KnowsThisProcess) {
  const ProcSource source;
  EXPECT_TRUE(source.startTime(getpid()).has_value());
  EXPECT_EQ(source.startTime(getpid()), source.startTime(getpid()));
  EXPECT_EQ(access(source.executable(getpid()).c_str(), X_OK), 0);
  EXPECT_FALSE(source.cgroup(getpid()).empty());
  EXPECT_EQ(source.startTime(0), std::nullopt);
  EXPECT_EQ(source.executable(0), "");
}

}  // namespace
}  // namespace velmora
