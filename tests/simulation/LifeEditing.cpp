// Edits by the one road of the windows and the command line, and its locks.

#include <algorithm>

#include "simulation/Life.h"

namespace velmora::simulation {

namespace chrono = std::chrono;
using Result = MissionResult<void>;

namespace {

const Due* covering(const std::vector<Due>& all, Date at) {
  const auto found = std::ranges::find_if(all, [at](const Due& due) { return due.covers(at); });
  return found == all.end() ? nullptr : &*found;
}

// A mission that names no preset that is there goes by the first.
Uuid presetOf(const Mission& mission, const std::vector<FocusPreset>& all) {
  const auto isIts = [&](const FocusPreset& preset) { return preset.id == mission.preset; };
  return std::ranges::any_of(all, isIts) ? *mission.preset : all.front().id;
}

// Whether who edits would get out of what runs now, or get more out of it.
bool isEscape(const Missions& before, const Missions& after, Date at, const WallTime& wall,
              const std::vector<FocusPreset>& presets) {
  const auto wasAll = missionsOf(before, wall.day(at), wall);
  const auto isAll = missionsOf(after, wall.day(at), wall);
  const Due *was = covering(wasAll, at), *is = covering(isAll, at);
  if (!was) return false;
  if (!is || is->end < was->end) return true;
  const Mission &old = *was->mission, &now = *is->mission;
  if (old.isBrak != now.isBrak) return true;
  if (old.isBrak && presetOf(old, presets) != presetOf(now, presets)) return true;
  if (now.isPomodoro && (!old.isPomodoro || is->start != was->start)) return true;
  if (old.isBrak) return false;
  const auto opens = [](const auto& closed, const auto& stays, auto what) {
    return std::ranges::any_of(closed, [&](const auto& one) {
      return std::ranges::find(stays, one.*what, what) == stays.end();
    });
  };
  return opens(old.sites, now.sites, &BlockedSite::domain) ||
         opens(old.apps, now.apps, &BlockedApp::bundleID);
}

Result without(const MissionResult<MissionEditing::Selection>& result) {
  return result ? Result() : Result(std::unexpected(result.error()));
}

}  // namespace

void Life::editAsTheWindowsDo() {
  const bool simple = expected_.isSimple ? chance(0.9) : chance(0.1);
  const auto planner = simple ? ScheduleOperatingMode::simple : ScheduleOperatingMode::calendar;
  const Missions before = expected_.lists[simple ? 1 : 0];
  if (before.empty()) return;
  const auto due = expected_.due(now());
  auto chosen = static_cast<size_t>(pick(std::ssize(before)));
  if (due && chance(0.3))
    for (size_t i = 0; i < before.size(); ++i)
      if (before[i].id == due->mission->id) chosen = i;
  Missions after = before;
  const auto at = after.begin() + static_cast<std::ptrdiff_t>(chosen);
  const Mission original = *at;
  const ScheduleEntry entry = original.entry(expected_.wall);
  const auto start = [this](Day day) { return expected_.wall.first(day, 0); };
  auto& missions = app().missions;

  // Some day of a series, and another one that it is moved to.
  Day day = someDay();
  for (int i = 0; i < 14 && !original.takesPlace(day); ++i) day += chrono::days(1);
  const bool isSeries =
      !simple && original.recurs != ScheduleRecurrence::once && original.takesPlace(day);
  const Day target = chance(0.5) ? day : day + chrono::days(pick(9) - 4);
  Mission changed = original;
  changed.start = static_cast<int>(pick(1430));
  changed.end = std::min(changed.start + 1 + static_cast<int>(pick(400)), 1440);
  if (chance(0.3)) changed.isBrak = !changed.isBrak;
  if (chance(0.3)) changed.isPomodoro = !changed.isPomodoro;
  // In front of what runs, and over before it: the way out that a lock must see.
  if (due && due->mission->start > 0 && chance(0.5)) {
    const auto minute = static_cast<int>((now() - start(due->day)).count() / 60);
    const Mission& runs = *due->mission;
    changed.isBrak = runs.isBrak;
    changed.isPomodoro = runs.isPomodoro && chance(0.5);
    changed.preset = runs.preset;
    changed.sites = runs.sites;
    changed.apps = runs.apps;
    changed.start = static_cast<int>(pick(runs.start));
    changed.end = std::min(minute + 1 + static_cast<int>(pick(200)), 1440);
  }

  std::string name = original.label;
  Result result;
  const auto endBefore = [](Mission& series, Day split) {
    series.until = split - chrono::days(1);
    std::erase_if(series.without, [&](Day cut) { return cut >= split; });
  };
  const auto newest = [&](size_t index) {  // identities are the program's to give
    const auto& all = app().schedule.entries.get();
    return index < all.size() ? all[index].id : Uuid();
  };
  const PendingScheduleSeriesEdit edit{entry, changed.entry(expected_.wall), start(day),
                                       start(target)};
  switch (isSeries ? pick(6) : pick(2)) {
    case 0:
      name += ": removed";
      after.erase(at);
      result = missions.removeMission(planner, original.id);
      break;
    case 1:
      name += ": changed";
      *at = changed;
      result = missions.updateMission(planner, changed.entry(expected_.wall), "Edit Mission");
      break;
    case 2:
      name += ": one day deleted";
      at->without.insert(day);
      result = missions.deleteSingleOccurrence({entry, start(day)});
      break;
    case 3:
      name += ": deleted from a day on";
      if (original.from && *original.from >= day)
        after.erase(at);
      else
        endBefore(*at, day);
      result = missions.deleteFutureOccurrences({entry, start(day)});
      break;
    case 4: {
      name += ": one day moved";
      at->without.insert(day);
      Mission copy = changed;
      copy.recurs = ScheduleRecurrence::once;
      copy.on = target;
      copy.from = copy.until = std::nullopt;
      copy.without = {};
      copy.weekdays = {chrono::weekday(target).c_encoding()};
      after.insert(at + 1, copy);
      result = without(missions.applyEditToSingleOccurrence(edit));
      if (result) after[chosen + 1].id = newest(chosen + 1);
      break;
    }
    default: {
      name += ": moved from a day on";
      const Day split = std::min(day, target);
      Mission copy = changed;
      copy.on = std::nullopt;
      copy.from = split;
      if (copy.until) copy.until = std::max(*copy.until, target);
      std::erase_if(copy.without, [&](Day cut) { return cut < split || cut == target; });
      if (copy.recurs == ScheduleRecurrence::weekly && day != target) {
        copy.weekdays.erase(chrono::weekday(day).c_encoding());
        copy.weekdays.insert(chrono::weekday(target).c_encoding());
      }
      const bool isWhole = original.from && *original.from >= split;
      if (isWhole) {
        *at = copy;
      } else {
        endBefore(*at, split);
        after.insert(at + 1, copy);
      }
      result = without(missions.applyEditToFutureOccurrences(edit));
      const size_t place = isWhole ? chosen : chosen + 1;
      if (result) after[place].id = newest(place);
      break;
    }
  }

  const bool isInForce = simple == expected_.isSimple;
  const bool isRunning = isInForce && due && due->mission->id == original.id;
  const bool isHeld = isInForce && expected_.isHardActive(now()) &&
                      isEscape(before, after, now(), expected_.wall, app().presets.presets.get());
  note(name + (result ? "" : ", refused"));
  if (result.has_value() == (isRunning || isHeld))
    fail(result ? "an edit that a lock forbids is taken" : "an edit is refused without a reason");
  if (!result) return;
  expected_.setMissions(simple, std::move(after), now());
  world_.settle();
  check();
  if (const auto wrong = storedDiffers(expected_)) fail(*wrong);
  // The steps of the other road would put back what this one has changed.
  undo_.removeAllActions();
  undoable_.clear();
  redoable_.clear();
}

}  // namespace velmora::simulation
