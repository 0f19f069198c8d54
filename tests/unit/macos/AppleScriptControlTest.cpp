#include <gtest/gtest.h>

#include "platform/macos/AppleScriptControl.h"
#include "platform/macos/BrowserScripts.h"
#include "platform/sim/Fakes.h"
#include "platform/sim/World.h"

namespace velmora {
namespace {

const Browser kChrome{"Google Chrome", "com.google.Chrome", false, true};
const Browser kSafari{"Safari", "com.apple.Safari", true, true};

struct AppleScriptControlTest : testing::Test {
  void read(const BrowserControl::ReadRequest& request) {
    control->read(request, [this](TabReport report) { reports.push_back(std::move(report)); });
    world.settle();
  }

  sim::World world;
  sim::Lane main{world}, worker{world};
  sim::FakeProcesses processes;
  std::optional<AppleScriptControl> control{std::in_place, processes, main, worker};
  std::vector<TabReport> reports;
};

TEST_F(AppleScriptControlTest, AsksForTheFrontWindowWhenTheFrontBrowserReportsNone) {
  processes.answers = {{{0, "0\t5\t1\t\thttps://p/\n"}}, {{0, " https://front/\n"}}};
  read({{kChrome, kSafari}, kSafari});
  const TabReport expected{{kChrome.bundleID, {{"5", 1, std::nullopt, "https://p/"}}},
                           {kSafari.bundleID, {{"", 1, std::nullopt, "https://front/"}}}};
  EXPECT_EQ(reports, std::vector{expected});
  control->send(kChrome, {}, "http://wall/");
  world.settle();
  std::vector<std::vector<std::string>> runs;
  for (const auto& script : {readScript({kChrome, kSafari}), frontWindowScript(kSafari),
                             sendScript({}, kChrome, "http://wall/")})
    runs.push_back({"/usr/bin/osascript", "-e", script});
  EXPECT_EQ(processes.runs, runs);
}

TEST_F(AppleScriptControlTest, ReportsNothingWhenScriptsGiveNothing) {
  processes.answers = {
      {}, {{1, "0\t5\t1\t\thttps://a/"}}, {{0, "0\t5\t1\t\t\xff\xfe"}}, {{0, " \n"}}};
  for (int i = 0; i < 2; ++i) read({{kChrome}, kChrome});
  EXPECT_EQ(reports, (std::vector<TabReport>{{}, {}}));
}

TEST_F(AppleScriptControlTest, TellsOfTitlesUntilUnwatchedAndDropsWhatIsUnderWayWhenItGoes) {
  int news = 0;
  control->watch({kChrome.bundleID}, [&](const std::string&) { ++news; });
  control->titleChanged(kSafari.bundleID);
  control->titleChanged(kChrome.bundleID);
  control->unwatch();
  control->titleChanged(kChrome.bundleID);
  world.settle();
  EXPECT_EQ(news, 1);
  control->read({{kChrome}, std::nullopt}, [&](TabReport) { ++news; });
  control->send(kChrome, {}, "http://wall/");
  control.reset();
  world.settle();
  EXPECT_TRUE(news == 1 && processes.runs.empty());
}

}  // namespace
}  // namespace velmora
