#include "core/ModuleStore.h"

#include <gtest/gtest.h>

#include "platform/sim/Fakes.h"

namespace velmora {
namespace {

using Texts = std::vector<std::string>;

class Modules : public testing::Test {
 protected:
  Texts afterStart(const Preferences::Changes& disk) {
    preferences = {};
    preferences.write(disk);
    store = std::make_unique<ModuleStore>(preferences, neighbour);
    return std::get<Texts>(preferences.read("vm_enabledModules")->data);
  }

  sim::FakePreferences preferences;
  LateRef<ModuleStore::Commitment> neighbour;
  std::unique_ptr<ModuleStore> store;
};

TEST_F(Modules, AnUpgradeHidesNothingThatWasInUse) {
  const Texts fresh{"schedule", "sounds"};
  const std::pair<const char*, std::pair<const char*, PreferenceValue>> used[] = {
      {"habit", {"vm_habit_dailyGoal", 0}},
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
  EXPECT_EQ(afterStart({{"vm_enabledModules", Texts{"posture", "telepathy", "budget"}},
                        {"vm_habit_dailyGoal", 3}}),
            (Texts{"budget", "posture"}));  // a stored list rules, sorted
}

}  // namespace
}  // namespace velmora
