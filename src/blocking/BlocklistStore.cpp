#include "blocking/BlocklistStore.h"

#include <algorithm>

namespace velmora {
namespace {

constexpr const char* kAppsKey = "vm_blockedApps";
constexpr const char* kSitesKey = "vm_blockedSites";
constexpr const char* kBudgetsKey = "vm_budgetedSites";

template <class T, class Same>
std::vector<T> without(std::vector<T> items, Same same) {
  std::erase_if(items, same);
  return items;
}

template <class T>
bool setBlocked(std::vector<T>& items, const Uuid& id, bool isBlocked) {
  const auto it = std::ranges::find(items, id, &T::id);
  if (it == items.end() || it->isBlocked == isBlocked) return false;
  it->isBlocked = isBlocked;
  return true;
}

}  // namespace

BlocklistStore::BlocklistStore(Preferences& preferences, Random& random)
    : preferences_(preferences), random_(random) {
  load();
}

const std::vector<QuickSite>& BlocklistStore::quickSites() {
  static const std::vector<QuickSite> kSites{
      {"X", "x.com", "xmark"},
      {"Instagram", "instagram.com", "camera"},
      {"TikTok", "tiktok.com", "music.note"},
      {"Reddit", "reddit.com", "bubble.left.and.bubble.right"},
      {"YouTube", "youtube.com", "play.rectangle"},
      {"Facebook", "facebook.com", "person.2"},
      {"Netflix", "netflix.com", "film"},
      {"Discord", "discord.com", "message"},
      {"Twitch", "twitch.tv", "gamecontroller"},
      {"Hacker News", "news.ycombinator.com", "newspaper"},
  };
  return kSites;
}

// False when something is stored that is no such list; the list and its bytes then stay.
template <class T>
bool BlocklistStore::loadList(const char* key, Value<std::vector<T>>& list) {
  const auto blob = preferences_.blob(key);
  if (!blob) return !preferences_.has(key);
  auto decoded = json::decodeText<std::vector<T>>(*blob);
  if (!decoded) return false;
  list.set(std::move(*decoded));
  return true;
}

void BlocklistStore::load() {
  isLoading_ = true;
  const bool appsRead = loadList(kAppsKey, blockedApps);
  const bool sitesRead = loadList(kSitesKey, blockedSites);
  const bool budgetsRead = loadList(kBudgetsKey, budgetedSites);

  std::vector<BudgetedSite> rebuilt;
  bool domainChanged = false;
  for (const auto& site : budgetedSites.get()) {
    BudgetedSite entry = site;
    entry.domain = normalizedBudgetDomain(site.domain);
    domainChanged = domainChanged || entry.domain != site.domain;
    if (!entry.domain.empty() &&
        std::ranges::find(rebuilt, entry.domain, &BudgetedSite::domain) == rebuilt.end())
      rebuilt.push_back(std::move(entry));
  }
  budgetedSites.set(std::move(rebuilt));
  isLoading_ = false;

  if (!domainChanged && !preferences_.has(kAppsKey)) return;
  // A list that could not be read must not be written over with nothing.
  Preferences::Changes changes;
  if (appsRead) changes.emplace_back(kAppsKey, blobValue(json::encodeText(blockedApps.get())));
  if (sitesRead) changes.emplace_back(kSitesKey, blobValue(json::encodeText(blockedSites.get())));
  if (budgetsRead)
    changes.emplace_back(kBudgetsKey, blobValue(json::encodeText(budgetedSites.get())));
  preferences_.write(changes);
}

void BlocklistStore::save() {
  preferences_.write({{kAppsKey, blobValue(json::encodeText(blockedApps.get()))},
                      {kSitesKey, blobValue(json::encodeText(blockedSites.get()))},
                      {kBudgetsKey, blobValue(json::encodeText(budgetedSites.get()))}});
}

void BlocklistStore::addSite(std::string_view domain) {
  BlockedSite site{random_.uuid(), std::string(domain), true};
  const std::string clean = site.cleanDomain();
  auto sites = blockedSites.get();
  for (const auto& existing : sites)
    if (existing.cleanDomain() == clean) return;
  sites.push_back(std::move(site));
  blockedSites.set(std::move(sites), [this] { save(); });
}

void BlocklistStore::removeSite(const BlockedSite& site) {
  blockedSites.set(without(blockedSites.get(), [&](const auto& s) { return s.id == site.id; }),
                   [this] { save(); });
}

void BlocklistStore::setSiteBlocked(const Uuid& id, bool isBlocked) {
  auto sites = blockedSites.get();
  if (setBlocked(sites, id, isBlocked)) blockedSites.set(std::move(sites), [this] { save(); });
}

BlockedApp BlocklistStore::makeApp(std::string name, std::string bundleID) {
  return {random_.uuid(), std::move(name), std::move(bundleID), true, std::nullopt};
}

void BlocklistStore::addApp(BlockedApp app) {
  auto apps = blockedApps.get();
  if (std::ranges::find(apps, app.bundleID, &BlockedApp::bundleID) != apps.end()) return;
  apps.push_back(std::move(app));
  blockedApps.set(std::move(apps), [this] { save(); });
}

void BlocklistStore::removeApp(const BlockedApp& app) {
  blockedApps.set(without(blockedApps.get(), [&](const auto& a) { return a.id == app.id; }),
                  [this] { save(); });
}

void BlocklistStore::removeApps(const std::set<size_t>& indexes) {
  std::vector<BlockedApp> left;
  for (size_t i = 0; i < blockedApps.get().size(); ++i)
    if (!indexes.contains(i)) left.push_back(blockedApps.get()[i]);
  blockedApps.set(std::move(left), [this] { save(); });
}

void BlocklistStore::setAppBlocked(const Uuid& id, bool isBlocked) {
  auto apps = blockedApps.get();
  if (setBlocked(apps, id, isBlocked)) blockedApps.set(std::move(apps), [this] { save(); });
}

void BlocklistStore::addBudgetedSite(std::string_view domain, int minutesPerHour) {
  BudgetedSite site{random_.uuid(), normalizedBudgetDomain(domain), std::max(1, minutesPerHour)};
  const std::string clean = site.cleanDomain();
  auto sites = budgetedSites.get();
  if (clean.empty()) return;
  for (const auto& existing : sites)
    if (existing.cleanDomain() == clean) return;
  sites.push_back(std::move(site));
  budgetedSites.set(std::move(sites), [this] { save(); });
}

void BlocklistStore::updateBudgetedSite(const BudgetedSite& site, int minutesPerHour) {
  auto sites = budgetedSites.get();
  const auto it = std::ranges::find(sites, site.id, &BudgetedSite::id);
  if (it == sites.end()) return;
  it->minutesPerHour = minutesPerHour;
  budgetedSites.set(std::move(sites), [this] { save(); });
}

void BlocklistStore::removeBudgetedSite(const BudgetedSite& site) {
  budgetedSites.set(without(budgetedSites.get(), [&](const auto& s) { return s.id == site.id; }),
                    [this] { save(); });
}

}  // namespace velmora
