#include "blocking/AppBlockerService.h"

#include "platform/sim/FakeApplications.h"
#include "platform/sim/Fakes.h"

namespace velmora {
namespace {

using Texts = std::vector<std::string>;

const std::string kChromium = "org.chromium.Chromium";
const std::string kFiles = "org.gnome.Nautilus";  // protected

BlockedApp entry(const std::string& id, bool isBlocked = true) {
  return {{}, id, id, isBlocked, std::nullopt};
}

struct AppBlocking : testing::Test {
  AppBlocking() { blocker.emplace(apps, installed, catalog, loop, loop); }
  Texts launch(const Texts& ids) {
    for (const auto& id : ids) apps.launch(id);
    world.settle();
    Texts running;
    for (const auto& app : apps.running()) running.push_back(app.bundleID);
    return running;
  }
  sim::World world;
  sim::Lane loop{world};
  sim::FakeApplications apps{loop};
  sim::FakeInstalled installed;
  sim::FakeCatalog catalog;
  std::optional<AppBlockerService> blocker;
};

TEST_F(AppBlocking, ClosesWhatRunsAndWhatIsLaunchedUntilItEnds) {
  std::vector<bool> seen;  // by those who watch: no repeat, and no change of the rules
  const auto watch = blocker->isBlocking.onWrite([&](bool is) { seen.push_back(is); });
  blocker->startBlocking({entry("game", false)});
  EXPECT_EQ(launch({"game", "editor", kFiles, kChromium}).size(), 4u);
  for (int i = 0; i < 2; ++i)
    blocker->startBlocking({entry("game"), entry(kFiles), entry("chromium")});
  EXPECT_EQ(launch({"game", "mail"}), (Texts{"editor", kFiles, "mail"}));
  blocker->startAllowlist({"mail", "game"});
  EXPECT_EQ(launch({"game", "editor"}), (Texts{kFiles, "mail", "game"}));
  blocker->startAllowlist({});
  EXPECT_EQ(launch({}), Texts{kFiles});
  blocker->startBlocking({entry("game", false)});
  EXPECT_EQ(launch({"game"}), (Texts{kFiles, "game"}));
  EXPECT_EQ(seen, (std::vector<bool>{true, false}));
}

TEST_F(AppBlocking, ABrowserIsAskedTwiceAtTheMostForOneSetOfRules) {
  apps.launch(kChromium, true);
  const auto asked = [&](const std::set<std::string>& allowed, double seconds) {
    blocker->startAllowlist(allowed);
    world.advance(Seconds(seconds));
    return apps.find(kChromium)->quitRequests;
  };
  EXPECT_EQ(asked({}, 1.2), 1);  // before the news of its launch
  EXPECT_EQ(asked({}, 0.1), 2);
  EXPECT_EQ(asked({}, 60), 2);
  EXPECT_EQ(asked({"mail"}, 1), 3);
  EXPECT_EQ(asked({"game"}, 60), 5);
  EXPECT_EQ(asked({"editor"}, 1), 6);
  blocker->stopBlocking();
  blocker->enforceRunningApps();
  world.advance(Seconds(60));
  EXPECT_EQ(apps.find(kChromium)->quitRequests, 6);
}

TEST_F(AppBlocking, ListsWhatIsInstalledOnceByNameAndAfterItWhatElseRuns) {
  const InstalledApp zoom{"zoom", "us.zoom", "/1", ""};
  installed.found = {zoom, {"A", "us.zoom", "/2", ""}, {"Velmora", "com.velmora.app", "/3", ""}};
  launch({"us.zoom", "Running"});
  blocker->preloadInstalledApps();
  world.settle();
  EXPECT_EQ(blocker->pickableApps(),
            (std::vector<InstalledApp>{{"Running", "Running", "", ""}, zoom}));
  blocker->preloadInstalledApps();
  blocker.reset();  // with a scan under way
  world.settle();
}

}  // namespace
}  // namespace velmora
