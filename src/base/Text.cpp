#include "base/Text.h"

#include <unicase.h>
#include <unictype.h>
#include <unistr.h>

#include <charconv>
#include <cstdlib>
#include <new>

namespace velmora::text {
namespace {

const uint8_t* bytes(std::string_view text) {
  return reinterpret_cast<const uint8_t*>(text.data());
}

// U+0085 and the separators count as white space too; U+200B is no space but is trimmed by the
// records' other readers, so that a pasted invisible character does not make a second site.
bool isSpace(ucs4_t c) {
  return uc_is_property_white_space(c) || c == 0x200B;
}

using CaseMapping = uint8_t* (*)(const uint8_t*, size_t, const char*, uninorm_t, uint8_t*, size_t*);

std::string mapped(std::string_view text, CaseMapping mapping) {
  if (text.empty() || !isValidUtf8(text)) return std::string(text);
  size_t length = 0;
  uint8_t* result = mapping(bytes(text), text.size(), "", nullptr, nullptr, &length);
  if (!result) throw std::bad_alloc();
  std::string out(reinterpret_cast<char*>(result), length);
  std::free(result);
  return out;
}

}  // namespace

std::string_view trim(std::string_view text) {
  while (!text.empty()) {
    ucs4_t c;
    const int n = u8_mbtouc(&c, bytes(text), text.size());
    if (!isSpace(c)) break;
    text.remove_prefix(static_cast<size_t>(n));
  }
  while (!text.empty()) {
    const uint8_t* end = bytes(text) + text.size();
    ucs4_t c;
    const uint8_t* start = u8_prev(&c, end, bytes(text));
    if (!start || !isSpace(c)) break;
    text.remove_suffix(static_cast<size_t>(end - start));
  }
  return text;
}

std::string lowercased(std::string_view text) {
  return mapped(text, u8_tolower);
}
std::string uppercased(std::string_view text) {
  return mapped(text, u8_toupper);
}

std::string replacingAll(std::string_view text, std::string_view what, std::string_view with) {
  std::string out;
  for (size_t at = 0;;) {
    const size_t hit = what.empty() ? std::string_view::npos : text.find(what, at);
    out.append(text.substr(at, hit - at));
    if (hit == std::string_view::npos) return out;
    out.append(with);
    at = hit + what.size();
  }
}

std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> pieces;
  for (size_t at = 0;;) {
    const size_t hit = text.find(separator, at);
    pieces.push_back(text.substr(at, hit - at));
    if (hit == std::string_view::npos) return pieces;
    at = hit + 1;
  }
}

bool isValidUtf8(std::string_view text) {
  return text.empty() || u8_check(bytes(text), text.size()) == nullptr;
}

std::optional<int64_t> digits(std::string_view text) {
  if (text.empty() || text.find_first_not_of("0123456789") != std::string_view::npos) return {};
  int64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return {};
  return value;
}

}  // namespace velmora::text
