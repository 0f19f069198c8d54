#include "base/Domain.h"

#include <idn2.h>

#include <algorithm>
#include <cctype>

#include "base/Text.h"

namespace velmora {
namespace {

struct Authority {
  std::string scheme;  // lower case
  std::string_view host;  // as written, without user info and port
};

bool isSchemeText(std::string_view text) {
  if (text.empty() || !std::isalpha(static_cast<unsigned char>(text.front()))) return false;
  for (const char c : text) {
    const auto u = static_cast<unsigned char>(c);
    if (!std::isalnum(u) && c != '+' && c != '-' && c != '.') return false;
  }
  return true;
}

// Browsers read "\" as "/" in web addresses, so it ends the authority as well (WHATWG URL).
std::optional<Authority> authorityOf(std::string_view address) {
  const size_t mark = address.find("://");
  if (mark == std::string_view::npos || !isSchemeText(address.substr(0, mark))) return {};
  std::string_view rest = address.substr(mark + 3);
  rest = rest.substr(0, rest.find_first_of("/\\?#"));
  if (const size_t at = rest.rfind('@'); at != std::string_view::npos) rest.remove_prefix(at + 1);
  if (rest.starts_with('[')) {
    const size_t end = rest.find(']');
    if (end == std::string_view::npos) return {};
    rest = rest.substr(0, end + 1);
  } else {
    rest = rest.substr(0, rest.find(':'));
  }
  return Authority{text::lowercased(address.substr(0, mark)), rest};
}

std::string percentDecoded(std::string_view text) {
  const auto hex = [](char c) -> int {
    if (c >= '0' && c <= '9') return c - '0';
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
  };
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size() && hex(text[i + 1]) >= 0 && hex(text[i + 2]) >= 0) {
      out += static_cast<char>(hex(text[i + 1]) * 16 + hex(text[i + 2]));
      i += 2;
    } else {
      out += text[i];
    }
  }
  return out;
}

std::string asciiLowered(std::string_view text) {
  std::string out(text);
  for (char& c : out)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c | 0x20);
  return out;
}

bool isAscii(std::string_view text) {
  return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// What no name may hold (WHATWG URL); a decoder that let these through could forge a separator.
bool hasForbidden(std::string_view name) {
  static constexpr std::string_view kForbidden = "#%/:<>?@[\\]^|";
  return std::ranges::any_of(name, [](char c) {
    const auto u = static_cast<unsigned char>(c);
    return u <= ' ' || u == 0x7f || kForbidden.find(c) != std::string_view::npos;
  });
}

std::optional<std::string> international(const std::string& name) {
  char* result = nullptr;
  if (idn2_to_ascii_8z(name.c_str(), &result, IDN2_NFC_INPUT | IDN2_NONTRANSITIONAL) != IDN2_OK)
    return {};
  std::string out = result;
  idn2_free(result);
  return out;
}

// Nothing for a host that no name server could know.
std::optional<std::string> asciiHost(std::string_view host) {
  if (host.starts_with('[')) return asciiLowered(host);
  const std::string decoded = percentDecoded(host);
  if (hasForbidden(decoded) || !text::isValidUtf8(decoded)) return {};
  if (isAscii(decoded)) return asciiLowered(decoded);
  auto ascii = international(text::lowercased(decoded));
  if (!ascii || hasForbidden(*ascii)) return {};
  return ascii;
}

std::string_view trimDots(std::string_view text) {
  while (text.starts_with('.')) text.remove_prefix(1);
  while (text.ends_with('.')) text.remove_suffix(1);
  return text;
}

std::optional<std::string> judgedForm(std::string_view host) {
  if (host.starts_with("www.")) host.remove_prefix(4);
  host = trimDots(host);
  if (host.empty()) return {};
  return std::string(host);
}

}  // namespace

std::optional<std::string> normalizedDomain(std::string_view raw) {
  std::string domain = text::lowercased(text::trim(raw));
  if (domain.empty()) return {};
  if (domain.find("://") == std::string::npos) domain = "https://" + domain;
  const auto authority = authorityOf(domain);
  if (!authority) return {};
  const auto host = asciiHost(authority->host);
  if (!host) return {};
  return judgedForm(*host);
}

std::optional<std::string> webHost(std::string_view address, std::string_view homeDomain) {
  const auto authority = authorityOf(address);
  if (!authority || (authority->scheme != "http" && authority->scheme != "https")) return {};
  // An impossible name is on no list, but an allow list session must still judge it.
  auto host = judgedForm(asciiHost(authority->host).value_or(asciiLowered(authority->host)));
  if (!host || *host == "127.0.0.1" || *host == "localhost") return {};
  if (matches(*host, DomainSet{std::string(homeDomain)})) return {};
  return host;
}

bool matches(std::string_view host, const DomainSet& set) {
  if (set.empty()) return false;
  while (true) {
    if (set.contains(host)) return true;
    const size_t dot = host.find('.');
    if (dot == std::string_view::npos) return false;
    host.remove_prefix(dot + 1);
  }
}

}  // namespace velmora
