#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "ports/Preferences.h"

namespace velmora {

// A preference as its row holds it: a kind, and a content of the type that SQLite keeps apart.
//
//   bool, integer      an integer
//   double             a real, bit for bit; what is not a number as the text of its 16 hex digits
//   text, bytes        a text, a blob
//   list, dictionary   JSON
//
// Within JSON, {"$bytes": hex}, {"$double": 16 hex digits} and {"$text": hex} stand for bytes, for
// doubles that JSON has no number for, and for text that is not UTF-8. A dictionary's own keys
// that begin with a dollar sign have it doubled; keys that are not UTF-8 are "$hex:" and their hex.
struct StoredValue {
  using Content = std::variant<int64_t, double, std::string, PreferenceValue::Bytes>;
  std::string_view kind;
  Content content;
};

// Nothing for a dictionary that nests too deep to be read again.
std::optional<StoredValue> toStored(const PreferenceValue& value);
// Nothing when the kind is unknown or the content does not fit it.
std::optional<PreferenceValue> fromStored(std::string_view kind,
                                          const StoredValue::Content& content);

}  // namespace velmora
