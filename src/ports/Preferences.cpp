#include "ports/Preferences.h"

#include <cmath>

namespace velmora {

int64_t Preferences::integer(std::string_view key) const {
  const auto value = read(key);
  if (!value) return 0;
  if (const auto* i = std::get_if<int64_t>(&value->data)) return *i;
  if (const auto* b = std::get_if<bool>(&value->data)) return *b ? 1 : 0;
  if (const auto* d = std::get_if<double>(&value->data))
    return std::abs(*d) < 9.2e18 ? static_cast<int64_t>(*d) : 0;
  return 0;
}

double Preferences::number(std::string_view key) const {
  const auto value = read(key);
  if (!value) return 0.0;
  if (const auto* d = std::get_if<double>(&value->data)) return *d;
  if (const auto* i = std::get_if<int64_t>(&value->data)) return static_cast<double>(*i);
  return 0.0;
}

bool Preferences::boolean(std::string_view key) const {
  const auto value = read(key);
  if (!value) return false;
  if (const auto* b = std::get_if<bool>(&value->data)) return *b;
  if (const auto* i = std::get_if<int64_t>(&value->data)) return *i != 0;
  return false;
}

std::optional<std::string> Preferences::text(std::string_view key) const {
  const auto value = read(key);
  if (!value) return {};
  if (const auto* s = std::get_if<std::string>(&value->data)) return *s;
  return {};
}

std::optional<std::string> Preferences::blob(std::string_view key) const {
  const auto value = read(key);
  if (!value) return {};
  if (const auto* b = std::get_if<PreferenceValue::Bytes>(&value->data))
    return std::string(b->begin(), b->end());
  return {};
}

void Preferences::setBlob(std::string key, std::string_view json) {
  set(std::move(key), blobValue(json));
}

PreferenceValue blobValue(std::string_view json) {
  return PreferenceValue::Bytes(json.begin(), json.end());
}

}  // namespace velmora
