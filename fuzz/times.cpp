#include "Require.h"
#include "core/model/AppTimeFormat.h"

using namespace velmora;

// What is read is a time of the day, and reads the same when it is shown and typed again.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const auto typed = fuzz::text(data, size);
  const auto time = AppTimeFormat::parse(typed, false);
  const auto end = AppTimeFormat::parse(typed, true);
  if (time) {
    fuzz::require(*time >= 0 && *time < 1440);
    fuzz::require(end == time || (*time == 0 && end == 1440));
    for (const bool uses24 : {false, true})
      fuzz::require(AppTimeFormat::parse(AppTimeFormat::string(*time, uses24), false) == time);
  }
  if (end) {
    fuzz::require(*end >= 0 && *end <= 1440);
    fuzz::require(AppTimeFormat::parse(AppTimeFormat::string(*end, true), true) == end);
  }
  return 0;
}
