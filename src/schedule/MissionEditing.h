#pragma once

#include <optional>
#include <string>

#include "ports/Clipboard.h"
#include "ports/Random.h"
#include "schedule/ScheduleService.h"
#include "schedule/UndoManager.h"

namespace velmora {

enum class ScheduleSeriesEditKind { move, resize };

// An edit of a series, while the user chooses what it is for.
struct PendingScheduleSeriesEdit {
  ScheduleEntry original;
  ScheduleEntry updated;
  Date occurrenceDate;
  Date targetDate;
  ScheduleSeriesEditKind kind = ScheduleSeriesEditKind::move;
};
struct PendingScheduleSeriesDelete {
  ScheduleEntry entry;
  Date occurrenceDate;
};
// A mission being drawn.
struct ScheduleDraft {
  Date date;
  int start = 0;  // minutes of the day
  int end = 0;
};

// How the planners change the lists of missions. Each change is one step of `undo`, which the
// windows and the command line share. Main lane. Never refuses for a lock: that is a matter of the
// command table.
class MissionEditing {
 public:
  struct Selection {
    Uuid id;
    Date date;  // start of the day on which it is shown
  };
  // Both outlive this object.
  MissionEditing(ScheduleService& schedule, FocusPresetStore& presets, Clipboard& clipboard,
                 Random& random);

  UndoManager undo;

  std::optional<Selection> applyEditToSingleOccurrence(const PendingScheduleSeriesEdit& edit);
  std::optional<Selection> applyEditToFutureOccurrences(const PendingScheduleSeriesEdit& edit);
  void deleteSingleOccurrence(const PendingScheduleSeriesDelete& deletion);
  void deleteFutureOccurrences(const PendingScheduleSeriesDelete& deletion);
  Selection createMission(Date date, int start, int end);
  void copyMission(const ScheduleEntry& entry);
  void cutMission(const ScheduleEntry& entry);
  // Nothing when the clipboard holds no mission.
  std::optional<Selection> pasteMission(Date on);
  Selection duplicateMission(const ScheduleEntry& entry, Date on);
};

}  // namespace velmora
