#include "base/Domain.h"

#include <idn2.h>

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

// A name that international rules refuse keeps its lower case form: in an allow list session it
// must still be judged, and it is on no list.
std::string asciiHost(std::string_view host) {
  const std::string lower = text::lowercased(percentDecoded(host));
  bool ascii = true;
  for (const char c : lower) ascii = ascii && static_cast<unsigned char>(c) < 0x80;
  if (ascii || lower.find('\0') != std::string::npos) return lower;
  char* result = nullptr;
  if (idn2_to_ascii_8z(lower.c_str(), &result, IDN2_NFC_INPUT | IDN2_NONTRANSITIONAL) != IDN2_OK)
    return lower;
  std::string out = result;
  idn2_free(result);
  return out;
}

std::string_view trimDots(std::string_view text) {
  while (text.starts_with('.')) text.remove_prefix(1);
  while (text.ends_with('.')) text.remove_suffix(1);
  return text;
}

std::optional<std::string> judgedForm(std::string_view host) {
  if (host.empty()) return {};
  const std::string ascii = asciiHost(host);
  std::string_view form = ascii;
  if (form.starts_with("www.")) form.remove_prefix(4);
  form = trimDots(form);
  if (form.empty()) return {};
  return std::string(form);
}

}  // namespace

std::optional<std::string> normalizedDomain(std::string_view raw) {
  std::string domain = text::lowercased(text::trim(raw));
  if (domain.empty()) return {};
  if (domain.find("://") == std::string::npos) domain = "https://" + domain;
  const auto authority = authorityOf(domain);
  if (!authority || authority->host.find_first_of(" \t\r\n") != std::string_view::npos) return {};
  return judgedForm(authority->host);
}

std::optional<std::string> webHost(std::string_view address, std::string_view homeDomain) {
  const auto authority = authorityOf(address);
  if (!authority || (authority->scheme != "http" && authority->scheme != "https")) return {};
  auto host = judgedForm(authority->host);
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
