#pragma once

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "blocking/AppBlockerService.h"
#include "blocking/WebsiteBlockerService.h"
#include "core/BlockingCoordinator.h"

namespace velmora {

// The blockers as the coordinator, which stands above them, asks for them.
class AppBlockerBinding final : public BlockingCoordinator::AppBlocker {
 public:
  explicit AppBlockerBinding(AppBlockerService& service) : service_(service) {}
  void startBlocking(const std::vector<BlockedApp>& blockedApps) override {
    service_.startBlocking(blockedApps);
  }
  void startAllowlist(const std::set<std::string>& allowedBundleIDs) override {
    service_.startAllowlist(allowedBundleIDs);
  }
  void stopBlocking() override { service_.stopBlocking(); }

 private:
  AppBlockerService& service_;
};

class WebsiteBlockerBinding final : public BlockingCoordinator::WebsiteBlocker {
 public:
  explicit WebsiteBlockerBinding(WebsiteBlockerService& service) : service_(service) {}
  void startBlocking(const std::vector<std::string>& domains,
                     const std::string& sessionType) override {
    service_.startBlocking(domains, sessionType);
  }
  void serveBlockPageOnly() override { service_.serveBlockPageOnly(); }
  void disableBlocking(std::function<void()> completion) override {
    service_.disableBlocking(completion);
  }

 private:
  WebsiteBlockerService& service_;
};

}  // namespace velmora
