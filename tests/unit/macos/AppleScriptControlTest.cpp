#include <gtest/gtest.h>

#include "platform/macos/AppleScriptControl.h"
#include "platform/macos/BrowserScripts.h"
#include "platform/sim/Fakes.h"
#include "platform/sim/World.h"

namespace velmora {
namespace {

const Browser kChrome{"Google Chrome", "com.google.Chrome", false, true};
const Browser kSafari{"Safari", "com.apple.Safari", true, true};

using Scripts = std::vector<std::vector<std::string>>;

struct AppleScriptControlTest : testing::Test {
  void answer(const std::string& output, int status = 0) {
    processes.answers.push_back(Processes::Outcome{status, output});
  }
  void read(const BrowserControl::ReadRequest& request) {
    control->read(request, [this](TabReport report) { reports.push_back(std::move(report)); });
  }
  static std::vector<std::string> command(const std::string& script) {
    return {"/usr/bin/osascript", "-e", script};
  }

  sim::World world;
  sim::Lane main{world};
  sim::Lane worker{world};
  sim::FakeProcesses processes;
  std::unique_ptr<AppleScriptControl> control =
      std::make_unique<AppleScriptControl>(processes, main, worker);
  std::vector<TabReport> reports;
};

TEST_F(AppleScriptControlTest, ReadsAllBrowsersWithOneScript) {
  answer("0\t5\t1\t0 0 800 600\thttps://a.example/\n1\t6\t1\t\thttps://b.example/\n");
  read({{kChrome, kSafari}, kChrome});
  world.settle();
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0].at(kChrome.bundleID)[0].address, "https://a.example/");
  EXPECT_EQ(reports[0].at(kSafari.bundleID)[0].address, "https://b.example/");
  EXPECT_EQ(processes.runs, Scripts{command(readScript({kChrome, kSafari}))});
}

TEST_F(AppleScriptControlTest, AsksForTheFrontWindowWhenTheFrontBrowserReportsNone) {
  answer("0\t5\t1\t\thttps://a.example/\n");
  answer("  https://front.example/\n");
  read({{kChrome, kSafari}, kSafari});
  world.settle();
  ASSERT_EQ(reports.size(), 1u);
  const std::vector<WindowTab> expected{{"", 1, std::nullopt, "https://front.example/"}};
  EXPECT_EQ(reports[0].at(kSafari.bundleID), expected);
  EXPECT_TRUE(reports[0].contains(kChrome.bundleID));
  EXPECT_EQ(processes.runs.back(), command(frontWindowScript(kSafari)));
}

TEST_F(AppleScriptControlTest, ReportsNothingWhenScriptsGiveNothing) {
  processes.answers.push_back(std::nullopt);
  answer("0\t5\t1\t\thttps://ignored.example/", 1);
  answer("0\t5\t1\t\t\xff\xfe");
  answer(" \n");
  for (int i = 0; i < 2; ++i) read({{kChrome}, kChrome});
  world.settle();
  EXPECT_EQ(reports, (std::vector<TabReport>{{}, {}}));
  EXPECT_EQ(processes.runs.size(), 4u);
}

TEST_F(AppleScriptControlTest, SendsOnTheWorkerAfterAReadUnderWay) {
  const std::string page = "http://127.0.0.1:52700/";
  const WindowTab tab{"5", 1, std::nullopt, "https://a.example/"};
  read({{kChrome}, std::nullopt});
  control->send(kChrome, tab, page);
  world.settle();
  const Scripts inOrder{command(readScript({kChrome})), command(sendScript(tab, kChrome, page))};
  EXPECT_EQ(processes.runs, inOrder);
}

TEST_F(AppleScriptControlTest, DropsWhatIsUnderWayWhenItGoes) {
  read({{kChrome}, std::nullopt});
  control->send(kChrome, {}, "http://127.0.0.1:52700/");
  control.reset();
  world.settle();
  EXPECT_TRUE(reports.empty());
  EXPECT_TRUE(processes.runs.empty());
}

}  // namespace
}  // namespace velmora
