#pragma once

#include <chrono>
#include <optional>

#include "base/Date.h"
#include "base/Zone.h"

namespace velmora::simulation {

using Day = std::chrono::local_days;

// Days and minutes of a zone, told from nothing but what its clock reads at each instant: the
// program's own arithmetic is not used.
class WallTime {
 public:
  explicit WallTime(Zone zone) : zone_(std::move(zone)) {}

  const Zone& zone() const { return zone_; }
  // The first instant at which the clock reads that minute of that day, or a later one.
  Date first(Day day, int minute) const;
  // The latest day that has begun by then.
  Day day(Date at) const;
  // Monday of the week that holds what the clock reads.
  Day week(Date at) const;

 private:
  int64_t reading(int64_t unix) const;

  Zone zone_;
  struct Today {
    Day day;
    Date start, end;
  };
  mutable std::optional<Today> today_;
};

}  // namespace velmora::simulation
