#include "control/SettingsTable.h"

#include "base/Text.h"

namespace velmora {

const std::vector<Setting>& settingsTable() {
  using S = PomodoroSettings;
  static const std::vector<Setting> kTable{
      {"focusDuration", "Focus, minutes", &S::focusDuration, nullptr, 1, 120},
      {"shortBreakDuration", "Short Break, minutes", &S::shortBreakDuration, nullptr, 1, 30},
      {"longBreakDuration", "Long Break, minutes", &S::longBreakDuration, nullptr, 5, 60},
      {"sessionsBeforeLongBreak", "After so many focus sessions you get a long break",
       &S::sessionsBeforeLongBreak, nullptr, 2, 8},
      {"focusSessionLimit", "Stop after so many focus sessions; 0: until you stop it",
       &S::focusSessionLimit, nullptr, 0, 16},
      {"isBrakModeEnabled", "Strict focus with allowlist and gate", nullptr, &S::isBrakModeEnabled},
      {"isSoftBlocklistEnabled", "Soft mode: the block list instead of the allowlist", nullptr,
       &S::isSoftBlocklistEnabled},
      {"showFloatingProgress", "Show the movable mini timer during focus and breaks", nullptr,
       &S::showFloatingProgress, 0, 0, false},
      {"autoStart", "Automatically begin the next session", nullptr, &S::autoStart, 0, 0, false},
      {"soundEnabled", "Play sounds on session completion", nullptr, &S::soundEnabled, 0, 0, false},
      {"isHardcore", "No pause, no restart, no skip", nullptr, &S::isHardcore},
  };
  return kTable;
}

bool parseSwitch(std::string_view raw, bool& value) {
  const std::string text = text::lowercased(raw);
  for (const auto* yes : {"true", "on", "yes", "1"})
    if (text == yes) return value = true, true;
  for (const auto* no : {"false", "off", "no", "0"})
    if (text == no) return value = false, true;
  return false;
}

std::string Setting::text(const PomodoroSettings& settings) const {
  if (number) return std::to_string(settings.*number);
  return settings.*flag ? "true" : "false";
}

std::string Setting::assign(PomodoroSettings& settings, std::string_view text) const {
  if (flag) {
    bool value = false;
    if (!parseSwitch(text, value)) return std::string(key) + " is true or false";
    settings.*flag = value;
    return {};
  }
  const auto value = text::digits(text);
  if (!value || *value < lowest || *value > highest)
    return std::string(key) + " goes from " + std::to_string(lowest) + " to " +
           std::to_string(highest);
  settings.*number = *value;
  return {};
}

}  // namespace velmora
