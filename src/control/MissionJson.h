#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "base/Json.h"
#include "ports/AppCatalog.h"
#include "schedule/model/ScheduleEntry.h"

// A mission as the control channel shows and takes it: the record's own names, with civil dates
// and days by name, since whoever reads it has no calendar of ours.
namespace velmora::missions {

// "2026-11-23", and back: nothing for what is no day.
std::string dayText(std::chrono::local_days day);
std::optional<std::chrono::local_days> parseDay(std::string_view text);

struct View {
  const Calendar& calendar;
  bool uses24Hour = true;
  bool overlaps = false;
  bool isActive = false;  // its occurrence covers this moment
};
json::Value encode(const ScheduleEntry& entry, const View& view);

struct Sources {
  const Calendar& calendar;
  const AppCatalog& catalog;
  std::function<Uuid()> newID;  // for sites and applications that are new on the lists
};
// Puts the members of the object into the mission; what is not named stays, null empties, and what
// is only derived, as the id, is passed over, so that an answer can be sent back. All that the
// lists hold is blocked, and what they held already keeps its record. Empty on success, otherwise
// what is wrong in one line; the mission is then of no use.
std::string apply(ScheduleEntry& entry, const json::Value& object, const Sources& sources);

}  // namespace velmora::missions
