#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace velmora {

// Clock texts, as every time field shows and reads them. Times are minutes of the day.
struct AppTimeFormat {
  static constexpr std::string_view uses24HourKey = "vm_uses_24_hour_time";

  static std::string string(int minutes, bool uses24Hour);
  // Nothing for what is no time. With permits24, "24:00" and "12:00 AM" are the end of the day,
  // 1440, so that a mission can end at midnight.
  static std::optional<int> parse(std::string_view text, bool permits24);
};

}  // namespace velmora
