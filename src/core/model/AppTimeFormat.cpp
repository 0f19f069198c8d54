#include "core/model/AppTimeFormat.h"

#include <algorithm>
#include <cstdio>

#include "base/Text.h"

namespace velmora {

std::string AppTimeFormat::string(int minutes, bool uses24Hour) {
  char out[32];
  if (uses24Hour) {
    if (minutes == 1440) return "24:00";
    const int m = std::clamp(minutes, 0, 1439);
    std::snprintf(out, sizeof out, "%02d:%02d", m / 60, m % 60);
    return out;
  }
  const int m = ((minutes % 1440) + 1440) % 1440;
  const bool afternoon = m >= 720;
  const int hour = m / 60 - (afternoon ? 12 : 0);
  std::snprintf(out, sizeof out, "%d:%02d %s", hour == 0 ? 12 : hour, m % 60,
                afternoon ? "PM" : "AM");
  return out;
}

std::optional<int> AppTimeFormat::parse(std::string_view raw, bool permits24) {
  std::string upper = text::replacingAll(text::uppercased(text::trim(raw)), ".", "");
  std::string suffix;
  if (upper.ends_with("AM") || upper.ends_with("PM")) {
    suffix = upper.substr(upper.size() - 2);
    upper.resize(upper.size() - 2);
    upper = std::string(text::trim(upper));
  }
  const auto parts = text::split(upper, ':');
  if (parts.size() > 2) return {};
  const auto hour = text::digits(parts[0]);
  const auto minute = parts.size() == 2 ? text::digits(parts[1]) : std::optional<int64_t>(0);
  if (!hour || !minute || *minute > 59 || *hour > 24) return {};
  const int h = static_cast<int>(*hour);
  const int m = static_cast<int>(*minute);
  if (!suffix.empty()) {
    if (h < 1 || h > 12) return {};
    if (permits24 && suffix == "AM" && h == 12 && m == 0) return 1440;
    return (h % 12 + (suffix == "PM" ? 12 : 0)) * 60 + m;
  }
  if (h == 24) return permits24 && m == 0 ? std::optional(1440) : std::nullopt;
  return h * 60 + m;
}

}  // namespace velmora
