#include "simulation/Missions.h"

#include <algorithm>
#include <tuple>

namespace velmora::simulation {

bool Mission::takesPlace(Day day) const {
  if (!isEnabled || start >= end || without.contains(day)) return false;
  if ((from && day < *from) || (until && day > *until)) return false;
  if (recurs == ScheduleRecurrence::once) return on == day;
  return recurs == ScheduleRecurrence::daily ||
         weekdays.contains(std::chrono::weekday(day).c_encoding());
}

ScheduleEntry Mission::entry(const WallTime& wall) const {
  const auto date = [&wall](const std::optional<Day>& day) {
    return day ? std::optional(wall.first(*day, 0)) : std::nullopt;
  };
  ScheduleEntry e;
  e.id = id;
  e.label = label;
  e.days = {};
  for (const unsigned day : weekdays) e.days.insert(static_cast<Weekday>(day + 1));
  e.startMinutes = start;
  e.endMinutes = end;
  e.isEnabled = isEnabled;
  e.recurrence = recurs;
  e.scheduledDate = date(on);
  e.recurrenceStartDate = date(from);
  e.recurrenceEndDate = date(until);
  for (const Day day : without) e.excludedDates.push_back(wall.first(day, 0));
  e.protectionMode = isBrak ? ScheduleProtectionMode::brak : ScheduleProtectionMode::soft;
  e.presetID = preset;
  e.softBlockedSites = sites;
  e.softBlockedApps = apps;
  e.rhythm = isPomodoro ? ScheduleRhythm::pomodoro : ScheduleRhythm::continuous;
  return e;
}

std::vector<ScheduleEntry> entries(const Missions& missions, const WallTime& wall) {
  std::vector<ScheduleEntry> out;
  for (const auto& mission : missions) out.push_back(mission.entry(wall));
  return out;
}

std::vector<Due> missionsOf(const Missions& missions, Day day, const WallTime& wall) {
  std::vector<Due> out;
  for (const auto& mission : missions) {
    if (!mission.takesPlace(day)) continue;
    const Due due{&mission, day, wall.first(day, mission.start), wall.first(day, mission.end)};
    if (due.start < due.end) out.push_back(due);
  }
  std::ranges::stable_sort(
      out, {}, [](const Due& due) { return std::tuple(due.mission->start, due.mission->end); });
  return out;
}

}  // namespace velmora::simulation
