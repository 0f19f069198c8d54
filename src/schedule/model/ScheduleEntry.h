#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/Calendar.h"
#include "base/Json.h"
#include "blocking/model/BlockedApp.h"
#include "blocking/model/BlockedSite.h"
#include "schedule/model/ScheduleTypes.h"
#include "schedule/model/Weekday.h"

namespace velmora {

// One mission. Dates are starts of days; it never crosses midnight: minute 1440 is the midnight
// that ends its day.
struct ScheduleEntry {
  Uuid id;
  std::string label = "New mission";
  Weekdays days{Weekday::mon, Weekday::tue, Weekday::wed, Weekday::thu, Weekday::fri};
  int startMinutes = 540;   // of the day, 0 to 1439
  int endMinutes = 1020;    // above startMinutes, at most 1440
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

  std::string startTimeString(bool uses24Hour) const;
  std::string endTimeString(bool uses24Hour) const;
  std::string durationString() const;  // "45min", "1h", "1h30", "2h"
  bool isWeekdays() const;
  bool isEveryDay() const;
  bool isWeekend() const;
  // Enabled, longer than nothing, and with a day to take place on.
  bool isSchedulable() const;
  bool occurs(Date on, const Calendar& calendar) const;
  // Nothing on a day when it does not occur.
  std::optional<Date> occurrenceStart(Date on, const Calendar& calendar) const;
  std::optional<Date> occurrenceEnd(Date on, const Calendar& calendar) const;

  bool operator==(const ScheduleEntry&) const = default;
};

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
  // The Monday of that week, as the start of its day.
  static Date weekStart(Date containing, const Calendar& calendar);
  // Seven starts of days.
  static std::vector<Date> weekDates(Date from, const Calendar& calendar);
  // Day by day; within a day by start, then end, then the order of the list.
  static std::vector<ScheduleCalendarOccurrence> occurrences(
      const std::vector<ScheduleEntry>& entries, Date weekStart, const Calendar& calendar);
};

}  // namespace velmora
