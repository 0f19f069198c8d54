#include "platform/linux/ScheduleRules.h"

#include <algorithm>
#include <cmath>

namespace velmora::watch {
namespace {

namespace chrono = std::chrono;
using chrono::days;
using chrono::local_days;
using Entry = WatchTable::Entry;

constexpr days kGapHorizon{400};
constexpr Seconds kLookAgain{30};

bool contains(const auto& list, auto value) {
  return std::ranges::find(list, value) != list.end();
}

struct Span {
  Date start;
  Date end;
};

// Empty when the whole of it is skipped.
Span spanOf(const Entry& entry, local_days day, const Calendar& calendar) {
  return {calendar.instant(day, entry.startMinutes), calendar.instant(day, entry.endMinutes)};
}

}  // namespace

bool isPassInForce(const std::optional<PreferenceValue>& until, Date now) {
  if (!until) return false;
  double end = 0;
  if (const auto* whole = std::get_if<int64_t>(&until->data))
    end = static_cast<double>(*whole);
  else if (const auto* number = std::get_if<double>(&until->data))
    end = *number;
  return std::isfinite(end) && std::floor(end) == end && now.secondsSinceUnixEpoch() < end;
}

std::optional<Date> quitTime(const std::optional<PreferenceValue>& stored, Date now) {
  const auto* seconds = stored ? std::get_if<int64_t>(&stored->data) : nullptr;
  if (!seconds || *seconds > now.secondsSinceUnixEpoch()) return std::nullopt;
  return Date::sinceUnixEpoch(static_cast<double>(*seconds));
}

bool occurs(const Entry& entry, local_days day) {
  if (entry.recurrence == Entry::Recurrence::once) return entry.date == day;
  if (entry.first && day < *entry.first) return false;
  if (entry.last && day > *entry.last) return false;
  if (contains(entry.excluded, day)) return false;
  const auto sundayIsOne = static_cast<int>(chrono::weekday(day).c_encoding()) + 1;
  return entry.recurrence == Entry::Recurrence::daily || contains(entry.weekdays, sundayIsOne);
}

// A clock that is set back at midnight shows the day before once more: the neighbours of today may
// run too.
bool isCovered(const WatchTable& table, Date now, const Calendar& calendar,
               std::optional<Date> quitAt) {
  const auto hasEnded = [&](const Span& span) {
    return quitAt && !table.isGuard && span.start <= *quitAt && *quitAt < span.end;
  };
  const auto today = calendar.day(now);
  for (const auto& entry : table.entries)
    for (const auto day : {today - days(1), today, today + days(1)}) {
      if (!occurs(entry, day)) continue;
      const auto span = spanOf(entry, day, calendar);
      if (span.start <= now && now < span.end && !hasEnded(span)) return true;
    }
  return false;
}

std::optional<Date> nextLook(const WatchTable& table, Date now, const Calendar& calendar) {
  std::optional<Date> best;
  const auto today = calendar.day(now);
  for (const auto& entry : table.entries)
    for (const auto day : {today, today + days(1), today + days(2)}) {
      if (!occurs(entry, day)) continue;
      const auto span = spanOf(entry, day, calendar);
      if (span.start >= span.end) continue;
      for (const Date look : {span.start, span.start + kLookAgain})
        if (now < look && look - now <= days(1) && (!best || look < *best)) best = look;
    }
  return best;
}

std::vector<CivilSeconds> startsAfterGaps(const WatchTable& table, Date now,
                                          const Calendar& calendar) {
  std::vector<CivilSeconds> out;
  const auto& zone = calendar.zone();
  const auto today = calendar.day(now);
  for (auto day = today; day < today + kGapHorizon; day += days(1)) {
    if (calendar.instant(day + days(1), 0) - calendar.instant(day, 0) == days(1)) continue;
    for (const auto& entry : table.entries) {
      if (!occurs(entry, day)) continue;
      const auto start = zone.instant(CivilSeconds(day) + chrono::minutes(entry.startMinutes));
      if (start.kind == CivilInstant::Kind::skipped) out.push_back(zone.civil(start.instant));
    }
  }
  std::ranges::sort(out);
  out.erase(std::ranges::unique(out).begin(), out.end());
  return out;
}

}  // namespace velmora::watch
