#include "blocking/BrowserMonitorService.h"

namespace velmora {
namespace {

DomainSet normalized(const std::vector<std::string>& domains) {
  DomainSet set;
  for (const auto& domain : domains)
    if (auto normal = normalizedDomain(domain)) set.insert(std::move(*normal));
  return set;
}

}  // namespace

void BrowserMonitorService::start(const std::vector<std::string>& domains) {
  engine_.setFocus(SiteBlockEngine::Blocklist{normalized(domains)});
}

void BrowserMonitorService::startAllowlist(const std::vector<std::string>& domains) {
  engine_.setFocus(SiteBlockEngine::Allowlist{normalized(domains)});
}

void BrowserMonitorService::stop() { engine_.setFocus(SiteBlockEngine::Off{}); }

}  // namespace velmora
