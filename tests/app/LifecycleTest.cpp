#include "support/ControlDevice.h"

namespace velmora {
namespace {

struct FakeCommitment final : ModuleStore::Commitment {
  bool isProtectionActive() const override { return isProtecting; }
  bool isTemporaryProtectionActive() const override { return isTemporary; }
  void disableTemporaryProtection() override {}
  Subscription onChange(std::function<void()> changed) const override {
    return changes.subscribe([changed](int) { changed(); });
  }
  bool isProtecting = false, isTemporary = false;
  Signal<int> changes;
};

struct LifecycleTest : testing::Test {
  Lifecycle& lifecycle() { return d->app->lifecycle; }
  bool isBlocking() { return d->app->engine.isRunning(); }
  void wait(double seconds) { world.advance(Seconds(seconds)); }
  void session(bool hard) {
    d->app->lists.addSite("reddit.com");
    d->tell("mode", {"soft"});
    d->tell("settings", {"set", "isHardcore", hard ? "on" : "off"});
    d->tell("start");
    wait(10);
  }
  std::string menu() {
    std::string out;
    for (const auto& i : d->statusItem.shown)
      out += (i.title.empty() ? "-" : i.action.empty() ? "(" + i.title + ")" : i.title) + i.key + "|";
    return out;
  }
  sim::World world;
  std::optional<sim::ControlDevice> d{std::in_place, world};
};

TEST_F(LifecycleTest, AHardSessionAndACommitmentLockTheProgramAndNothingElseDoes) {
  const char* soft = "(⚡ Running · 24:50)|-|Show Window|Stop Session...  🔐|";
  const char* hard = "(⚡ Running · 24:50)|-|Show Window|";
  const struct {
    bool session, hard, commitment, temporary, isLocked;
    const char* menu;
  } rows[] = {
      {false, false, false, false, false, "Open Velmora|-|Quitq|"},
      {true, false, false, false, false, soft},
      {true, true, false, false, true, hard},
      {true, false, true, false, true, soft},
      {true, true, true, false, true, hard},
      {false, false, true, false, true, "(🛡 Brak Porn protection active)|-|Open Velmora|"},
      {false, false, false, true, false,
       "(🛡 Brak Porn local protection active)|-|Open Velmora|Quitq|"}};
  for (const auto& row : rows) {
    FakeCommitment commitment;
    d.emplace(world);
    d->app->commitment.bind(commitment);
    wait(1);
    commitment.isProtecting = row.commitment;
    commitment.isTemporary = row.temporary;
    if (row.session) session(row.hard);
    commitment.changes.send(0);
    wait(0);
    EXPECT_EQ(menu(), row.menu);
    EXPECT_EQ(d->guardian.installed, row.isLocked);
    EXPECT_EQ(d->status("end"), row.session && !row.hard ? 0 : 1);
    EXPECT_EQ(d->authentication.reasons.empty(), !row.session || row.hard);
    d->statusItem.choose("quit");
    EXPECT_EQ(lifecycle().hasStopped.get(), !row.isLocked);
    EXPECT_EQ(isBlocking(), row.session && row.isLocked) << "blocks never outlive the program";
    EXPECT_EQ(d->status("quit"), row.isLocked ? 1 : 0);
    if (!row.isLocked) continue;
    EXPECT_EQ(d->status("pass"), row.session ? 0 : 1);
    wait(0);
    EXPECT_EQ(d->guardian.installed, row.commitment);
    commitment.isProtecting = false;
    commitment.changes.send(0);
    wait(0);
    EXPECT_EQ(d->guardian.told, (std::vector<std::string>{"install", "remove"}));
  }
}

TEST_F(LifecycleTest, AClockThatStandsWhileAnotherGoesIsPaused) {
  session(false);
  d->tell("countdown", {"start"});
  d->tell("pause");
  wait(0);
  EXPECT_EQ(menu(), "(⚡ Paused · 24:50)|-|Show Window|Stop Session...  🔐|");
  d->authentication.hasDialog = false;
  EXPECT_NE(d->tell("end").error, "") << "no promise that can't be kept";
  EXPECT_TRUE(d->authentication.reasons.empty());
}

TEST_F(LifecycleTest, TheOwnersProofEndsASessionUnlessItHasBecomeHard) {
  session(false);
  d->statusItem.choose("end");
  d->app->timer.setScheduledHardModeActive(true);
  d->authentication.answer(true);
  wait(0);  // before the schedule, which has no mission, looks again
  EXPECT_TRUE(lifecycle().isLocked() && isBlocking());
  d->app->timer.setScheduledHardModeActive(false);
  for (const bool proof : {false, true}) {
    d->tell("window", {"hide"});
    d->tell("end");
    d->authentication.answer(proof);
    EXPECT_EQ(isBlocking(), !proof);
    EXPECT_EQ(lifecycle().isWindowWanted.get(), proof);
  }
  EXPECT_EQ(d->authentication.reasons[0], "Authenticate to stop your focus session.");
}

// A second end, before the session has gone on after the first, loses nothing either.
TEST_F(LifecycleTest, TheSystemMayEndALockedProgramWhichItsGuardianBringsBack) {
  session(true);
  for (const int left : {1475, 1460}) {
    lifecycle().stop();
    EXPECT_TRUE(lifecycle().hasStopped.get() && !isBlocking());
    d->relaunch(Seconds(15));
    EXPECT_EQ(d->app->timer.timeRemaining.get(), left);
  }
  wait(0.5);
  EXPECT_TRUE(lifecycle().isLocked() && isBlocking() && d->guardian.told.size() == 1);
  d->relaunch(Seconds(3600));  // the phase has run out meanwhile
  wait(1);
  EXPECT_FALSE(d->guardian.installed);
}

TEST_F(LifecycleTest, ASilentLaunchShowsNoWindowAndTheLoginAgentIsTheSetting) {
  d->kill();
  d->boot();
  d->start(Lifecycle::Launch::silent);
  wait(1);
  EXPECT_FALSE(lifecycle().isWindowWanted.get());
  for (const bool broken : {false, true}) {
    d->loginAgent.isBroken = broken;
    d->app->launchAtLogin.enable();
    wait(0);
    EXPECT_EQ(d->app->launchAtLogin.isEnabled.get(), !broken);
  }
}

}  // namespace
}  // namespace velmora
