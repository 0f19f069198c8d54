#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/linux/LinuxAppCatalog.h"
#include "platform/linux/ProcessIdentity.h"

namespace velmora {
namespace {

// A system with one process.
struct FakeProc final : ProcessIdentity::Source {
  std::string group, program;
  uint64_t start = 1;
  mutable int questions = 0;

  std::optional<uint64_t> startTime(int32_t) const override { return start; }
  std::string cgroup(int32_t) const override { return ++questions, group; }
  std::string executable(int32_t) const override { return program; }
};

TEST(ProcessIdentity, GroupsThatDesktopsMakeNameTheApplication) {
  for (const auto& [group, application] : std::map<std::string, std::string>{
           {"app-gnome-org.mozilla.firefox-4711.scope\n", "org.mozilla.firefox"},
           {"app-gnome-google\\x2dchrome-99.scope", "google-chrome"},
           {"app-firefox@6f2e.service", "firefox"},
           {"app-flatpak-org.gimp.GIMP-12.scope/inner", "org.gimp.GIMP"},
           {"snap.firefox.firefox-0f9d5f5e-1d2c-4b5a-9f6e-3a2b1c0d9e8f.scope", "firefox_firefox"},
           // A shell is not its terminal; and odd names.
           {"app-org.gnome.Terminal.slice/vte-spawn-1-2.scope", ""},
           {"app-x\\x2-1.scope", "x\\x2"}}) {
    EXPECT_EQ(applicationOfCgroup("8:pids:/\n0::/user.slice/app.slice/" + group), application);
  }
}

TEST(ProcessIdentity, AKnownApplicationGoesBeforeTheGroupTheClassTheInstanceAndTheProgram) {
  const std::string discord = "0::/app-gnome-discord-5.scope", bar = "0::/app-org.foo.Bar-1.scope";
  const std::string chromium = "/usr/lib/chromium/chromium";
  struct Case {
    std::string group, program, windowClass, instance, expected;
  };
  for (const auto& c : std::vector<Case>{
           {bar, "/usr/bin/bar", "Bar", "window", "org.foo.Bar"},
           {"0::/", "/usr/bin/bar", "Bar", "window", "Bar"},
           {"0::/", "/usr/bin/bar", "", "", ""},
           // What a browser or a file manager started is neither.
           {"0::/app-gnome-org.gnome.Nautilus-5.scope", "/usr/bin/game", "Game", "", "Game"},
           {discord, "/usr/lib/x", "Foo", "", "com.hnc.Discord"},
           {"0::/", "/usr/lib/x", "Firefox-ESR", "Navigator", "org.mozilla.firefox"},
           // A browser is neither the program that opened it nor what it calls its window.
           {discord, chromium, "crx_abc", "crx_abc", "org.chromium.Chromium"}}) {
    const LinuxAppCatalog catalog;
    FakeProc proc;
    proc.group = c.group;
    proc.program = c.program;
    EXPECT_EQ(ProcessIdentity(catalog, proc).of(7, c.windowClass, c.instance), c.expected);
  }
}

TEST(ProcessIdentity, TheSystemIsAskedOnceAndEachWindowUnlessTheNumberIsAnothersNow) {
  const LinuxAppCatalog catalog;
  FakeProc proc;
  ProcessIdentity identity{catalog, proc};
  EXPECT_EQ(identity.of(7, "XTerm", ""), "XTerm");
  identity.recheck(7);
  EXPECT_EQ(identity.of(7, "Popup", ""), "XTerm");
  for (const auto& [claim, id] : std::vector<std::pair<const char*, const char*>>{
           {"discord", "com.hnc.Discord"}, {"pinentry-qt", "pinentry"}, {"obs", "pinentry"},
           {"Chromium", "org.chromium.Chromium"}, {"orca", "org.chromium.Chromium"}}) {
    EXPECT_EQ(identity.of(7, claim, ""), id) << "of the claims of its windows the best";
  }
  EXPECT_EQ(proc.questions, 1);
  proc.start = 2;
  identity.recheck(7);
  proc.program = "/usr/bin/thunar";
  EXPECT_EQ(identity.of(7, "Chromium", ""), "thunar") << "what runs goes before what it claims";
}

TEST(ProcSource, KnowsThisProcessWhateverItsName) {
  const ProcSource source;
  EXPECT_TRUE(source.startTime(getpid()));
  EXPECT_EQ(access(source.executable(getpid()).c_str(), X_OK), 0);
  EXPECT_EQ(source.startTime(0), std::nullopt);
  const std::string fields = " S 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 98765 20 21";
  EXPECT_EQ(startTimeOfStat("42 (a) S 1 (b)" + fields), 98765u);
}

}  // namespace
}  // namespace velmora
