#include "blocking/BlocklistStore.h"

#include "platform/sim/Fakes.h"

namespace velmora {
namespace {

using Texts = std::vector<std::string>;

constexpr const char* kApps = "vm_blockedApps";
constexpr const char* kSites = "vm_blockedSites";
constexpr const char* kBudgets = "vm_budgetedSites";

std::string entry(int id, const std::string& members) {
  return R"({"id":"00000000-0000-4000-8000-00000000000)" + std::to_string(id) + "\"," + members +
         "}";
}
std::string site(int id, const std::string& domain, const std::string& isBlocked = "true") {
  return entry(id, R"("domain":")" + domain + R"(","isBlocked":)" + isBlocked);
}
std::string app(int id, const std::string& more = "") {
  return entry(id, R"("name":"Steam","bundleID":"a.b","isBlocked":true)" + more);
}
std::string budget(int id, const std::string& domain, int minutes) {
  return entry(id, R"("domain":")" + domain + R"(","minutesPerHour":)" + std::to_string(minutes));
}

struct Lists : testing::Test {
  BlocklistStore& load() { return store.emplace(preferences, random); }
  std::string stored(const char* key) const { return preferences.blob(key).value_or("none"); }

  sim::FakePreferences preferences;
  sim::FakeRandom random;
  std::optional<BlocklistStore> store;
};

TEST_F(Lists, SitesAndAppsAreListedOnceAndStoredInTheirExactShapes) {
  auto& lists = load();
  EXPECT_TRUE(preferences.all().empty());  // a fresh store is left alone
  for (const char* typed : {"https://WWW.A.com/x?y#z", "a.com", "A.COM:80", "b.com", "c.com"})
    lists.addSite(typed);
  lists.removeSite(BlockedSite(lists.blockedSites.get()[1]));
  lists.setSiteBlocked(lists.blockedSites.get()[1].id, false);
  EXPECT_EQ(stored(kSites), "[" + site(1, "https://WWW.A.com/x?y#z") + "," +
                                site(5, "c.com", "false") + "]");

  BlockedApp steam = lists.makeApp("Steam", "a.b");
  steam.iconData = std::vector<uint8_t>{1, 2, 3};  // in memory only
  for (const auto& added : {steam, lists.makeApp("Another", "a.b"), lists.makeApp("C", "c")})
    lists.addApp(added);
  lists.removeApps({1, 9});
  EXPECT_EQ(stored(kApps), "[" + app(6) + "]");
}

TEST_F(Lists, LoadingMigratesBudgetsAndSavesOnlyWhenADomainChanged) {
  const std::string settled = budget(1, "x.com", 10) + "," + budget(2, "a.com", 0);
  preferences.setBlob(kBudgets, "[" + settled + "]");
  load();
  EXPECT_EQ(preferences.writes(), 1);  // the one above
  preferences.setBlob(kBudgets, "[" + budget(1, "twitter.com", 10) + "," + budget(2, "a.com", 0) +
                                    "," + budget(3, "x.com", 3) + "," + budget(4, "www.", 5) + "]");
  load();
  EXPECT_EQ(stored(kBudgets), "[" + settled + "]");
}

// What can't be read counts as empty, and its bytes stay until the user changes a list.
TEST_F(Lists, LoadingNeverWipesAListThatItCouldNotRead) {
  for (const std::string& bytes : Texts{
           "", "null", "[1]", "[" + site(1, "a.com") + ",{}]", "[" + site(1, "a.com"),
           R"([{"id":"x","domain":"a.com","isBlocked":true}])", "[" + site(1, "a.com", "1") + "]",
           "[" + entry(1, R"("domain":"a.com")") + "]", "[" + site(1, "\xff") + "]",
           std::string(100000, '[')}) {
    preferences.setBlob(kSites, bytes);
    preferences.setBlob(kApps, "[" + app(1, R"(,"iconData":"AAEC","extra":1)") + "]");
    auto& lists = load();
    EXPECT_EQ(stored(kSites), bytes);
    EXPECT_TRUE(lists.blockedSites.get().empty());
    EXPECT_EQ(stored(kApps), "[" + app(1) + "]");  // the others are saved in the present form
    lists.addSite("b.com");
    EXPECT_EQ(load().blockedSites.get()[0].domain, "b.com");
  }
}

}  // namespace
}  // namespace velmora
