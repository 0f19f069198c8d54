#include "schedule/model/ScheduleEntry.h"

#include <algorithm>
#include <utility>

#include "core/model/AppTimeFormat.h"

namespace velmora {
namespace {

namespace chrono = std::chrono;
using chrono::local_days;

constexpr int kLastMinute = 1439;
constexpr int kEndOfDay = 1440;

template <class Edit>
void editDates(ScheduleEntry& entry, Edit edit) {
  for (auto* date : {&entry.scheduledDate, &entry.recurrenceStartDate, &entry.recurrenceEndDate})
    if (*date) *date = edit(**date);
  for (Date& date : entry.excludedDates) date = edit(date);
}

bool occursOnDay(const ScheduleEntry& entry, local_days day, const Calendar& calendar) {
  const auto dayOf = [&](Date at) { return ScheduleCalendarMath::day(at, calendar); };
  if (!entry.isSchedulable()) return false;
  if (entry.recurrence == ScheduleRecurrence::weekly && !entry.days.contains(weekdayOf(day)))
    return false;
  if (entry.recurrence == ScheduleRecurrence::once && dayOf(*entry.scheduledDate) != day)
    return false;
  if (entry.recurrenceStartDate && day < dayOf(*entry.recurrenceStartDate)) return false;
  if (entry.recurrenceEndDate && day > dayOf(*entry.recurrenceEndDate)) return false;
  return std::ranges::none_of(entry.excludedDates,
                              [&](Date excluded) { return dayOf(excluded) == day; });
}

bool shareADate(const ScheduleEntry& a, const ScheduleEntry& b, const Calendar& calendar) {
  using enum ScheduleRecurrence;
  if (a.recurrence != once && b.recurrence == once) return shareADate(b, a, calendar);
  if (a.recurrence == once) {
    if (!a.scheduledDate) return false;
    switch (b.recurrence) {
      case once:
        return b.scheduledDate && ScheduleCalendarMath::day(*a.scheduledDate, calendar) ==
                                      ScheduleCalendarMath::day(*b.scheduledDate, calendar);
      case daily:
        return true;
      case weekly:
        return b.occurs(*a.scheduledDate, calendar);
    }
  }
  if (a.recurrence == daily) return b.recurrence == daily || !b.days.empty();
  if (b.recurrence == daily) return !a.days.empty();
  const auto endsBefore = [&](const ScheduleEntry& first, const ScheduleEntry& second) {
    return first.recurrenceEndDate && second.recurrenceStartDate &&
           ScheduleCalendarMath::day(*first.recurrenceEndDate, calendar) <
               ScheduleCalendarMath::day(*second.recurrenceStartDate, calendar);
  };
  return !endsBefore(a, b) && !endsBefore(b, a) && a.days.intersects(b.days);
}

// --- decoding ------------------------------------------------------------------------------------

using Problem = std::optional<json::Error>;

// Nothing when the key is absent; null is absence too.
template <class T>
std::optional<T> read(const json::Value& object, const char* key, Problem& problem) {
  const json::Value* value = object.find(key);
  if (problem || !value || value->isNull()) return {};
  auto decoded = json::decode<T>(*value);
  if (decoded) return std::move(*decoded);
  problem = json::under(key, std::move(decoded.error()));
  return {};
}

std::optional<Weekdays> readDays(const json::Value& object, Problem& problem) {
  const auto numbers = read<std::vector<int64_t>>(object, "days", problem);
  if (!numbers) return {};
  Weekdays days;
  for (const int64_t number : *numbers) {
    if (number < 1 || number > 7) {
      problem = json::Error{"days", "expected weekdays from 1 to 7"};
      return {};
    }
    days.insert(static_cast<Weekday>(number));
  }
  return days;
}

// A list that came with missions only later: absent, it is the global list of then; null is empty.
template <class T, class Old>
std::vector<T> readBlockList(const json::Value& object, const char* key, const Old& old,
                             Problem& problem) {
  if (object.find(key))
    return read<std::vector<T>>(object, key, problem).value_or(std::vector<T>{});
  if (problem || !old) return {};
  auto list = old();
  if (list) return std::move(*list);
  problem = json::under(key, std::move(list.error()));
  return {};
}

}  // namespace

json::Result<ScheduleEntry> ScheduleEntry::decode(const json::Value& value,
                                                  const Calendar& calendar, const Older& older) {
  if (!value.asObject()) return std::unexpected(json::wrong("object"));
  Problem problem;
  ScheduleEntry e;
  const auto set = [&]<class T>(const char* key, T& member) {
    if (auto decoded = read<T>(value, key, problem)) member = std::move(*decoded);
  };
  const auto setOptional = [&]<class T>(const char* key, std::optional<T>& member) {
    member = read<T>(value, key, problem);
  };
  const auto id = read<Uuid>(value, "id", problem);
  set("label", e.label);
  e.days = readDays(value, problem).value_or(e.days);
  // Read wide, so that a number beyond the day is clamped, however far beyond.
  const auto start = read<int64_t>(value, "startMinutes", problem).value_or(e.startMinutes);
  const auto end = read<int64_t>(value, "endMinutes", problem).value_or(e.endMinutes);
  e.startMinutes = static_cast<int>(std::clamp<int64_t>(start, 0, kLastMinute));
  e.endMinutes = static_cast<int>(std::clamp<int64_t>(end, e.startMinutes + 1, kEndOfDay));
  set("isEnabled", e.isEnabled);
  set("recurrence", e.recurrence);
  setOptional("scheduledDate", e.scheduledDate);
  setOptional("recurrenceStartDate", e.recurrenceStartDate);
  setOptional("recurrenceEndDate", e.recurrenceEndDate);
  set("excludedDates", e.excludedDates);
  e.protectionMode = older.protectionMode;
  set("protectionMode", e.protectionMode);
  setOptional("presetID", e.presetID);
  e.softBlockedApps =
      readBlockList<BlockedApp>(value, "softBlockedApps", older.blockedApps, problem);
  e.softBlockedSites =
      readBlockList<BlockedSite>(value, "softBlockedSites", older.blockedSites, problem);
  set("rhythm", e.rhythm);
  set("showFloatingProgress", e.showFloatingProgress);
  if (problem) return std::unexpected(std::move(*problem));
  e.id = id ? *id : older.newID ? older.newID() : Uuid();
  e.normalizeDates(calendar);
  return e;
}

json::Value ScheduleEntry::encode() const {
  json::Value::Object out;
  const auto put = [&](const char* key, const auto& member) {
    out.emplace_back(key, json::encode(member));
  };
  const auto putOptional = [&](const char* key, const auto& member) {
    if (member) put(key, *member);
  };
  json::Value::Array dayNumbers;
  for (const Weekday day : days.list()) dayNumbers.emplace_back(static_cast<int>(day));
  put("id", id);
  put("label", label);
  out.emplace_back("days", std::move(dayNumbers));
  put("startMinutes", startMinutes);
  put("endMinutes", endMinutes);
  put("isEnabled", isEnabled);
  put("recurrence", recurrence);
  putOptional("scheduledDate", scheduledDate);
  putOptional("recurrenceStartDate", recurrenceStartDate);
  putOptional("recurrenceEndDate", recurrenceEndDate);
  put("excludedDates", excludedDates);
  put("protectionMode", protectionMode);
  putOptional("presetID", presetID);
  put("softBlockedApps", softBlockedApps);
  put("softBlockedSites", softBlockedSites);
  put("rhythm", rhythm);
  put("showFloatingProgress", showFloatingProgress);
  return out;
}

void ScheduleEntry::normalizeDates(const Calendar& calendar) {
  moveDates(calendar, calendar);
}

void ScheduleEntry::moveDates(const Calendar& from, const Calendar& to) {
  editDates(*this, [&](Date date) { return to.instant(ScheduleCalendarMath::day(date, from), 0); });
}

std::string ScheduleEntry::startTimeString(bool uses24Hour) const {
  return AppTimeFormat::string(startMinutes, uses24Hour);
}

std::string ScheduleEntry::endTimeString(bool uses24Hour) const {
  return AppTimeFormat::string(endMinutes, uses24Hour);
}

std::string ScheduleEntry::durationString() const {
  const int minutes = std::max(0, endMinutes - startMinutes);
  if (minutes < 60) return std::to_string(minutes) + "min";
  const std::string hours = std::to_string(minutes / 60) + "h";
  return minutes % 60 == 0 ? hours : hours + std::to_string(minutes % 60);
}

bool ScheduleEntry::isWeekdays() const {
  using enum Weekday;
  return days == Weekdays{mon, tue, wed, thu, fri};
}

bool ScheduleEntry::isEveryDay() const {
  return days.size() == static_cast<int>(weekdays::allCases.size());
}

bool ScheduleEntry::isWeekend() const {
  return days == Weekdays{Weekday::sat, Weekday::sun};
}

bool ScheduleEntry::isSchedulable() const {
  if (!isEnabled || startMinutes >= endMinutes) return false;
  switch (recurrence) {
    case ScheduleRecurrence::once:
      return scheduledDate.has_value();
    case ScheduleRecurrence::daily:
      return true;
    case ScheduleRecurrence::weekly:
      return !days.empty();
  }
  return false;
}

bool ScheduleEntry::occurs(Date on, const Calendar& calendar) const {
  return occursOnDay(*this, ScheduleCalendarMath::day(on, calendar), calendar);
}

std::optional<Date> ScheduleEntry::occurrenceStart(Date on, const Calendar& calendar) const {
  const auto times = occurrence(ScheduleCalendarMath::day(on, calendar), calendar);
  return times ? std::optional(times->first) : std::nullopt;
}

std::optional<Date> ScheduleEntry::occurrenceEnd(Date on, const Calendar& calendar) const {
  const auto times = occurrence(ScheduleCalendarMath::day(on, calendar), calendar);
  return times ? std::optional(times->second) : std::nullopt;
}

std::optional<std::pair<Date, Date>> ScheduleEntry::occurrence(local_days day,
                                                               const Calendar& calendar) const {
  if (!occursOnDay(*this, day, calendar)) return {};
  const std::pair times{calendar.instant(day, startMinutes), calendar.instant(day, endMinutes)};
  if (times.first >= times.second) return {};
  return times;
}

bool overlapsAny(const ScheduleEntry& entry, const std::vector<ScheduleEntry>& list,
                 const Calendar& calendar) {
  return entry.isSchedulable() && std::ranges::any_of(list, [&](const ScheduleEntry& other) {
           return other.id != entry.id && entry.startMinutes < other.endMinutes &&
                  other.startMinutes < entry.endMinutes && other.isSchedulable() &&
                  shareADate(entry, other, calendar);
         });
}

json::Result<std::vector<ScheduleEntry>> decodeScheduleEntries(const json::Value& value,
                                                               const Calendar& calendar,
                                                               const ScheduleEntry::Older& older) {
  const auto* items = value.asArray();
  if (!items) return std::unexpected(json::wrong("array"));
  std::vector<ScheduleEntry> out;
  out.reserve(items->size());
  for (size_t i = 0; i < items->size(); ++i) {
    auto entry = ScheduleEntry::decode((*items)[i], calendar, older);
    if (!entry) return std::unexpected(json::inside(i, std::move(entry.error())));
    out.push_back(std::move(*entry));
  }
  return out;
}

json::Value encodeScheduleEntries(const std::vector<ScheduleEntry>& entries) {
  json::Value::Array out;
  out.reserve(entries.size());
  for (const auto& entry : entries) out.push_back(entry.encode());
  return out;
}

std::string ScheduleCalendarOccurrence::id() const {
  return entry.id.text() + "-" +
         std::to_string(wholeSeconds(Seconds(date.secondsSinceReference())));
}

local_days ScheduleCalendarMath::day(Date instant, const Calendar& calendar) {
  const local_days read = calendar.day(instant);
  // A clock that is set back over midnight reads yesterday once more.
  return instant >= calendar.instant(read, kEndOfDay) ? read + chrono::days(1) : read;
}

Date ScheduleCalendarMath::weekStart(Date containing, const Calendar& calendar) {
  const local_days day = ScheduleCalendarMath::day(containing, calendar);
  const local_days monday = day - (chrono::weekday(day) - chrono::Monday);
  const Date start = calendar.instant(monday, 0);
  const bool exists = ScheduleCalendarMath::day(start, calendar) == monday;
  return exists ? start : calendar.instant(day, 0);
}

std::vector<Date> ScheduleCalendarMath::weekDates(Date from, const Calendar& calendar) {
  std::vector<Date> dates;
  const local_days first = day(from, calendar);
  for (local_days d = first; d < first + chrono::days(7); d += chrono::days(1)) {
    const Date start = calendar.instant(d, 0);
    if (day(start, calendar) == d) dates.push_back(start);
  }
  return dates;
}

std::vector<ScheduleCalendarOccurrence> ScheduleCalendarMath::occurrences(
    const std::vector<ScheduleEntry>& entries, Date weekStart, const Calendar& calendar) {
  std::vector<ScheduleCalendarOccurrence> out;
  for (const Date date : weekDates(weekStart, calendar)) {
    const auto ofDay = static_cast<std::ptrdiff_t>(out.size());
    const local_days day = ScheduleCalendarMath::day(date, calendar);
    for (const auto& entry : entries)
      if (entry.occurrence(day, calendar)) out.push_back({entry, date});
    std::stable_sort(out.begin() + ofDay, out.end(), [](const auto& a, const auto& b) {
      return std::pair(a.entry.startMinutes, a.entry.endMinutes) <
             std::pair(b.entry.startMinutes, b.entry.endMinutes);
    });
  }
  return out;
}

}  // namespace velmora
