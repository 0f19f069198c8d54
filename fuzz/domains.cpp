#include <algorithm>

#include "Require.h"
#include "base/Domain.h"
#include "base/Text.h"
#include "blocking/model/BlockedSite.h"

using namespace velmora;

namespace {

void requireHost(const std::string& host) {
  fuzz::require(!host.empty() && host.find('/') == std::string::npos);
  fuzz::require(std::ranges::none_of(host, [](char c) { return c >= 'A' && c <= 'Z'; }));
  fuzz::require(matches(host, {host}) && matches("sub." + host, {host}));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const auto typed = fuzz::text(data, size);
  fuzz::require(cleanDomain(typed).find_first_of("/?#:") == std::string::npos);
  normalizedBudgetDomain(typed);
  text::lowercased(text::uppercased(typed));

  if (const auto host = webHost(typed, "velmora.invalid")) requireHost(*host);
  if (const auto domain = normalizedDomain(typed)) {
    requireHost(*domain);
    // Only one "www." goes at a time.
    if (domain->starts_with("www.")) return 0;
    fuzz::require(normalizedDomain(*domain) == domain);
    // A listed domain is the host of its own address, unless that is never judged.
    const auto host = webHost("https://" + *domain + "/", "velmora.invalid");
    fuzz::require(host == domain || (!host && (*domain == "127.0.0.1" || *domain == "localhost" ||
                                               matches(*domain, {"velmora.invalid"}))));
  }
  return 0;
}
