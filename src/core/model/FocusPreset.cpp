#include "core/model/FocusPreset.h"

#include <algorithm>

namespace velmora {

std::vector<std::string> FocusPreset::allowedBundleIDs() const {
  std::vector<std::string> ids;
  for (const auto& app : allowedApps) ids.push_back(app.bundleID);
  return ids;
}

std::vector<std::string> FocusPreset::allowedDomains() const {
  std::vector<std::string> domains;
  for (const auto& site : allowedSites) {
    std::string domain = site.cleanDomain();
    if (!domain.empty() && std::ranges::find(domains, domain) == domains.end())
      domains.push_back(std::move(domain));
  }
  return domains;
}

}  // namespace velmora
