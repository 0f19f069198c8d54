#pragma once

#include <chrono>
#include <cstddef>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "blocking/BlocklistStore.h"
#include "core/FocusPresetStore.h"
#include "core/TimerService.h"
#include "ports/Clipboard.h"
#include "ports/Clock.h"
#include "ports/Random.h"
#include "schedule/ScheduleService.h"
#include "schedule/UndoManager.h"

namespace velmora {

// An edit of a series, while the user chooses what it is for.
struct PendingScheduleSeriesEdit {
  ScheduleEntry original;
  ScheduleEntry updated;
  Date occurrenceDate;
  Date targetDate;
};
struct PendingScheduleSeriesDelete {
  ScheduleEntry entry;
  Date occurrenceDate;
};

// Why the missions stay as they are.
enum class MissionRefusal {
  gone,            // there is no such mission
  running,         // it runs now, or did until it was stopped by hand
  hardRoutine,     // hard routine is in force, and the change would loosen what runs
  emptyClipboard,  // there is no mission in the clipboard
  nothingToUndo,
};
template <class T>
using MissionResult = std::expected<T, MissionRefusal>;

// Whether what runs at `now` by the list `before` would end, or end earlier, or block less by the
// list `after`. Another mission may take its place if it is as strict.
bool loosens(const std::vector<ScheduleEntry>& before, const std::vector<ScheduleEntry>& after,
             Date now, const Calendar& calendar, const FocusPresetStore& presets);

// How the user changes the lists of missions: the one road for the windows and the command line,
// which share its undo steps, one for each change. It obeys the locks of the editors: the running
// mission is not changed, but by undo and redo, and under hard routine nothing loosens what is in
// force. A refused change
// changes nothing. Dates are any moment of their day. Main lane.
class MissionEditing {
 public:
  static constexpr std::string_view pasteboardType = "com.velmora.schedule-entry";

  struct Selection {
    Uuid id;
    Date date;  // start of the day on which it is shown
  };
  struct Ports {
    Clipboard& clipboard;
    Clock& clock;
    Random& random;
  };
  // All outlive this object.
  MissionEditing(ScheduleService& schedule, const TimerService& timer,
                 const FocusPresetStore& presets, const BlocklistStore& lists, const Ports& ports);
  MissionEditing(const MissionEditing&) = delete;
  MissionEditing& operator=(const MissionEditing&) = delete;

  // Emptied by whoever rewrites a list otherwise than through this class, and by a journey, after
  // which the same instants are other days.
  UndoManager undo;

  const std::vector<ScheduleEntry>& list(ScheduleOperatingMode planner) const;
  // Null for an unknown id.
  const ScheduleEntry* find(ScheduleOperatingMode planner, const Uuid& id) const;
  Date today() const;  // start of the day
  Uuid newID() const { return ports_.random.uuid(); }
  // The mission whose occurrence covers this moment, stopped or not: it is left alone.
  std::optional<Uuid> activeEntry() const;

  // Of either planner.
  //
  // A mission with a fresh identity that blocks what a session would block now: by the first
  // preset in Brak mode, otherwise by the user's lists, which it has in either mode. It is on no
  // list yet.
  ScheduleEntry newMission() const;
  MissionResult<void> addMission(ScheduleOperatingMode planner, ScheduleEntry entry);
  MissionResult<void> updateMission(ScheduleOperatingMode planner, const ScheduleEntry& updated,
                                    const std::string& actionName);
  MissionResult<void> removeMission(ScheduleOperatingMode planner, const Uuid& id);

  // Of the calendar planner.
  MissionResult<Selection> createMission(Date date, int start, int end);
  MissionResult<Selection> applyEditToSingleOccurrence(const PendingScheduleSeriesEdit& edit);
  MissionResult<Selection> applyEditToFutureOccurrences(const PendingScheduleSeriesEdit& edit);
  MissionResult<void> deleteSingleOccurrence(const PendingScheduleSeriesDelete& deletion);
  MissionResult<void> deleteFutureOccurrences(const PendingScheduleSeriesDelete& deletion);
  void copyMission(const ScheduleEntry& entry);
  MissionResult<Selection> pasteMission(Date on);
  MissionResult<Selection> duplicateMission(const ScheduleEntry& entry, Date on);

  // The names of the steps that were taken: "Move Mission".
  MissionResult<std::string> takeBack();
  MissionResult<std::string> doAgain();

 private:
  using Entries = std::vector<ScheduleEntry>;

  bool isHeld(ScheduleOperatingMode planner, const Entries& after) const;
  MissionResult<void> replace(ScheduleOperatingMode planner, Entries with,
                              const std::string& actionName);
  MissionResult<Selection> replace(Entries with, const std::string& actionName,
                                   const Selection& selection);
  // A copy of the list, and the place of the mission in it; refused when it may not be changed.
  struct Place {
    Entries entries;
    std::ptrdiff_t index = 0;
    ScheduleEntry& entry() { return entries[static_cast<size_t>(index)]; }
    void insertBehind(ScheduleEntry e) {
      entries.insert(entries.begin() + index + 1, std::move(e));
    }
    void remove() { entries.erase(entries.begin() + index); }
  };
  MissionResult<Place> open(ScheduleOperatingMode planner, const Uuid& id) const;
  MissionResult<std::string> step(const UndoManager::List* restores,
                                  std::optional<std::string> name, bool (UndoManager::*take)());

  std::chrono::local_days dayOf(Date date) const;
  Date startOf(std::chrono::local_days day) const;
  // The entry as a mission of its own that takes place once.
  ScheduleEntry onceOn(Date date, ScheduleEntry entry) const;
  void endBefore(ScheduleEntry& series, std::chrono::local_days day) const;
  MissionResult<Selection> place(ScheduleEntry entry, const std::string& actionName);

  ScheduleService& schedule_;
  const TimerService& timer_;
  const FocusPresetStore& presets_;
  const BlocklistStore& lists_;
  const Ports ports_;
  const Subscription travelled_;
};

}  // namespace velmora
