#pragma once

#include "core/model/PomodoroSettings.h"
#include "ports/Preferences.h"

namespace velmora {

// All the defaults when nothing is stored or it can't be decoded.
PomodoroSettings loadPomodoroSettings(const Preferences& preferences);
void savePomodoroSettings(Preferences& preferences, const PomodoroSettings& settings);

}  // namespace velmora
