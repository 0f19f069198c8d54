#include "blocking/model/BlockedSite.h"

#include "base/Text.h"

namespace velmora {

std::string cleanDomain(std::string_view domain) {
  std::string clean = text::lowercased(text::trim(domain));
  for (const auto* prefix : {"https://", "http://", "www."})
    clean = text::replacingAll(clean, prefix, "");
  for (const char end : {'/', '?', '#', ':'}) clean = clean.substr(0, clean.find(end));
  return clean;
}

std::string normalizedBudgetDomain(std::string_view domain) {
  std::string clean = cleanDomain(domain);
  if (clean == "twitter.com" || clean == "mobile.twitter.com") return "x.com";
  return clean;
}

}  // namespace velmora
