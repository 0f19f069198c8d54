#pragma once

#include <chrono>

#include "base/Date.h"
#include "base/Zone.h"

namespace velmora {

// The proleptic Gregorian calendar in one time zone, as a value. Weeks are those of ISO 8601: they
// begin on Monday whatever the user's locale says.
class Calendar {
 public:
  explicit Calendar(Zone zone) : zone_(std::move(zone)) {}

  const Zone& zone() const { return zone_; }
  std::chrono::local_days day(Date instant) const;
  // 0 to 1439: the hour times 60 plus the minute that the clock on the wall shows.
  int minuteOfDay(Date instant) const;
  // The instant at which the wall clock reads that minute of the day; minute 1440 is the midnight
  // that ends the day. A skipped time gives the first instant after the gap, a repeated one the
  // earlier.
  Date instant(std::chrono::local_days day, int minute) const;
  bool isSameIsoWeek(Date a, Date b) const;

 private:
  Zone zone_;
};

}  // namespace velmora
