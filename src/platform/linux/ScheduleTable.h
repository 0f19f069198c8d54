#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "base/Json.h"
#include "ports/ScheduleAgent.h"

namespace velmora {

// The watchdog's own copy of the schedule, a file beside the store: what starts the program must
// not depend on a store that may be damaged.
namespace watch {

inline constexpr const char* kTableFile = "schedule-watch.json";

std::string tableText(const WatchTable& table);
json::Result<WatchTable> tableFromText(std::string_view text);
// "2026-11-23"; years outside 0 to 9999 have more characters.
std::string dateText(std::chrono::local_days day);

}  // namespace watch
}  // namespace velmora
