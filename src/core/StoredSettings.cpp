#include "core/StoredSettings.h"

namespace velmora {

static constexpr const char* kSettingsKey = "vm_pomodoroSettings";

PomodoroSettings loadPomodoroSettings(const Preferences& preferences) {
  if (const auto blob = preferences.blob(kSettingsKey))
    return json::decodeText<PomodoroSettings>(*blob).value_or(PomodoroSettings{});
  return {};
}

void savePomodoroSettings(Preferences& preferences, const PomodoroSettings& settings) {
  preferences.setBlob(kSettingsKey, json::encodeText(settings));
}

}  // namespace velmora
