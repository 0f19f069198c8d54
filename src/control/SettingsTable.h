#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/model/PomodoroSettings.h"

namespace velmora {

// The settings that the user may change, with the ranges of the settings screen.
struct Setting {
  std::string_view key;
  std::string_view help;
  // Exactly one of the two is set.
  int64_t PomodoroSettings::*number = nullptr;
  bool PomodoroSettings::*flag = nullptr;
  int lowest = 0;
  int highest = 0;
  // Whether a hard session that runs refuses a change, since it could loosen what is in force.
  bool isLockedWhileHard = true;

  std::string text(const PomodoroSettings& settings) const;
  // Empty on success, otherwise what is wrong with the text; the settings are then unchanged.
  std::string assign(PomodoroSettings& settings, std::string_view text) const;
};

const std::vector<Setting>& settingsTable();
// "true", "on", "yes", "1" and their opposites.
bool parseSwitch(std::string_view text, bool& value);

}  // namespace velmora
