#include "blocking/WebsiteBlockerService.h"

#include <algorithm>

#include "blocking/model/BlockedSite.h"

namespace velmora {

WebsiteBlockerService::WebsiteBlockerService(BlockPageServer& server, Files& files,
                                             const Neighbours& neighbours)
    : server_(server), files_(files), neighbours_(neighbours) {}

void WebsiteBlockerService::startBlocking(const std::vector<std::string>& domains,
                                          const std::string& sessionType) {
  NativeBlockerStatus next = status.get();
  next.blockedDomains.clear();
  next.sessionType = sessionType;
  for (const auto& domain : domains)
    if (auto clean = cleanDomain(domain); !clean.empty())
      next.blockedDomains.push_back(std::move(clean));
  std::ranges::sort(next.blockedDomains);
  status.setIfChanged(std::move(next));
  server_.start();
}

void WebsiteBlockerService::serveBlockPageOnly() { server_.start(); }

void WebsiteBlockerService::disableBlocking(const std::function<void()>& completion) {
  NativeBlockerStatus next = status.get();
  next.blockedDomains.clear();
  next.sessionType = NativeBlockerStatus{}.sessionType;
  status.setIfChanged(std::move(next));
  if (isHelperInstalled()) files_.writeTextAtomically(std::string(triggerFile), "idle");
  if (completion) completion();
}

void WebsiteBlockerService::refreshStatus() {
  if (neighbours_.native) neighbours_.native->refreshStatus();
  status.set(status.get());
}

void WebsiteBlockerService::installHelper(
    const std::function<void(std::optional<std::string> error)>& completion) {
  completion(std::nullopt);
}

void WebsiteBlockerService::uninstallHelper(const std::function<void()>& completion) {
  completion();
}

bool WebsiteBlockerService::isHelperInstalled() const {
  return files_.exists(std::string(helperPlist));
}

bool WebsiteBlockerService::isHelperCurrent() const {
  const auto text = files_.readText(std::string(helperPy));
  return text && text->find("VM_HELPER_VERSION=3") != std::string::npos;
}

}  // namespace velmora
