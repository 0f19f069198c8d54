#include <algorithm>

#include "Require.h"
#include "base/Domain.h"
#include "base/Text.h"
#include "blocking/model/BlockedSite.h"

void velmora::fuzz::examine(std::string_view typed) {
  const auto requireHost = [](const std::string& host) {
    require(!host.empty() && host.find('/') == std::string::npos);
    require(std::ranges::none_of(host, [](char c) { return c >= 'A' && c <= 'Z'; }));
    require(matches(host, {host}) && matches("sub." + host, {host}));
  };
  require(cleanDomain(typed).find_first_of("/?#:") == std::string::npos);
  normalizedBudgetDomain(typed);
  text::lowercased(text::uppercased(typed));

  if (const auto host = webHost(typed, "velmora.invalid")) requireHost(*host);
  const auto domain = normalizedDomain(typed);
  if (!domain) return;
  requireHost(*domain);
  // Only one "www." goes at a time.
  if (domain->starts_with("www.")) return;
  require(normalizedDomain(*domain) == domain);
  // A listed domain is the host of its own address, unless that is never judged.
  const auto host = webHost("https://" + *domain + "/", "velmora.invalid");
  require(host == domain || (!host && (*domain == "127.0.0.1" || *domain == "localhost" ||
                                       matches(*domain, {"velmora.invalid"}))));
}
