#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/Calendar.h"
#include "base/Json.h"
#include "blocking/model/BlockedApp.h"
#include "blocking/model/BlockedSite.h"
#include "schedule/model/ScheduleTypes.h"
#include "schedule/model/Weekday.h"

namespace velmora {

// One mission. Dates are starts of days in the calendar that it is read with; it never crosses
// midnight: minute 1440 is the midnight that ends its day.
struct ScheduleEntry {
  Uuid id;
  std::string label = "New mission";
  Weekdays days{Weekday::mon, Weekday::tue, Weekday::wed, Weekday::thu, Weekday::fri};
  int startMinutes = 540;  // of the day, 0 to 1439
  int endMinutes = 1020;   // above startMinutes, at most 1440
  bool isEnabled = true;
  ScheduleRecurrence recurrence = ScheduleRecurrence::weekly;
  std::optional<Date> scheduledDate;        // the day of a mission that takes place once
  std::optional<Date> recurrenceStartDate;  // first day of a series, inclusive
  std::optional<Date> recurrenceEndDate;    // last day of a series, inclusive
  std::vector<Date> excludedDates;          // days cut out of the series
  ScheduleProtectionMode protectionMode = ScheduleProtectionMode::soft;
  std::optional<Uuid> presetID;             // of a Brak mission
  std::vector<BlockedApp> softBlockedApps;  // what a soft mission blocks
  std::vector<BlockedSite> softBlockedSites;
  ScheduleRhythm rhythm = ScheduleRhythm::continuous;
  bool showFloatingProgress = true;

  // What a record of an older version lacks comes from what the program knew then.
  struct Older {
    ScheduleProtectionMode protectionMode = ScheduleProtectionMode::soft;
    // The old global lists; an error fails the entry that needs them.
    std::function<json::Result<std::vector<BlockedApp>>()> blockedApps;
    std::function<json::Result<std::vector<BlockedSite>>()> blockedSites;
    std::function<Uuid()> newID;
  };
  // Every key may be absent. A present one of the wrong kind, an unknown name and a weekday
  // outside 1 to 7 are errors. Minutes are clamped, dates brought to the start of their day.
  static json::Result<ScheduleEntry> decode(const json::Value& value, const Calendar& calendar,
                                            const Older& older);
  json::Value encode() const;

  // Each date becomes the start of its day. Minutes stay as they are.
  void normalizeDates(const Calendar& calendar);
  // The same civil days, for one who has travelled from the one calendar's zone to the other's.
  void moveDates(const Calendar& from, const Calendar& to);

  std::string startTimeString(bool uses24Hour) const;
  std::string endTimeString(bool uses24Hour) const;
  std::string durationString() const;  // "45min", "1h", "1h30", "2h"
  bool isWeekdays() const;
  bool isEveryDay() const;
  bool isWeekend() const;
  // Enabled, longer than nothing, and with a day to take place on.
  bool isSchedulable() const;
  // At any moment of the day.
  bool occurs(Date on, const Calendar& calendar) const;
  // When the clock on the wall reads the start and the end. Nothing on a day when it does not
  // occur, or when that clock skips all of it.
  std::optional<Date> occurrenceStart(Date on, const Calendar& calendar) const;
  std::optional<Date> occurrenceEnd(Date on, const Calendar& calendar) const;
  // Both, of a civil day.
  std::optional<std::pair<Date, Date>> occurrence(std::chrono::local_days day,
                                                  const Calendar& calendar) const;

  bool operator==(const ScheduleEntry&) const = default;
};

// Whether `entry` meets another mission of the list, in a rough way that is good for a warning:
// date ranges and exclusions count little. Missions that touch do not overlap.
bool overlapsAny(const ScheduleEntry& entry, const std::vector<ScheduleEntry>& list,
                 const Calendar& calendar);

// One entry that can't be decoded fails the list.
json::Result<std::vector<ScheduleEntry>> decodeScheduleEntries(const json::Value& value,
                                                               const Calendar& calendar,
                                                               const ScheduleEntry::Older& older);
json::Value encodeScheduleEntries(const std::vector<ScheduleEntry>& entries);

// What the week calendar draws: a mission on one of its days.
struct ScheduleCalendarOccurrence {
  ScheduleEntry entry;
  Date date;  // start of the day
  std::string id() const;
};

struct ScheduleCalendarMath {
  // The day that holds the instant, by the order of instants: midnights that the wall clock repeats
  // or skips neither repeat nor split a day.
  static std::chrono::local_days day(Date instant, const Calendar& calendar);
  // The Monday of that week, as the start of its day.
  static Date weekStart(Date containing, const Calendar& calendar);
  // Seven starts of days; fewer when the zone skips one.
  static std::vector<Date> weekDates(Date from, const Calendar& calendar);
  // Day by day; within a day by start, then end, then the order of the list.
  static std::vector<ScheduleCalendarOccurrence> occurrences(
      const std::vector<ScheduleEntry>& entries, Date weekStart, const Calendar& calendar);
};

}  // namespace velmora
