#pragma once

#include <string>
#include <utility>
#include <vector>

#include "ports/ScheduleAgent.h"

namespace velmora::test {

using Entry = WatchTable::Entry;
using std::chrono::local_days;

constexpr local_days november(unsigned day) {
  return local_days(std::chrono::year(2026) / 11 / day);
}
constexpr local_days kMonday = november(23);

inline Entry once(std::optional<local_days> date, int start, int end) {
  return {.recurrence = Entry::Recurrence::once, .date = date, .first = {}, .last = {},
          .excluded = {}, .weekdays = {}, .startMinutes = start, .endMinutes = end};
}
inline Entry daily(int start, int end) {
  Entry entry = once({}, start, end);
  entry.recurrence = Entry::Recurrence::daily;
  return entry;
}
inline Entry weekly(std::vector<int> days, int start, int end) {
  Entry entry = once({}, start, end);
  entry.recurrence = Entry::Recurrence::weekly;
  entry.weekdays = std::move(days);
  return entry;
}
// From 1 to 30 November, without the 24th.
inline Entry inNovember(Entry entry) {
  entry.first = november(1);
  entry.last = november(30);
  entry.excluded = {november(24)};
  return entry;
}

// Whether a mission covers a minute, whoever asks.
struct Covering {
  Entry mission;
  local_days day;
  int minute;
  bool isCovered;
};
inline std::vector<Covering> coverings() {
  const Entry morning = daily(540, 600), odd = daily(488, 549), night = daily(1380, 1440);
  const Entry series = inNovember(daily(0, 1440)), date = once(kMonday, 0, 1440);
  const local_days nextYear(std::chrono::year(2027) / 11 / 23);
  return {{morning, kMonday, 539, false},
          {morning, kMonday, 540, true},
          {morning, kMonday, 599, true},
          {morning, kMonday, 600, false},
          {odd, kMonday, 488, true},  // 08:08 is no octal number
          {odd, kMonday, 548, true},
          {odd, kMonday, 549, false},
          {night, kMonday, 1439, true},  // to the end of the day
          {night, kMonday, 1440, false},
          {date, kMonday, 720, true},
          {date, nextYear, 720, false},
          {weekly({2}, 0, 1440), kMonday, 0, true},
          {weekly({1, 7}, 0, 1440), kMonday, 0, false},
          {weekly({1, 7}, 0, 1440), november(22), 0, true},
          {series, november(1), 0, true},
          {series, november(30), 0, true},
          {series, november(1) - std::chrono::days(1), 0, false},
          {series, november(24), 0, false},
          {series, november(30) + std::chrono::days(1), 0, false}};
}

}  // namespace velmora::test
