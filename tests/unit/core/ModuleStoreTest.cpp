#include "core/ModuleStore.h"

#include <gtest/gtest.h>

#include "platform/sim/Fakes.h"

namespace velmora {
namespace {

using Name = BrakModule::Name;
using Texts = std::vector<std::string>;

struct FakeCommitment final : ModuleStore::Commitment {
  bool isProtectionActive() const override { return active; }
  bool isTemporaryProtectionActive() const override { return temporary; }
  void disableTemporaryProtection() override { temporary = false; }
  bool active = false;
  bool temporary = false;
};

class Modules : public testing::Test {
 protected:
  Modules() { neighbour.bind(commitment); }
  // What is on after a start on this disk.
  Texts afterStart(const Preferences::Changes& disk) {
    preferences = {};
    preferences.write(disk);
    store = std::make_unique<ModuleStore>(preferences, neighbour);
    return stored();
  }
  Texts stored() {
    const auto value = preferences.read("vm_enabledModules");
    return std::get<Texts>(value.value().data);
  }
  void set(Name name, bool on) { store->set(BrakModule::named(name), on); }

  sim::FakePreferences preferences;
  FakeCommitment commitment;
  LateRef<ModuleStore::Commitment> neighbour;
  std::unique_ptr<ModuleStore> store;
};

TEST_F(Modules, AnUpgradeHidesNothingThatWasInUse) {
  const auto json = [](const char* text) { return blobValue(text); };
  const Texts fresh{"schedule", "sounds"};
  const auto with = [](const char* more) {
    Texts out{more, "schedule", "sounds"};
    std::ranges::sort(out);
    return out;
  };
  EXPECT_EQ(afterStart({}), fresh);
  EXPECT_EQ(afterStart({{"vm_habit_sessionCounts", json("[")}}), with("habit"));
  EXPECT_EQ(afterStart({{"vm_habit_dailyGoal", 0}}), with("habit"));
  EXPECT_EQ(afterStart({{"vm_deadline_isEnabled", true}}), with("deadline"));
  EXPECT_EQ(afterStart({{"vm_deadline_title", " Thesis "}}), with("deadline"));
  EXPECT_EQ(afterStart({{"vm_budgetedSites", json(R"([{"anything":1}])")}}), with("budget"));
  EXPECT_EQ(afterStart({{"vm_creatorGate_isEnabled", true}}), with("creatorGate"));
  EXPECT_EQ(afterStart({{"vm_deadline_isEnabled", false},
                        {"vm_deadline_title", " \n"},
                        {"vm_budgetedSites", json("[]")},
                        {"vm_creatorGate_isEnabled", false}}),
            fresh);
  EXPECT_EQ(afterStart({{"vm_budgetedSites", json("[1")}}), fresh);
}

TEST_F(Modules, AStoredListRulesAndUnknownTextsAreDropped) {
  EXPECT_EQ(afterStart({{"vm_enabledModules", Texts{"posture", "telepathy", "budget"}},
                        {"vm_habit_dailyGoal", 3}}),
            (Texts{"budget", "posture"}));
  EXPECT_TRUE(store->isEnabled(BrakModule::named(Name::posture)));
  EXPECT_EQ(afterStart({{"vm_enabledModules", Texts{}}}), Texts{});
  EXPECT_EQ(afterStart({{"vm_enabledModules", "posture"}}), (Texts{"schedule", "sounds"}));
}

TEST_F(Modules, SwitchesAreSavedAtOnceAndSorted) {
  afterStart({});
  set(Name::habit, true);
  set(Name::schedule, false);
  EXPECT_EQ(stored(), (Texts{"habit", "sounds"}));
  store->toggle(BrakModule::named(Name::habit));
  EXPECT_EQ(stored(), Texts{"sounds"});
}

TEST_F(Modules, ACommitmentKeepsItsModuleOn) {
  afterStart({});
  set(Name::brakPorn, true);
  commitment.active = commitment.temporary = true;
  set(Name::brakPorn, false);
  EXPECT_TRUE(store->isEnabled(BrakModule::named(Name::brakPorn)));
  EXPECT_TRUE(commitment.temporary);
  set(Name::sounds, false);  // only its own
  EXPECT_EQ(stored(), (Texts{"brakPorn", "schedule"}));
  commitment.active = false;
  set(Name::brakPorn, false);
  EXPECT_FALSE(commitment.temporary);
  EXPECT_EQ(stored(), Texts{"schedule"});
}

}  // namespace
}  // namespace velmora
