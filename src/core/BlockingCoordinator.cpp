#include "core/BlockingCoordinator.h"

#include "base/Text.h"
#include "sync/model/FocusService.h"

namespace velmora {

BlockingCoordinator::BlockingCoordinator(TimerService& timer, FocusPresetStore& presets,
                                         BlocklistStore& lists, BrowserMonitorService& monitor,
                                         const AppCatalog& catalog, Clock& clock,
                                         const Neighbours& neighbours)
    : timer_(timer),
      presets_(presets),
      lists_(lists),
      monitor_(monitor),
      catalog_(catalog),
      clock_(clock),
      neighbours_(neighbours) {}

bool BlockingCoordinator::shouldBlock() const {
  if (!timer_.isSessionActive.get()) return false;
  if (timer_.currentSessionType.get() == SessionType::focus) return true;
  return timer_.isStopwatchMode.get() && timer_.isChronoActive();
}

// A mission that runs here decides for itself, whatever another device does.
bool BlockingCoordinator::followsRemote() const {
  return !timer_.isScheduledSessionActive.get() && neighbours_.shared->followsRemoteSession();
}

void BlockingCoordinator::sync() {
  const bool block = shouldBlock();
  const bool brakMode = timer_.effectiveBrakModeEnabled();
  const bool follows = followsRemote();
  const auto& context = presets_.activeContext.get();
  if (brakMode && !follows && timer_.currentSessionType.get() == SessionType::focus && context) {
    if (block)
      enforceAllowlist(*context);
    else
      stopAll();
    return;
  }
  // Brak mode without a context blocks nothing: the gate comes first. A follower has no context of
  // its own and goes by list.
  enforceLists(block && (!brakMode || follows));
}

void BlockingCoordinator::enforceAllowlist(const FocusTaskContext& context) {
  std::set<std::string> allowed(context.allowedBundleIDs.begin(), context.allowedBundleIDs.end());
  // A browser must stay open for allowed sites to be reachable; without any, browsers go too.
  if (!context.allowedDomains.empty())
    allowed.insert(catalog_.browserBundleIDs().begin(), catalog_.browserBundleIDs().end());
  if (neighbours_.apps) neighbours_.apps->startAllowlist(allowed);
  if (neighbours_.websites) neighbours_.websites->serveBlockPageOnly();
  monitor_.startAllowlist(context.allowedDomains);
}

void BlockingCoordinator::enforceLists(bool enforce) {
  if (!enforce) return stopAll();
  const bool scheduled = timer_.isScheduledSessionActive.get();
  std::vector<BlockedApp> localApps =
      scheduled ? timer_.scheduledBlockedApps.get() : lists_.blockedApps.get();
  if (scheduled)
    for (auto& app : localApps) app.isBlocked = true;

  const FocusStanding standing =
      neighbours_.shared->standing(clock_.now(), Calendar(clock_.zone()));
  std::optional<Uuid> listID;
  if (standing.session && !scheduled) listID = standing.blocklistID;
  const SharedBlocklist list = neighbours_.shared->rules().blocklist(listID);

  std::vector<BlockedApp> apps;
  std::vector<std::string> domains;
  for (const auto& service : FocusService::named(list.services)) {
    for (const auto& id : service.macApps)
      apps.push_back({{}, service.name, catalog_.canonicalID(id), true, std::nullopt});
    domains.insert(domains.end(), service.domains.begin(), service.domains.end());
  }
  if (list.isMain()) {
    apps.insert(apps.end(), localApps.begin(), localApps.end());
    const auto& sites = scheduled ? timer_.scheduledBlockedSites.get() : lists_.blockedSites.get();
    for (const auto& site : sites)
      if (scheduled || site.isBlocked) domains.push_back(site.domain);
  } else {
    for (const auto& app : list.macApps)
      apps.push_back({{}, app.name, catalog_.canonicalID(app.bundleID), true, std::nullopt});
    domains.insert(domains.end(), list.sites.begin(), list.sites.end());
  }

  if (neighbours_.apps) neighbours_.apps->startBlocking(apps);
  if (neighbours_.websites)
    neighbours_.websites->startBlocking(
        domains, text::lowercased(label(timer_.currentSessionType.get())));
  monitor_.start(domains);
}

void BlockingCoordinator::stopAll(std::function<void()> completion) {
  if (neighbours_.apps) neighbours_.apps->stopBlocking();
  if (neighbours_.websites) neighbours_.websites->disableBlocking(completion);
  monitor_.stop();
  if (!neighbours_.websites && completion) completion();
}

}  // namespace velmora
