#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace velmora {

using DomainSet = std::set<std::string, std::less<>>;

// The form in which rules hold a domain: lower case, ASCII (international names in punycode), one
// leading "www." and the dots at both ends removed. Takes a bare domain or an address; nothing
// when no host can be found, or one that can't exist.
std::optional<std::string> normalizedDomain(std::string_view text);

// The host by which the tab at `address` is judged: normalised as above, and nothing for other
// schemes than http and https, for this machine itself, and for `homeDomain` and its subdomains.
// Scheme and authority alone decide: no byte of a path or query can hide a host, and user info and
// port are dropped.
std::optional<std::string> webHost(std::string_view address, std::string_view homeDomain);

// Whether the host, or any dot separated tail of it, is in the set. The comparison is exact, so
// both sides must be normalised.
bool matches(std::string_view host, const DomainSet& set);

}  // namespace velmora
