#include "schedule/model/Weekday.h"

namespace velmora {

std::string_view fullName(Weekday day) {
  constexpr std::array<std::string_view, 7> names{"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                  "Thursday", "Friday", "Saturday"};
  return names[static_cast<size_t>(day) - 1];
}

Weekday weekdayOf(std::chrono::local_days day) {
  return static_cast<Weekday>(std::chrono::weekday(day).c_encoding() + 1);
}

std::vector<Weekday> Weekdays::list() const {
  std::vector<Weekday> out;
  for (const Weekday day : weekdays::allCases)
    if (contains(day)) out.push_back(day);
  return out;
}

}  // namespace velmora
