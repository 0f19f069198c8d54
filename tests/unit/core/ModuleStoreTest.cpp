#include "core/ModuleStore.h"

#include <gtest/gtest.h>

#include "platform/sim/Fakes.h"

namespace velmora {
namespace {

using enum BrakModule::Name;
using Texts = std::vector<std::string>;

struct FakeCommitment final : ModuleStore::Commitment {
  bool isProtectionActive() const override { return active; }
  bool isTemporaryProtectionActive() const override { return temporary; }
  void disableTemporaryProtection() override { temporary = false; }
  bool active = true;
  bool temporary = true;
};

class Modules : public testing::Test {
 protected:
  Modules() { neighbour.bind(commitment); }
  Texts afterStart(const Preferences::Changes& disk) {
    preferences = {};
    preferences.write(disk);
    store = std::make_unique<ModuleStore>(preferences, neighbour);
    return stored();
  }
  Texts stored() { return std::get<Texts>(preferences.read("vm_enabledModules")->data); }
  void set(BrakModule::Name name, bool on) { store->set(BrakModule::named(name), on); }

  sim::FakePreferences preferences;
  FakeCommitment commitment;
  LateRef<ModuleStore::Commitment> neighbour;
  std::unique_ptr<ModuleStore> store;
};

TEST_F(Modules, AnUpgradeHidesNothingThatWasInUse) {
  const Texts fresh{"schedule", "sounds"};
  const std::pair<const char*, std::pair<const char*, PreferenceValue>> used[] = {
      {"habit", {"vm_habit_sessionCounts", blobValue("[")}},
      {"habit", {"vm_habit_dailyGoal", 0}},
      {"deadline", {"vm_deadline_isEnabled", true}},
      {"deadline", {"vm_deadline_title", " Thesis "}},
      {"budget", {"vm_budgetedSites", blobValue(R"([{"anything":1}])")}},
      {"creatorGate", {"vm_creatorGate_isEnabled", true}}};
  for (const auto& [module, entry] : used)
    EXPECT_EQ(afterStart({entry}), (Texts{module, "schedule", "sounds"})) << entry.first;
  EXPECT_EQ(afterStart({{"vm_deadline_isEnabled", false},
                        {"vm_deadline_title", " \n"},
                        {"vm_budgetedSites", blobValue("[]")},
                        {"vm_creatorGate_isEnabled", false}}),
            fresh);
  EXPECT_EQ(afterStart({{"vm_enabledModules", "posture"}}), fresh);
}

TEST_F(Modules, AStoredListRulesAndSwitchesAreSavedAtOnceAndSorted) {
  EXPECT_EQ(afterStart({{"vm_enabledModules", Texts{}}}), Texts{});
  EXPECT_EQ(afterStart({{"vm_enabledModules", Texts{"posture", "telepathy", "budget"}},
                        {"vm_habit_dailyGoal", 3}}),
            (Texts{"budget", "posture"}));
  set(habit, true);
  store->toggle(BrakModule::named(posture));
  EXPECT_EQ(stored(), (Texts{"budget", "habit"}));
}

TEST_F(Modules, ACommitmentKeepsItsModuleOn) {
  afterStart({});
  set(brakPorn, true);
  set(brakPorn, false);
  set(sounds, false);  // only its own
  EXPECT_EQ(stored(), (Texts{"brakPorn", "schedule"}));
  EXPECT_TRUE(commitment.temporary);
  commitment.active = false;
  set(brakPorn, false);
  EXPECT_FALSE(commitment.temporary);
  EXPECT_EQ(stored(), Texts{"schedule"});
}

}  // namespace
}  // namespace velmora
