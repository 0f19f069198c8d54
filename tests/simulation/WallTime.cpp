#include "simulation/WallTime.h"

#include <algorithm>
#include <cmath>

namespace velmora::simulation {

namespace chrono = std::chrono;

static constexpr int64_t kDay = 86400;

// Seconds of the wall clock, as if it were UTC.
int64_t WallTime::reading(int64_t unix) const {
  return zone_.civil(Date::sinceUnixEpoch(static_cast<double>(unix))).time_since_epoch().count();
}

Date WallTime::first(Day day, int minute) const {
  const int64_t wanted = chrono::seconds(day.time_since_epoch()).count() + minute * 60;
  const auto offset = [this](int64_t unix) { return reading(unix) - unix; };
  const int64_t before = wanted - offset(wanted - kDay);
  const int64_t after = wanted - offset(wanted + kDay);
  for (const int64_t at : {std::min(before, after), std::max(before, after)})
    if (reading(at) == wanted) return Date::sinceUnixEpoch(static_cast<double>(at));
  // The clock skips it: the moment of the jump lies between the two.
  int64_t low = std::min(before, after) - 1, high = std::max(before, after);
  while (high - low > 1) {
    const int64_t middle = low + (high - low) / 2;
    (reading(middle) >= wanted ? high : low) = middle;
  }
  return Date::sinceUnixEpoch(static_cast<double>(high));
}

Day WallTime::day(Date at) const {
  if (today_ && at >= today_->start && at < today_->end) return today_->day;
  const auto unix = static_cast<int64_t>(std::floor(at.secondsSinceUnixEpoch()));
  Day day = chrono::floor<chrono::days>(chrono::local_seconds(chrono::seconds(reading(unix))));
  while (first(day, 0) > at) day -= chrono::days(1);
  while (first(day + chrono::days(1), 0) <= at) day += chrono::days(1);
  today_ = {day, first(day, 0), first(day + chrono::days(1), 0)};
  return day;
}

Day WallTime::week(Date at) const {
  const auto unix = static_cast<int64_t>(std::floor(at.secondsSinceUnixEpoch()));
  const Day read =
      chrono::floor<chrono::days>(chrono::local_seconds(chrono::seconds(reading(unix))));
  return read - (chrono::weekday(read) - chrono::Monday);
}

}  // namespace velmora::simulation
