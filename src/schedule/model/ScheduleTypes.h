#pragma once

#include <array>
#include <string_view>
#include <utility>

#include "base/Json.h"

namespace velmora {

enum class ScheduleRecurrence { once, daily, weekly };
enum class ScheduleProtectionMode { soft, brak };
enum class ScheduleRhythm { continuous, pomodoro };
enum class ScheduleOperatingMode { simple, calendar };

template <>
struct json::EnumTexts<ScheduleRecurrence> {
  using R = ScheduleRecurrence;
  static constexpr std::array all{std::pair{R::once, std::string_view("once")},
                                  std::pair{R::daily, std::string_view("daily")},
                                  std::pair{R::weekly, std::string_view("weekly")}};
};
template <>
struct json::EnumTexts<ScheduleProtectionMode> {
  using M = ScheduleProtectionMode;
  static constexpr std::array all{std::pair{M::soft, std::string_view("soft")},
                                  std::pair{M::brak, std::string_view("brak")}};
};
template <>
struct json::EnumTexts<ScheduleRhythm> {
  using R = ScheduleRhythm;
  static constexpr std::array all{std::pair{R::continuous, std::string_view("continuous")},
                                  std::pair{R::pomodoro, std::string_view("pomodoro")}};
};
template <>
struct json::EnumTexts<ScheduleOperatingMode> {
  using M = ScheduleOperatingMode;
  static constexpr std::array all{std::pair{M::simple, std::string_view("simple")},
                                  std::pair{M::calendar, std::string_view("calendar")}};
};

constexpr std::string_view rawText(ScheduleProtectionMode mode) {
  return mode == ScheduleProtectionMode::soft ? "soft" : "brak";
}
constexpr std::string_view rawText(ScheduleRhythm rhythm) {
  return rhythm == ScheduleRhythm::continuous ? "continuous" : "pomodoro";
}

// What the user reads.
constexpr std::string_view title(ScheduleRecurrence recurrence) {
  switch (recurrence) {
    case ScheduleRecurrence::once: return "Once";
    case ScheduleRecurrence::daily: return "Daily";
    case ScheduleRecurrence::weekly: return "Weekly";
  }
  return "";
}
constexpr std::string_view title(ScheduleProtectionMode mode) {
  return mode == ScheduleProtectionMode::soft ? "Soft" : "Brak";
}
constexpr std::string_view title(ScheduleRhythm rhythm) {
  return rhythm == ScheduleRhythm::continuous ? "Nonstop" : "Pomodoro";
}
constexpr std::string_view title(ScheduleOperatingMode mode) {
  return mode == ScheduleOperatingMode::simple ? "Simple" : "Calendar";
}

}  // namespace velmora
