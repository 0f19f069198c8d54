#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/LateRef.h"
#include "base/Property.h"
#include "core/FocusPresetStore.h"
#include "core/FocusSessionCoordinator.h"
#include "core/StoredSwitch.h"
#include "core/TimerService.h"
#include "ports/Clock.h"
#include "ports/Log.h"
#include "ports/Preferences.h"
#include "ports/Random.h"
#include "ports/RunLoop.h"
#include "ports/ScheduleAgent.h"
#include "schedule/UndoManager.h"
#include "schedule/model/ScheduleEntry.h"

namespace velmora {

// Decides once a second whether a mission runs now, and starts, chains and ends the timer's
// scheduled block to match. It blocks nothing itself, and never refuses for hard routine except
// where said: what the user may do is a matter of the command table. Main lane only.
class ScheduleService final : public TimerService::Schedule {
 public:
  class Bridge {
   public:
    virtual ~Bridge() = default;
    virtual void blockStoppedHere(Uuid id) = 0;
  };
  struct Neighbours {
    LateRef<Bridge> bridge;
  };
  struct Ports {
    Preferences& preferences;
    Clock& clock;
    RunLoop& loop;
    Random& random;
    Log& log;
    ScheduleAgent& agent;
    SerialQueue& agentQueue;
  };
  struct Occurrence {
    ScheduleEntry entry;
    Date start;
    Date end;
  };

  // Loads; starts and saves nothing.
  ScheduleService(TimerService& timer, FocusPresetStore& presets, FocusSessionCoordinator& screens,
                  const StoredSwitch& uses24HourTime, const Ports& ports,
                  const Neighbours& neighbours);

  template <class T>
  using Value = Owned<T, ScheduleService>;
  Value<bool> isEnabled{false};
  Value<std::vector<ScheduleEntry>> entries;        // the calendar planner's
  Value<std::vector<ScheduleEntry>> simpleEntries;  // the simple planner's
  Value<ScheduleOperatingMode> operatingMode{ScheduleOperatingMode::calendar};
  Value<bool> hardRoutineEnabled{false};
  Value<std::string> nextBlockDescription;
  Value<bool> isCurrentlyInBlock{false};   // an occurrence covers this moment
  Value<bool> isHardRoutineActive{false};  // hard routine is in force right now
  Value<std::optional<Uuid>> activeEntryID;

  Calendar calendar() const;  // of the zone that the missions are expressed in now
  const std::vector<ScheduleEntry>& activeScheduleEntries() const;
  std::optional<Occurrence> activeOccurrence(Date at) const;
  bool isEntryCurrentlyActive(const ScheduleEntry& entry) const;
  bool overlaps(const ScheduleEntry& entry) const;
  bool simpleOverlaps(const ScheduleEntry& entry) const;
  std::string timeText(int minutes) const;  // as the setting of 24-hour time has it

  // Each saves, ticks and puts the watchdog in step 0.4 seconds later.
  void setEnabled(bool on);
  void setHardRoutineEnabled(bool on);
  // An equal list is no change. With an undo manager the step can be taken back.
  void replaceEntries(std::vector<ScheduleEntry> with, UndoManager* undoManager,
                      const std::string& actionName);
  void replaceSimpleEntries(std::vector<ScheduleEntry> with, UndoManager* undoManager,
                            const std::string& actionName);
  // False: refused, because a mission is running.
  bool changeOperatingMode(ScheduleOperatingMode to, bool interruptCurrent);

  void startMonitoring();
  void stopMonitoring();
  void tick();

  void scheduledTimerReachedBoundary() override;
  void suppressCurrentOccurrence() override;
  void activateEmergencyPass() override;
};

}  // namespace velmora
