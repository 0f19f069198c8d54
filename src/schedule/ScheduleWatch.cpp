#include "schedule/ScheduleWatch.h"

namespace velmora {
namespace {

bool canStillOccur(const ScheduleEntry& entry, const Calendar& calendar, Date now) {
  if (!entry.isSchedulable()) return false;
  if (entry.recurrence == ScheduleRecurrence::once) {
    const auto end = entry.occurrenceEnd(*entry.scheduledDate, calendar);
    return end && *end > now;
  }
  return !entry.recurrenceEndDate ||
         ScheduleCalendarMath::day(*entry.recurrenceEndDate, calendar) >=
             ScheduleCalendarMath::day(now, calendar);
}

WatchTable::Entry::Recurrence watched(ScheduleRecurrence recurrence) {
  using Watched = WatchTable::Entry::Recurrence;
  switch (recurrence) {
    case ScheduleRecurrence::once:
      return Watched::once;
    case ScheduleRecurrence::daily:
      return Watched::daily;
    case ScheduleRecurrence::weekly:
      return Watched::weekly;
  }
  return Watched::once;
}

}  // namespace

WatchTable makeWatchTable(const std::vector<ScheduleEntry>& entries, const Calendar& calendar,
                          Date now, bool isGuard) {
  const auto day = [&](Date at) { return ScheduleCalendarMath::day(at, calendar); };
  WatchTable table;
  table.isGuard = isGuard;
  for (const auto& entry : entries) {
    if (!canStillOccur(entry, calendar, now)) continue;
    WatchTable::Entry& out = table.entries.emplace_back();
    out.recurrence = watched(entry.recurrence);
    if (entry.recurrence == ScheduleRecurrence::once) out.date = day(*entry.scheduledDate);
    if (entry.recurrence == ScheduleRecurrence::weekly)
      for (const Weekday weekday : entry.days.list())
        out.weekdays.push_back(static_cast<int>(weekday));
    if (entry.recurrenceStartDate) out.first = day(*entry.recurrenceStartDate);
    if (entry.recurrenceEndDate) out.last = day(*entry.recurrenceEndDate);
    for (const Date excluded : entry.excludedDates) out.excluded.push_back(day(excluded));
    out.startMinutes = entry.startMinutes;
    out.endMinutes = entry.endMinutes;
  }
  return table;
}

}  // namespace velmora
