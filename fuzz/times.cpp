#include "Require.h"
#include "core/model/AppTimeFormat.h"

// What is read is a time of the day, and reads the same when it is shown and typed again.
void velmora::fuzz::examine(std::string_view typed) {
  const auto time = AppTimeFormat::parse(typed, false);
  const auto end = AppTimeFormat::parse(typed, true);
  if (time) {
    require(*time >= 0 && *time < 1440 && (end == time || (*time == 0 && end == 1440)));
    for (const bool uses24 : {false, true})
      require(AppTimeFormat::parse(AppTimeFormat::string(*time, uses24), false) == time);
  }
  if (end) {
    require(*end >= 0 && *end <= 1440);
    require(AppTimeFormat::parse(AppTimeFormat::string(*end, true), true) == end);
  }
}
