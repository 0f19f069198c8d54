#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "base/Property.h"
#include "blocking/model/BlockedApp.h"
#include "blocking/model/BlockedSite.h"
#include "ports/Preferences.h"
#include "ports/Random.h"

namespace velmora {

struct QuickSite {
  std::string_view name;
  std::string_view domain;
  std::string_view symbol;
};

// The user's own lists: the apps and sites that a session blocks, and the sites with an hourly
// budget. Main lane only. Saves on every change; adding what is already there does nothing.
class BlocklistStore {
 public:
  // Loads all three lists; loading is also the migration of old spellings.
  BlocklistStore(Preferences& preferences, Random& random);

  template <class T>
  using Value = Owned<T, BlocklistStore>;
  Value<std::vector<BlockedApp>> blockedApps;
  Value<std::vector<BlockedSite>> blockedSites;
  Value<std::vector<BudgetedSite>> budgetedSites;
  bool isLoading() const { return isLoading_; }

  static const std::vector<QuickSite>& quickSites();

  void addSite(std::string_view domain);
  void removeSite(const BlockedSite& site);
  // Switches an entry on or off; an unknown id does nothing.
  void setSiteBlocked(const Uuid& id, bool isBlocked);
  void addApp(BlockedApp app);
  void removeApp(const BlockedApp& app);
  // At these places of the list; places beyond its end do nothing.
  void removeApps(const std::set<size_t>& indexes);
  void setAppBlocked(const Uuid& id, bool isBlocked);
  // A new entry for the lists, blocked and with a fresh identity.
  BlockedApp makeApp(std::string name, std::string bundleID);
  void addBudgetedSite(std::string_view domain, int minutesPerHour);
  void updateBudgetedSite(const BudgetedSite& site, int minutesPerHour);
  void removeBudgetedSite(const BudgetedSite& site);
  void save();

 private:
  void load();
  template <class T>
  bool loadList(const char* key, Value<std::vector<T>>& list);

  Preferences& preferences_;
  Random& random_;
  bool isLoading_ = false;
};

}  // namespace velmora
