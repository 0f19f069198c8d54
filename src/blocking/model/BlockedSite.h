#pragma once

#include <string>
#include <string_view>

#include "base/Json.h"

namespace velmora {

// The form in which typed sites are compared and shown: lower case, without scheme, "www." (at
// every place in the text), path, query, fragment and port.
std::string cleanDomain(std::string_view domain);

struct BlockedSite {
  Uuid id;
  std::string domain;  // as the user typed it
  bool isBlocked = true;

  std::string cleanDomain() const { return velmora::cleanDomain(domain); }
  bool operator==(const BlockedSite&) const = default;
};

struct BudgetedSite {
  Uuid id;
  std::string domain;
  int minutesPerHour = 1;

  std::string cleanDomain() const { return velmora::cleanDomain(domain); }
  bool operator==(const BudgetedSite&) const = default;
};

// cleanDomain, with the earlier names of a renamed service folded into its present one, so that a
// site has one budget under every spelling.
std::string normalizedBudgetDomain(std::string_view domain);

template <>
struct json::Fields<BlockedSite> {
  static constexpr std::tuple all{json::required("id", &BlockedSite::id),
                                  json::required("domain", &BlockedSite::domain),
                                  json::required("isBlocked", &BlockedSite::isBlocked)};
};
template <>
struct json::Fields<BudgetedSite> {
  static constexpr std::tuple all{json::required("id", &BudgetedSite::id),
                                  json::required("domain", &BudgetedSite::domain),
                                  json::required("minutesPerHour", &BudgetedSite::minutesPerHour)};
};

}  // namespace velmora
