#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::text {

// All texts are UTF-8. Bytes that are not UTF-8 pass through unchanged.

// Without white space and line ends at both ends, those of Unicode included.
std::string_view trim(std::string_view text);
// Lower and upper case by the Unicode rules, without a language.
std::string lowercased(std::string_view text);
std::string uppercased(std::string_view text);
// Every occurrence of `what`, found from left to right in the original text, becomes `with`.
std::string replacingAll(std::string_view text, std::string_view what, std::string_view with);
// The pieces between separators, empty ones included: "" gives one empty piece.
std::vector<std::string_view> split(std::string_view text, char separator);
bool isValidUtf8(std::string_view text);
// Decimal digits only, no sign or blank; nothing when empty or beyond 64 bits.
std::optional<int64_t> digits(std::string_view text);

}  // namespace velmora::text
