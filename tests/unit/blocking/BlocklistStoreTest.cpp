#include "blocking/BlocklistStore.h"

#include "platform/sim/Fakes.h"

namespace velmora {
namespace {

using sim::FakePreferences;
using sim::FakeRandom;

constexpr const char* kApps = "vm_blockedApps";
constexpr const char* kSites = "vm_blockedSites";
constexpr const char* kBudgets = "vm_budgetedSites";

std::string uuid(int n) {
  return "00000000-0000-4000-8000-00000000000" + std::to_string(n);
}
std::string site(int n, const std::string& domain, bool on = true) {
  return R"({"id":")" + uuid(n) + R"(","domain":")" + domain + R"(","isBlocked":)" +
         (on ? "true}" : "false}");
}
std::string app(int n, const std::string& bundleID, const std::string& more = "") {
  return R"({"id":")" + uuid(n) + R"(","name":"A","bundleID":")" + bundleID +
         R"(","isBlocked":true)" + more + "}";
}
std::string budget(int n, const std::string& domain, int minutes) {
  return R"({"id":")" + uuid(n) + R"(","domain":")" + domain + R"(","minutesPerHour":)" +
         std::to_string(minutes) + "}";
}

struct Lists {
  Lists& with(const char* key, std::string_view json) {
    preferences.setBlob(key, json);
    return *this;
  }
  BlocklistStore& load() {
    writesBefore = preferences.writes();
    return store.emplace(preferences, random);
  }
  BlocklistStore& operator*() { return store ? *store : load(); }
  BlocklistStore* operator->() { return &**this; }
  std::optional<std::string> stored(const char* key) const { return preferences.blob(key); }
  int64_t writes() const { return preferences.writes() - writesBefore; }
  std::vector<std::string> domains() {
    std::vector<std::string> out;
    for (const auto& s : (**this).blockedSites.get()) out.push_back(s.domain);
    return out;
  }
  std::vector<std::pair<std::string, int>> budgets() {
    std::vector<std::pair<std::string, int>> out;
    for (const auto& s : (**this).budgetedSites.get())
      out.emplace_back(s.domain, s.minutesPerHour);
    return out;
  }

  FakePreferences preferences;
  FakeRandom random;
  std::optional<BlocklistStore> store;
  int64_t writesBefore = 0;
};
using Domains = std::vector<std::string>;
using Budgets = std::vector<std::pair<std::string, int>>;

TEST(BlocklistStore, WritesTheThreeListsInTheirExactShapes) {
  Lists lists;
  lists->addSite("https://WWW.Example.com/a\"b");
  BlockedApp steam = lists->makeApp("Steam", "com.valvesoftware.Steam");
  steam.iconData = std::vector<uint8_t>{1, 2, 3};
  lists->addApp(steam);
  lists->addBudgetedSite("https://twitter.com/home", 15);
  EXPECT_EQ(lists.stored(kSites),
            R"([{"id":")" + uuid(1) +
                R"(","domain":"https://WWW.Example.com/a\"b","isBlocked":true}])");
  EXPECT_EQ(lists.stored(kApps),
            R"([{"id":")" + uuid(2) +
                R"(","name":"Steam","bundleID":"com.valvesoftware.Steam","isBlocked":true}])");
  EXPECT_EQ(lists.stored(kBudgets), "[" + budget(3, "x.com", 15) + "]");
  EXPECT_EQ(lists->blockedApps.get()[0].iconData, steam.iconData);  // in memory it stays
}

TEST(BlocklistStore, ASiteIsListedOnceInAnySpellingAndAnAppByItsIdentity) {
  Lists lists;
  lists->addSite("https://WWW.Example.com/path?x=1#y");
  for (const char* again : {"example.com", "EXAMPLE.com:8080", "http://example.com/other"})
    lists->addSite(again);
  lists->addSite("old.example.com");
  EXPECT_EQ(lists.domains(), (Domains{"https://WWW.Example.com/path?x=1#y", "old.example.com"}));
  EXPECT_EQ(lists.writes(), 2);
  lists->addApp(lists->makeApp("One", "a.b"));
  lists->addApp(lists->makeApp("Two", "a.b"));
  ASSERT_EQ(lists->blockedApps.get().size(), 1u);
  EXPECT_EQ(lists->blockedApps.get()[0].name, "One");
}

TEST(BlocklistStore, RemovesByIdentityOrPlaceAndSwitchesOff) {
  Lists lists;
  for (const char* id : {"a", "b", "c", "d"}) lists->addApp(lists->makeApp(id, id));
  lists->removeApps({0, 2, 9});
  ASSERT_EQ(lists->blockedApps.get().size(), 2u);
  lists->removeApp(BlockedApp(lists->blockedApps.get()[1]));
  EXPECT_EQ(lists.stored(kApps), R"([{"id":")" + uuid(2) +
                                     R"(","name":"b","bundleID":"b","isBlocked":true}])");
  lists->addSite("a.com");
  lists->addSite("b.com");
  lists->setSiteBlocked(lists->blockedSites.get()[1].id, false);
  EXPECT_EQ(lists.stored(kSites), "[" + site(5, "a.com") + "," + site(6, "b.com", false) + "]");
  lists->removeSite(BlockedSite(lists->blockedSites.get()[0]));
  EXPECT_EQ(lists.domains(), Domains{"b.com"});
  lists->addBudgetedSite("a.com", 5);
  lists->removeBudgetedSite(BudgetedSite(lists->budgetedSites.get()[0]));
  EXPECT_EQ(lists.stored(kBudgets), "[]");
}

