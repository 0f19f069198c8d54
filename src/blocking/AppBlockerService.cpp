#include "blocking/AppBlockerService.h"

#include <algorithm>

#include "base/Text.h"

namespace velmora {
namespace {

constexpr Seconds kRetryDelay(1.25);

}  // namespace

AppBlockerService::AppBlockerService(Applications& applications,
                                     const InstalledApplications& installed,
                                     const AppCatalog& catalog, SerialQueue& scanQueue,
                                     RunLoop& loop)
    : applications_(applications),
      installed_(installed),
      catalog_(catalog),
      scanQueue_(scanQueue),
      loop_(loop),
      self_(std::make_shared<AppBlockerService*>(this)) {}

// --- rules ---------------------------------------------------------------------------------------

void AppBlockerService::startBlocking(const std::vector<BlockedApp>& blockedApps) {
  IDs blocked;
  for (const auto& app : blockedApps)
    if (app.isBlocked) blocked.insert(canonical(app.bundleID));
  if (blocked.empty()) {
    stopBlocking();
    mode_ = Mode::blocklist;
    return;
  }
  begin(Mode::blocklist, std::move(blocked), {});
}

void AppBlockerService::startAllowlist(const std::set<std::string>& allowedBundleIDs) {
  IDs allowed = catalog_.protectedBundleIDs();
  for (const auto& id : allowedBundleIDs) allowed.insert(canonical(id));
  begin(Mode::allowlist, {}, std::move(allowed));
}

void AppBlockerService::begin(Mode mode, IDs blocked, IDs allowed) {
  const bool isRepeat = isBlocking.get() && mode == mode_ && blocked == blockedBundleIDs_ &&
                        allowed == allowedBundleIDs_;
  if (!isRepeat) asked_.clear();
  mode_ = mode;
  blockedBundleIDs_ = std::move(blocked);
  allowedBundleIDs_ = std::move(allowed);
  isBlocking.setIfChanged(true);
  // Before what runs is read, so that no launch falls in between.
  if (!observer_)
    observer_ = applications_.onLaunch([this](const auto& application) { launched(application); });
  enforceRunningApps();
}

void AppBlockerService::stopBlocking() {
  observer_.reset();
  asked_.clear();
  blockedBundleIDs_.clear();
  allowedBundleIDs_.clear();
  isBlocking.setIfChanged(false);
}

// --- closing -------------------------------------------------------------------------------------

bool AppBlockerService::shouldTerminate(const RunningApplication& application) const {
  const std::string& id = application.bundleID;
  if (!isBlocking.get() || id.empty() || catalog_.protectedBundleIDs().contains(id)) return false;
  return mode_ == Mode::allowlist ? !allowedBundleIDs_.contains(id)
                                  : blockedBundleIDs_.contains(id);
}

void AppBlockerService::enforceRunningApps() {
  for (const auto& application : applications_.running())
    if (shouldTerminate(application)) terminateBlockedApplication(application);
}

void AppBlockerService::launched(const RunningApplication& application) {
  if (shouldTerminate(application)) terminateBlockedApplication(application);
}

void AppBlockerService::terminateBlockedApplication(const RunningApplication& application) {
  if (!catalog_.browserBundleIDs().contains(application.bundleID))
    return applications_.forceTerminate(application);
  const std::pair process{application.pid, application.instance};
  if (asked_.contains(process)) return;
  askToQuit(application);
  asked_[process] = loop_.after(kRetryDelay, [this, application, process] {
    asked_[process] = {};
    if (applications_.isRunning(application) && shouldTerminate(application))
      askToQuit(application);
  });
}

void AppBlockerService::askToQuit(const RunningApplication& application) {
  applications_.hide(application);
  applications_.terminate(application);
}

// --- what is installed ---------------------------------------------------------------------------

std::vector<InstalledApp> AppBlockerService::getInstalledApps() const {
  return withRunning(installed_.scan());
}

void AppBlockerService::preloadInstalledApps() {
  if (isScanning_) return;
  isScanning_ = true;
  // The queue may still run this when the process's main loop is gone.
  scanQueue_.post([weak = std::weak_ptr(self_), &installed = installed_, &loop = loop_] {
    if (weak.expired()) return;
    auto found = installed.scan();
    if (weak.expired()) return;
    loop.post([weak, found = std::move(found)] {
      const auto self = weak.lock();
      if (!self) return;
      (*self)->isScanning_ = false;
      if ((*self)->installedApps.get() == found) return;
      ++(*self)->installedRevision_;
      (*self)->installedApps.set(found);
    });
  });
}

std::vector<InstalledApp> AppBlockerService::withRunning(std::vector<InstalledApp> apps) const {
  for (const auto& application : applications_.running())
    apps.push_back({application.bundleID, application.bundleID, "", ""});
  IDs seen{std::string(kOwnBundleID)};
  std::erase_if(apps, [&](const InstalledApp& app) {
    return app.bundleID.empty() || !seen.insert(app.bundleID).second;
  });
  std::ranges::stable_sort(apps, {}, [](const auto& app) { return text::lowercased(app.name); });
  return apps;
}

}  // namespace velmora
