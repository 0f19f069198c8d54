#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/Property.h"
#include "blocking/model/BlockedApp.h"
#include "ports/AppCatalog.h"
#include "ports/Applications.h"
#include "ports/InstalledApplications.h"
#include "ports/RunLoop.h"

namespace velmora {

// Closes applications during a session: the listed ones, or all but the listed ones. Acts when the
// rules come and at every launch; nothing is polled. A browser may hold work, so it is asked to
// quit, twice at the most for one set of rules; any other application is ended at once. Also knows
// what is installed, for the pickers. Main lane only.
class AppBlockerService {
 public:
  enum class Mode { blocklist, allowlist };

  // `scanQueue` reads the disk for the pickers.
  AppBlockerService(Applications& applications, const InstalledApplications& installed,
                    const AppCatalog& catalog, SerialQueue& scanQueue, RunLoop& loop);

  // Each tells the whole wanted state. When that is the present one already, what runs is looked
  // at once more, and that is all.
  //
  // Entries with isBlocked are closed; without any, nothing is blocked.
  void startBlocking(const std::vector<BlockedApp>& blockedApps);
  // Everything else is closed, apart from what the catalog protects.
  void startAllowlist(const std::set<std::string>& allowedBundleIDs);
  void stopBlocking();

  Owned<bool, AppBlockerService> isBlocking{false};
  Mode mode() const { return mode_; }
  // Whether the rules of now forbid this application.
  bool shouldTerminate(const RunningApplication& application) const;
  void enforceRunningApps();
  void terminateBlockedApplication(const RunningApplication& application);

  // What is installed and, after it, what else runs, each identity once, sorted by name. Reads the
  // disk, which may take a second.
  std::vector<InstalledApp> getInstalledApps() const;
  // Reads the disk in the background, for installedApps.
  void preloadInstalledApps();
  // What was installed when the disk was read last. Tells when a reading found something else.
  Owned<std::vector<InstalledApp>, AppBlockerService> installedApps;
  // That and, after it, what else runs now, sorted by name. Quick.
  std::vector<InstalledApp> pickableApps() const { return withRunning(installedApps.get()); }
  // Raised by each such news.
  uint64_t installedRevision() const { return installedRevision_; }

 private:
  using IDs = std::set<std::string>;

  void begin(Mode mode, IDs blocked, IDs allowed);
  void launched(const RunningApplication& application);
  void askToQuit(const RunningApplication& application);
  std::string canonical(const std::string& id) const { return catalog_.canonicalID(id); }
  std::vector<InstalledApp> withRunning(std::vector<InstalledApp> apps) const;

  Applications& applications_;
  const InstalledApplications& installed_;
  const AppCatalog& catalog_;
  SerialQueue& scanQueue_;
  RunLoop& loop_;

  Mode mode_ = Mode::blocklist;
  IDs blockedBundleIDs_;
  IDs allowedBundleIDs_;
  bool isScanning_ = false;
  uint64_t installedRevision_ = 0;
  std::shared_ptr<AppBlockerService*> self_;  // what a scan under way holds weakly
  // The browser processes that were asked under these rules, by number and instance, with the
  // second request while it is still to come.
  std::map<std::pair<int32_t, uint64_t>, Subscription> asked_;
  Subscription observer_;
};

}  // namespace velmora
