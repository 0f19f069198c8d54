#pragma once

#include <vector>

#include "ports/ScheduleAgent.h"
#include "schedule/model/ScheduleEntry.h"

namespace velmora {

// What the watchdog must know of these missions: those that can still take place at or after `now`,
// as civil days and minutes, which hold in every zone.
WatchTable makeWatchTable(const std::vector<ScheduleEntry>& entries, const Calendar& calendar,
                          Date now, bool isGuard);

}  // namespace velmora
