#include "core/model/BrakModule.h"

namespace velmora {

const std::array<BrakModule, 10>& BrakModule::all() {
  static constexpr std::array<BrakModule, 10> kAll{{
      {Name::schedule, "schedule", "Schedule", "Automatically start focus windows.", "Core"},
      {Name::budget, "budget", "Budget", "Give distracting sites a strict time allowance.",
       "Rules"},
      {Name::scrollGuard, "scrollGuard", "Scroll Guard",
       "After a few minutes of scrolling, ask whether to go on or quit the site.", "Rules"},
      {Name::creatorGate, "creatorGate", "Creator Gate",
       "Unlock sites only while OBS is recording or streaming.", "Rules"},
      {Name::brakPorn, "brakPorn", "Brak Porn",
       "Commit to permanent adult-content blocking for 30 to 365 days.", "Rules"},
      {Name::dailyTasks, "dailyTasks", "Daily Tasks",
       "Plan recurring tasks, check each day, and keep a daily conclusion.", "Progress"},
      {Name::habit, "habit", "Habit", "Track daily focus sessions across the year.", "Progress"},
      {Name::deadline, "deadline", "Deadline",
       "Keep one big objective visible until the date hits.", "Progress"},
      {Name::sounds, "sounds", "Sounds", "Ambient sound and focus audio.", "Experience"},
      {Name::posture, "posture", "Posture", "Use the camera to catch sustained posture drift.",
       "Experience"},
  }};
  return kAll;
}

const BrakModule* BrakModule::find(std::string_view rawText) {
  for (const auto& module : all())
    if (module.rawText == rawText) return &module;
  return nullptr;
}

std::string_view title(AppTab tab) {
  static constexpr std::string_view kTitles[] = {"Focus",  "Schedule", "Rules",      "Progress",
                                                 "Sounds", "Posture",  "Extensions", "Settings"};
  return kTitles[static_cast<size_t>(tab)];
}

}  // namespace velmora
