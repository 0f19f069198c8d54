#pragma once

#include <string_view>

namespace velmora {

enum class ScheduleProtectionMode { soft, brak };
enum class ScheduleRhythm { continuous, pomodoro };

constexpr std::string_view rawText(ScheduleProtectionMode mode) {
  return mode == ScheduleProtectionMode::soft ? "soft" : "brak";
}
constexpr std::string_view rawText(ScheduleRhythm rhythm) {
  return rhythm == ScheduleRhythm::continuous ? "continuous" : "pomodoro";
}

}  // namespace velmora
