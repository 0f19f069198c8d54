#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "schedule/model/ScheduleEntry.h"
#include "simulation/WallTime.h"

namespace velmora::simulation {

// A mission in the user's own terms: civil days and the clock on the wall, whatever the zone.
struct Mission {
  Uuid id;
  std::string label;
  int start = 0;  // minutes of the day
  int end = 0;
  bool isEnabled = true;
  ScheduleRecurrence recurs = ScheduleRecurrence::daily;
  std::optional<Day> on;  // of one that takes place once
  std::optional<Day> from, until;
  std::set<Day> without;
  std::set<unsigned> weekdays;  // 0 is Sunday
  bool isBrak = false;
  bool isPomodoro = false;
  std::optional<Uuid> preset;
  std::vector<BlockedSite> sites;
  std::vector<BlockedApp> apps;
  bool operator==(const Mission&) const = default;

  bool takesPlace(Day day) const;
  ScheduleEntry entry(const WallTime& wall) const;
};
using Missions = std::vector<Mission>;

std::vector<ScheduleEntry> entries(const Missions& missions, const WallTime& wall);

// One mission on one day, by the clock of a zone.
struct Due {
  const Mission* mission = nullptr;
  Day day;
  Date start, end;
  bool covers(Date at) const { return start <= at && at < end; }
};
// Those of a day that the clock does not skip, in the order in which they claim a moment.
std::vector<Due> missionsOf(const Missions& missions, Day day, const WallTime& wall);

}  // namespace velmora::simulation
