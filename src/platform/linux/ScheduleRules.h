#pragma once

#include <chrono>
#include <optional>
#include <vector>

#include "base/Calendar.h"
#include "ports/Preferences.h"
#include "ports/ScheduleAgent.h"

namespace velmora {

// What the watchdog decides by. Pure functions, total for every table.
namespace watch {

// The store's key for the end of the emergency pass, in seconds since 1970.
inline constexpr const char* kPassKey = "vm_schedule_passUntil";
// The store's key for when the user ended the program, likewise; absent while it runs.
inline constexpr const char* kQuitKey = "vm_schedule_quitAt";

// Only a whole number counts as the end of a pass.
bool isPassInForce(const std::optional<PreferenceValue>& until, Date now);
bool occurs(const WatchTable::Entry& entry, std::chrono::local_days day);
// The moment stored there, unless it lies ahead: then the clock has been set back since.
std::optional<Date> quitTime(const std::optional<PreferenceValue>& stored, Date now);
// Whether a mission runs at that moment, as the clock on the wall has it: a start or end that is
// skipped is the first instant after the gap, a repeated one the earlier. Each entry counts alone.
// One within which the user ended the program does not count, but for a guard.
bool isCovered(const WatchTable& table, Date now, const Calendar& calendar,
               std::optional<Date> quitAt = std::nullopt);
// When to look next, if within a day: at a start, or half a minute after one, for a clock that is
// then a little behind what it was.
std::optional<Date> nextLook(const WatchTable& table, Date now, const Calendar& calendar);
// The starts of the next 400 days that fall into a gap, as the civil times right after it, in
// order, each once: a timer that goes by the wall's reading never sees the skipped minute.
std::vector<CivilSeconds> startsAfterGaps(const WatchTable& table, Date now,
                                          const Calendar& calendar);

}  // namespace watch
}  // namespace velmora
