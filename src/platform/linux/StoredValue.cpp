#include "platform/linux/StoredValue.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <utility>

#include "base/Json.h"
#include "base/Text.h"

namespace velmora {
namespace {

using Bytes = PreferenceValue::Bytes;
using TextList = PreferenceValue::TextList;
using Dictionary = PreferenceValue::Dictionary;

constexpr std::string_view kBytes = "$bytes";
constexpr std::string_view kDouble = "$double";
constexpr std::string_view kText = "$text";
constexpr std::string_view kHexKey = "$hex:";

std::string hex(std::string_view bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string out;
  out.reserve(bytes.size() * 2);
  for (const char c : bytes) {
    out += kDigits[static_cast<uint8_t>(c) >> 4];
    out += kDigits[static_cast<uint8_t>(c) & 15];
  }
  return out;
}

std::optional<std::string> unhex(std::string_view digits) {
  if (digits.size() % 2 != 0) return std::nullopt;
  std::string out;
  for (size_t i = 0; i < digits.size(); i += 2) {
    const char* end = digits.data() + i + 2;
    uint8_t byte = 0;
    const auto [last, error] = std::from_chars(digits.data() + i, end, byte, 16);
    if (error != std::errc() || last != end) return std::nullopt;
    out += static_cast<char>(byte);
  }
  return out;
}

std::string bitsOf(double v) {
  const uint64_t bits = std::bit_cast<uint64_t>(v);
  std::string bytes;
  for (int shift = 56; shift >= 0; shift -= 8) bytes += static_cast<char>(bits >> shift);
  return hex(bytes);
}

std::optional<double> fromBits(std::string_view digits) {
  const auto bytes = unhex(digits);
  if (!bytes || bytes->size() != sizeof(double)) return std::nullopt;
  uint64_t bits = 0;
  for (const char c : *bytes) bits = bits << 8 | static_cast<uint8_t>(c);
  return std::bit_cast<double>(bits);
}

json::Value tagged(std::string_view tag, std::string content) {
  return json::Value::Object{{std::string(tag), std::move(content)}};
}

json::Value textToJson(const std::string& v) {
  return text::isValidUtf8(v) ? json::Value(v) : tagged(kText, hex(v));
}

std::string keyToJson(const std::string& key) {
  if (!text::isValidUtf8(key)) return std::string(kHexKey) + hex(key);
  return key.starts_with('$') ? "$" + key : key;
}

struct ToJson {
  json::Value operator()(bool v) const { return v; }
  json::Value operator()(int64_t v) const { return v; }
  json::Value operator()(double v) const {
    return std::isfinite(v) ? json::Value(v) : tagged(kDouble, bitsOf(v));
  }
  json::Value operator()(const std::string& v) const { return textToJson(v); }
  json::Value operator()(const Bytes& v) const {
    return tagged(kBytes, hex({reinterpret_cast<const char*>(v.data()), v.size()}));
  }
  json::Value operator()(const TextList& v) const {
    json::Value::Array out;
    for (const auto& item : v) out.push_back(textToJson(item));
    return out;
  }
  json::Value operator()(const Dictionary& v) const {
    json::Value::Object out;
    for (const auto& [key, member] : v)
      out.emplace_back(keyToJson(key), std::visit(*this, member.data));
    return out;
  }
};

std::optional<std::string> textFromJson(const json::Value& v) {
  if (const auto* plain = v.asString()) return *plain;
  const auto* members = v.asObject();
  if (!members || members->size() != 1 || members->front().first != kText) return std::nullopt;
  const auto* digits = members->front().second.asString();
  return digits ? unhex(*digits) : std::nullopt;
}

std::optional<TextList> listFromJson(const json::Value::Array& items) {
  TextList out;
  for (const auto& item : items) {
    auto text = textFromJson(item);
    if (!text) return std::nullopt;
    out.push_back(std::move(*text));
  }
  return out;
}

std::optional<std::string> keyFromJson(const std::string& key) {
  if (key.starts_with(kHexKey)) return unhex(std::string_view(key).substr(kHexKey.size()));
  if (key.starts_with("$$")) return key.substr(1);
  return key.starts_with('$') ? std::nullopt : std::optional(key);
}

std::optional<PreferenceValue> untagged(std::string_view tag, const json::Value& content) {
  const auto* digits = content.asString();
  if (!digits) return std::nullopt;
  if (tag == kDouble) return fromBits(*digits);
  const auto bytes = unhex(*digits);
  if (!bytes) return std::nullopt;
  if (tag == kText) return PreferenceValue(*bytes);
  return PreferenceValue(Bytes(bytes->begin(), bytes->end()));
}

std::optional<PreferenceValue> fromJson(const json::Value& v);

std::optional<Dictionary> dictionaryFromJson(const json::Value::Object& members) {
  Dictionary out;
  for (const auto& [key, member] : members) {
    auto name = keyFromJson(key);
    auto value = fromJson(member);
    if (!name || !value) return std::nullopt;
    out.insert_or_assign(std::move(*name), std::move(*value));
  }
  return out;
}

bool isTag(const std::string& key) {
  return key == kBytes || key == kDouble || key == kText;
}

template <class T>
std::optional<PreferenceValue> asPreference(std::optional<T> value) {
  if (!value) return std::nullopt;
  return std::optional<PreferenceValue>(std::in_place, std::move(*value));
}

std::optional<PreferenceValue> fromJson(const json::Value& v) {
  if (const auto* flag = v.asBool()) return PreferenceValue(*flag);
  if (const auto* text = v.asString()) return PreferenceValue(*text);
  if (const auto* items = v.asArray()) return asPreference(listFromJson(*items));
  if (const auto* members = v.asObject()) {
    if (members->size() == 1 && isTag(members->front().first))
      return untagged(members->front().first, members->front().second);
    return asPreference(dictionaryFromJson(*members));
  }
  if (const auto i = v.asInteger(); i && v == json::Value(*i)) return PreferenceValue(*i);
  return asPreference(v.asNumber());
}

template <class T>
std::optional<StoredValue> row(std::string_view kind, T content) {
  std::optional<StoredValue> out(std::in_place);
  out->kind = kind;
  out->content.emplace<T>(std::move(content));
  return out;
}

std::optional<StoredValue> asJson(std::string_view kind, const json::Value& value) {
  std::string text = json::dump(value);
  if (!json::parse(text)) return std::nullopt;
  return row(kind, std::move(text));
}

struct ToStored {
  using Result = std::optional<StoredValue>;
  Result operator()(bool v) const { return row("bool", int64_t{v}); }
  Result operator()(int64_t v) const { return row("integer", v); }
  Result operator()(double v) const {
    return std::isnan(v) ? row("double", bitsOf(v)) : row("double", v);
  }
  Result operator()(const std::string& v) const { return row("text", v); }
  Result operator()(const Bytes& v) const { return row("bytes", v); }
  Result operator()(const TextList& v) const { return asJson("list", ToJson()(v)); }
  Result operator()(const Dictionary& v) const { return asJson("dictionary", ToJson()(v)); }
};

std::optional<PreferenceValue> fromText(std::string_view kind, const std::string& content) {
  if (kind == "text") return PreferenceValue(content);
  if (kind == "double") return asPreference(fromBits(content));
  const auto value = json::parse(content);
  if (!value) return std::nullopt;
  if (kind == "list" && value->asArray()) return asPreference(listFromJson(*value->asArray()));
  if (kind == "dictionary" && value->asObject())
    return asPreference(dictionaryFromJson(*value->asObject()));
  return std::nullopt;
}

}  // namespace

std::optional<StoredValue> toStored(const PreferenceValue& value) {
  return std::visit(ToStored(), value.data);
}

std::optional<PreferenceValue> fromStored(std::string_view kind,
                                          const StoredValue::Content& content) {
  if (const auto* text = std::get_if<std::string>(&content)) return fromText(kind, *text);
  if (const auto* real = std::get_if<double>(&content); real && kind == "double")
    return PreferenceValue(*real);
  if (const auto* bytes = std::get_if<Bytes>(&content); bytes && kind == "bytes")
    return PreferenceValue(*bytes);
  const auto* number = std::get_if<int64_t>(&content);
  if (number && kind == "integer") return PreferenceValue(*number);
  if (number && kind == "bool" && (*number == 0 || *number == 1))
    return PreferenceValue(*number == 1);
  return std::nullopt;
}

}  // namespace velmora