TEST(BlocklistStore, ABudgetHasAtLeastOneMinuteAndOneEntryForEachSite) {
  Lists lists;
  lists->addBudgetedSite("a.com", 0);
  lists->addBudgetedSite("b.com", -7);
  lists->addBudgetedSite(" https:// ", 5);
  lists->addBudgetedSite("mobile.twitter.com", 20);
  lists->addBudgetedSite("x.com", 30);
  EXPECT_EQ(lists.budgets(), (Budgets{{"a.com", 1}, {"b.com", 1}, {"x.com", 20}}));
  lists->updateBudgetedSite(BudgetedSite(lists->budgetedSites.get()[2]), 45);
  lists->updateBudgetedSite(BudgetedSite{Uuid(), "a.com", 9}, 9);
  EXPECT_EQ(lists.budgets(), (Budgets{{"a.com", 1}, {"b.com", 1}, {"x.com", 45}}));
}

TEST(BlocklistStore, LoadsWhatItWroteAndLeavesAFreshStoreAlone) {
  Lists lists;
  lists->addSite("a.com");
  lists->addBudgetedSite("b.com", 3);
  const auto sites = lists->blockedSites.get();
  lists.load();
  EXPECT_EQ(lists->blockedSites.get(), sites);
  EXPECT_EQ(lists.budgets(), (Budgets{{"b.com", 3}}));

  Lists fresh;
  fresh.load();
  EXPECT_TRUE(fresh.preferences.all().empty());

  Lists apps;  // are saved again at once, in the present form
  apps.with(kApps, "[" + app(1, "a", R"(,"iconData":"AAEC","extra":1)") + "]").load();
  EXPECT_EQ(apps->blockedApps.get()[0].iconData, std::nullopt);
  EXPECT_EQ(apps.stored(kApps), "[" + app(1, "a") + "]");
}

TEST(BlocklistStore, LoadingMigratesBudgetsAndSavesOnlyWhenADomainChanged) {
  Lists lists;
  const std::string old = "[" + budget(1, "twitter.com", 10) + "," + budget(2, "a.com", 0) + "," +
                          budget(3, "x.com", 30) + "," + budget(4, "https://www.", 5) + "," +
                          budget(5, "https://A.com/x", 7) + "]";
  lists.with(kBudgets, old).load();
  EXPECT_EQ(lists.budgets(), (Budgets{{"x.com", 10}, {"a.com", 0}}));
  EXPECT_EQ(lists.stored(kBudgets),
            "[" + budget(1, "x.com", 10) + "," + budget(2, "a.com", 0) + "]");
  EXPECT_EQ(lists.writes(), 1);

  Lists settled;
  settled.with(kBudgets, "[" + budget(1, "x.com", 10) + "]").load();
  EXPECT_EQ(settled.writes(), 0);
}

// What can't be read counts as empty, and its bytes stay until the user changes a list.
TEST(BlocklistStore, LoadingNeverWipesAListThatItCouldNotRead) {
  const std::string good = site(1, "a.com");
  const std::vector<std::string> broken{
      "", "null", "[1]", "[" + good + ",{}]", "[" + good,
      R"([{"domain":"a.com","isBlocked":true}])", R"([{"id":"x","domain":"a","isBlocked":true}])",
      "[{\"id\":\"" + uuid(1) + R"(","domain":"a.com"}])",
      "[{\"id\":\"" + uuid(1) + R"(","domain":"a.com","isBlocked":1}])",
      "[{\"id\":\"" + uuid(1) + R"(","domain":null,"isBlocked":true}])",
      "[{\"id\":\"" + uuid(1) + "\",\"domain\":\"\xff\",\"isBlocked\":true}]",
      std::string(100000, '[')};
  for (const auto& bytes : broken) {
    Lists lists;
    lists.with(kSites, bytes).with(kApps, "[" + app(1, "a") + "]");
    lists.with(kBudgets, "[" + budget(1, "twitter.com", 5) + "]").load();
    EXPECT_EQ(lists.stored(kSites), bytes);
    EXPECT_TRUE(lists->blockedSites.get().empty());
    EXPECT_EQ(lists->blockedApps.get().size(), 1u);  // the other lists are read
    EXPECT_EQ(lists.stored(kBudgets), "[" + budget(1, "x.com", 5) + "]");
    lists->addSite("b.com");
    EXPECT_NE(lists.stored(kSites), bytes);
  }
  Lists text;
  text.preferences.set(kSites, "a.com");
  text.with(kApps, "[]").load();
  EXPECT_EQ(text.preferences.text(kSites), "a.com");
}

}  // namespace
}  // namespace velmora
