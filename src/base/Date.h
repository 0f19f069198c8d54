#pragma once

#include <chrono>
#include <compare>
#include <cstdint>

namespace velmora {

using Seconds = std::chrono::duration<double>;

// A moment of wall time: seconds since 2001-01-01 00:00:00 UTC, kept as the very double that is
// written to disk and compared between devices. No operation rounds it.
class Date {
 public:
  constexpr Date() = default;
  constexpr explicit Date(double secondsSinceReference) : seconds_(secondsSinceReference) {}

  // Scalar dates in the preferences count from 1970-01-01 00:00:00 UTC.
  static constexpr Date sinceUnixEpoch(double seconds) { return Date(seconds - kUnixOffset); }
  constexpr double secondsSinceUnixEpoch() const { return seconds_ + kUnixOffset; }
  constexpr double secondsSinceReference() const { return seconds_; }

  friend constexpr auto operator<=>(Date, Date) = default;
  friend constexpr Seconds operator-(Date a, Date b) { return Seconds(a.seconds_ - b.seconds_); }
  friend constexpr Date operator+(Date a, Seconds d) { return Date(a.seconds_ + d.count()); }
  friend constexpr Date operator-(Date a, Seconds d) { return Date(a.seconds_ - d.count()); }

 private:
  static constexpr double kUnixOffset = 978307200.0;
  double seconds_ = 0.0;
};

// Whole seconds of a duration, cut off towards zero. Values beyond 64 bits saturate, and what is
// not a number counts as zero, so that no stored date can bring the arithmetic down.
constexpr int64_t wholeSeconds(Seconds duration) {
  const double s = duration.count();
  if (s != s) return 0;
  if (s >= 9.2233720368547748e18) return INT64_MAX;
  if (s <= -9.2233720368547748e18) return INT64_MIN;
  return static_cast<int64_t>(s);
}

// Elapsed time that nobody can set: it starts at boot and counts on through suspend. It does not
// convert to or from Date.
struct BootClock {
  using rep = int64_t;
  using period = std::nano;
  using duration = std::chrono::nanoseconds;
  using time_point = std::chrono::time_point<BootClock>;
  static constexpr bool is_steady = true;
};
using Monotonic = BootClock::time_point;

}  // namespace velmora
