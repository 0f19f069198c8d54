#include "base/Calendar.h"

namespace velmora {

namespace chrono = std::chrono;

chrono::local_days Calendar::day(Date instant) const {
  return chrono::floor<chrono::days>(zone_.civil(instant));
}

int Calendar::minuteOfDay(Date instant) const {
  const auto civil = zone_.civil(instant);
  return static_cast<int>(
      chrono::floor<chrono::minutes>(civil - chrono::floor<chrono::days>(civil)).count());
}

Date Calendar::instant(chrono::local_days day, int minute) const {
  return zone_.instant(CivilSeconds(day) + chrono::minutes(minute)).instant;
}

bool Calendar::isSameIsoWeek(Date a, Date b) const {
  const auto monday = [](chrono::local_days day) {
    return day - (chrono::weekday(day) - chrono::Monday);
  };
  return monday(day(a)) == monday(day(b));
}

}  // namespace velmora
