#include "platform/macos/ScheduleWatchdog.h"

#include <cstdlib>

#include "platform/sim/Fakes.h"
#include "support/TempFolder.h"
#include "support/WatchEntries.h"

namespace velmora {
namespace {

using namespace velmora::test;

class ScheduleWatchdogTest : public testing::Test {
 protected:
  TempFolder temp;
  sim::FakeProcesses processes;
  ScheduleWatchdog watchdog{processes,
                            {temp / "LaunchAgents", temp / "Support/Velmora", "com.velmora.app",
                             "/Applications/Velmora.app"}};
};

std::string scriptWith(const std::string& condition) {
  return R"(#!/bin/zsh
pass_until=$(/usr/bin/defaults read com.velmora.app vm_schedule_passUntil 2>/dev/null || /bin/echo 0)
now_epoch=$(/bin/date +%s)
if [[ "$pass_until" == <-> ]] && (( now_epoch < pass_until )); then exit 0; fi
weekday=$(( $(/bin/date +%w) + 1 ))
hour=$(( 10#$(/bin/date +%H) ))
minute=$(( 10#$(/bin/date +%M) ))
minutes=$(( hour * 60 + minute ))
iso_date=$(/bin/date +%Y-%m-%d)
if )" + condition +
         R"(; then
    /usr/bin/pgrep -x "Velmora" >/dev/null 2>&1 || /usr/bin/open -g "/Applications/Velmora.app" --args --scheduled-launch
fi)";
}

TEST_F(ScheduleWatchdogTest, TheConditionHoldsEveryKindOfMission) {
  const auto expect = [&](std::vector<Entry> entries, const std::string& condition) {
    EXPECT_EQ(watchdog.script({.entries = std::move(entries)}), scriptWith(condition));
  };
  const std::string november =
      R"(! [[ "$iso_date" < "2026-11-01" ]] && ! [[ "$iso_date" > "2026-11-30" ]] && )"
      R"([[ "$iso_date" != "2026-11-24" ]] && )";
  // Neither range nor exclusions count for one that takes place once.
  expect({inNovember(once(kMonday, 540, 1440)), once(std::nullopt, 0, 60)},
         R"([[ "$iso_date" == "2026-11-23" ]] && (( minutes >= 540 && minutes < 1440 )))");
  expect({daily(0, 60)}, "(( minutes >= 0 && minutes < 60 ))");
  EXPECT_EQ(ScheduleWatchdog(processes, {"", "", "", "/Applications/Velmora.app"}).script({}),
            scriptWith(""));
  expect({inNovember(daily(540, 600))}, november + "(( minutes >= 540 && minutes < 600 ))");
  expect({inNovember(weekly({2, 4}, 540, 600)), daily(5, 6)},
         november + "(( weekday == 2 && minutes >= 540 && minutes < 600 )) || " + november +
             "(( weekday == 4 && minutes >= 540 && minutes < 600 )) || "
             "(( minutes >= 5 && minutes < 6 ))");
}

TEST_F(ScheduleWatchdogTest, ThePropertyListsNameTheScriptAndWhenItIsWoken) {
  const auto expect = [&](const WatchTable& table, const std::string& rest) {
    EXPECT_EQ(watchdog.propertyList(table),
              R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0"><dict>
    <key>Label</key><string>com.velmora.schedule</string>
    <key>ProgramArguments</key><array><string>/bin/zsh</string><string>)" +
                  temp.path() + "/Support/Velmora/schedule-watchdog-v5.zsh</string></array>\n" +
                  rest);
  };
  const auto dict = [](const std::string& day, int hour, int minute) {
    return "    <dict>\n" + day + "        <key>Hour</key><integer>" + std::to_string(hour) +
           "</integer>\n        <key>Minute</key><integer>" + std::to_string(minute) +
           "</integer>\n    </dict>\n";
  };
  const auto on = [](int day) {
    return "        <key>Weekday</key><integer>" + std::to_string(day) + "</integer>\n";
  };
  std::string each;
  for (int day = 1; day <= 7; ++day) each += dict(on(day), 0, 0);
  const std::vector<Entry> entries{once(kMonday, 545, 600), once(std::nullopt, 1, 2), daily(0, 60),
                                   weekly({1, 7}, 1439, 1440)};
  expect({.entries = entries},
         "    <key>StartCalendarInterval</key><array>\n" +
             dict("        <key>Month</key><integer>11</integer>\n"
                  "        <key>Day</key><integer>23</integer>\n",
                  9, 5) +
             each + dict(on(1), 23, 59) + dict(on(7), 23, 59) + "    </array>\n</dict></plist>");
  expect({.entries = entries, .isGuard = true},
         "    <key>StartInterval</key><integer>15</integer>\n    <key>RunAtLoad</key><true/>\n"
         "    <key>ProcessType</key><string>Background</string>\n</dict></plist>");
}

TEST_F(ScheduleWatchdogTest, IsRewrittenWhenItChangesAndTakesOldScriptsAlongWhenItGoes) {
  const std::vector<std::string> load{"/bin/launchctl", "load", watchdog.agentPath()};
  const std::vector<std::string> unload{"/bin/launchctl", "unload", watchdog.agentPath()};
  WatchTable table{.entries = {daily(0, 60)}};
  watchdog.install(table);
  watchdog.install(table);
  EXPECT_EQ(processes.runs, (std::vector{unload, load}));
  EXPECT_EQ(contentOf(watchdog.scriptPath()), watchdog.script(table));
  const auto old = temp / "Support/Velmora/schedule-watchdog-v3.zsh";
  putContent(old, "");
  table.isGuard = true;
  watchdog.install(table);
  EXPECT_EQ(processes.runs.size(), 4u);
  EXPECT_EQ(contentOf(watchdog.agentPath()), watchdog.propertyList(table));
  EXPECT_TRUE(std::filesystem::exists(old));
  watchdog.remove();
  EXPECT_EQ(processes.runs.back(), unload);
  for (const auto& path : {old, watchdog.scriptPath(), watchdog.agentPath()})
    EXPECT_FALSE(std::filesystem::exists(path)) << path;
  watchdog.install(table);
  EXPECT_TRUE(std::filesystem::exists(watchdog.scriptPath()));
}

// The script in a real zsh, in a copy that calls stand-ins in a folder of ours instead of the
// programs of a Mac.
class ScheduleScript : public ScheduleWatchdogTest {
 protected:
  void SetUp() override {
    if (std::system("zsh -c true") != 0) GTEST_SKIP() << "zsh";
    program("defaults", R"([ "$*" = "read com.velmora.app vm_schedule_passUntil" ] && cat FOLDER/pass)");
    program("date", R"sh(TZ=UTC exec /bin/date --date "$(cat FOLDER/now)" "$@")sh");
    program("echo", R"(printf '%s\n' "$*")");
    program("pgrep", R"([ "$*" = "-x Velmora" ] && [ -e FOLDER/running ])");
    program("open", R"(printf '%s ' "$@" > FOLDER/opened)");
  }
  void program(const std::string& name, std::string text) {
    for (size_t at; (at = text.find("FOLDER")) != text.npos;) text.replace(at, 6, temp.path());
    std::filesystem::create_directories(temp / "bin");
    putContent(temp / "bin/" + name, "#!/bin/sh\n" + text + "\n");
    std::filesystem::permissions(temp / "bin/" + name, std::filesystem::perms::owner_all);
  }
  // At that minute, by the clock of Greenwich.
  bool opens(std::vector<Entry> entries, local_days day = kMonday, int minute = 720) {
    const auto now = std::chrono::seconds(day.time_since_epoch()).count() + minute * 60;
    std::string text = watchdog.script({.entries = std::move(entries)});
    for (const std::string name : {"/usr/bin/defaults", "/bin/date", "/bin/echo", "/usr/bin/pgrep",
                                   "/usr/bin/open"})
      for (size_t at = 0; (at = text.find("(" + name)) != text.npos ||
                          (at = text.find(" " + name)) != text.npos;)
        text.replace(at + 1, name.size(), temp / "bin" + name.substr(name.rfind('/')));
    putContent(temp / "script", text);
    putContent(temp / "now", "@" + std::to_string(now));
    std::filesystem::remove(temp / "opened");
    EXPECT_EQ(std::system(("zsh -f " + (temp / "script") + " 2> " + (temp / "errors")).c_str()) &
                  0xff, 0);
    EXPECT_EQ(contentOf(temp / "errors"), "");
    const auto opened = contentOf(temp / "opened");
    if (opened.empty()) return false;
    EXPECT_EQ(opened, "-g /Applications/Velmora.app --args --scheduled-launch ");
    return true;
  }
};

TEST_F(ScheduleScript, OpensWithinAMissionOnlyAndNotWhatRuns) {
  for (const auto& one : coverings())
    EXPECT_EQ(opens({one.mission}, one.day, one.minute), one.isCovered)
        << one.day.time_since_epoch().count() << ", " << one.minute;
  putContent(temp / "running", "");
  EXPECT_FALSE(opens({daily(540, 600)}, kMonday, 540));
}

TEST_F(ScheduleScript, APassThatIsAWholeNumberHoldsItBack) {
  const auto opensWith = [&](const std::string& pass) {
    putContent(temp / "pass", pass);
    return opens({daily(540, 600)}, kMonday, 540);  // 1795424400
  };
  EXPECT_FALSE(opensWith("1795424401"));
  EXPECT_TRUE(opensWith("1795424400")) << "over";
  for (const char* none : {"1795428000.5", "soon", "", "-1"}) EXPECT_TRUE(opensWith(none)) << none;
}

// Conditions group from the left, so a series with guards takes those before it along.
TEST_F(ScheduleScript, MissionsSideBySide) {
  const auto yes = daily(0, 1440);
  const auto no = daily(0, 1);
  const auto guardedYes = inNovember(daily(0, 1440));
  const auto guardedNo = inNovember(daily(0, 1));
  const auto past = [](Entry entry) {
    entry.last = november(1);
    return entry;
  };
  EXPECT_TRUE(opens({no, yes}));
  EXPECT_TRUE(opens({yes, no}));
  EXPECT_FALSE(opens({no, no}));
  EXPECT_TRUE(opens({guardedYes, no}));
  EXPECT_TRUE(opens({no, guardedYes}));
  EXPECT_FALSE(opens({yes, guardedNo})) << "(yes || guard && guard && guard) && no";
  EXPECT_FALSE(opens({yes, past(no)}));
  EXPECT_TRUE(opens({yes, past(yes)})) << "(yes || guard) && yes";
  EXPECT_TRUE(opens({past(yes), yes}));
  EXPECT_FALSE(opens({once(kMonday, 0, 1440), weekly({1, 2}, 0, 1), once(kMonday, 0, 1)}))
      << "a date is a guard too";
}

}  // namespace
}  // namespace velmora
