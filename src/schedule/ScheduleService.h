#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/LateRef.h"
#include "base/Property.h"
#include "core/FocusPresetStore.h"
#include "core/FocusSessionCoordinator.h"
#include "core/Lifecycle.h"
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
// where said: what the user may do is a matter of the command table. A start is no event that could
// be missed: each tick compares what ought to run with what runs. Main lane only.
class ScheduleService final : public TimerService::Schedule, public Lifecycle::Schedule {
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

  // Loads, in the zone of the last save; starts and saves nothing. All outlive this object.
  ScheduleService(TimerService& timer, FocusPresetStore& presets, FocusSessionCoordinator& screens,
                  const StoredSwitch& uses24HourTime, const Ports& ports,
                  const Neighbours& neighbours);
  ScheduleService(const ScheduleService&) = delete;
  ScheduleService& operator=(const ScheduleService&) = delete;

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
  // Sent after the missions' dates are expressed in the zone that the user has come to.
  Signal<Zone> travelled;

  // Of the zone that the missions are expressed in now; a tick follows a traveller.
  const Calendar& calendar() const { return calendar_; }
  const std::vector<ScheduleEntry>& activeScheduleEntries() const;
  // Of missions that overlap, the one that began first.
  std::optional<Occurrence> activeOccurrence(Date at) const;
  // Whether its occurrence covers this moment, stopped or not: editors leave such a mission alone.
  bool isEntryCurrentlyActive(const ScheduleEntry& entry) const;
  bool hasPass() const;  // an emergency pass is in force
  bool overlaps(const ScheduleEntry& entry) const;
  bool simpleOverlaps(const ScheduleEntry& entry) const;
  std::string timeText(int minutes) const;  // as the setting of 24-hour time has it
  // What is stored for that planner could not be read, and the user has made no list in its place:
  // the empty one must not go to other devices.
  bool isListUnread(ScheduleOperatingMode planner) const;

  // Each saves, ticks and puts the watchdog in step 0.4 seconds later. An equal value is no change.
  void setEnabled(bool on);
  void setHardRoutineEnabled(bool on);
  // Dates become starts of days. With an undo manager, which must outlive this object, the step can
  // be taken back.
  void replaceEntries(std::vector<ScheduleEntry> with, UndoManager* undoManager,
                      const std::string& actionName);
  void replaceSimpleEntries(std::vector<ScheduleEntry> with, UndoManager* undoManager,
                            const std::string& actionName);
  // False: refused, because a mission is running. Forfeits a pass.
  bool changeOperatingMode(ScheduleOperatingMode to, bool interruptCurrent);

  // From here on a tick comes once a second, while there is a mission in force that could be due.
  void startMonitoring() override;
  // No tick does anything any more, and the watchdog is told at once what it still has to know.
  void stopMonitoring() override;
  // The user ends the program: until the next start of a mission the watchdog leaves it away.
  void noteQuit() override;
  // Idempotent for a moment. Reached from inside itself, it asks for another round and returns.
  void tick();

  void scheduledTimerReachedBoundary() override { tick(); }
  void suppressCurrentOccurrence() override;
  Preferences::Changes activateEmergencyPass() override;

 private:
  // An occurrence of today, as an index into the list in force.
  struct Slot {
    size_t index;
    Date start;
    Date end;
  };
  struct Day {
    std::chrono::local_days day;
    Date start;
    Date end;
    std::vector<Slot> slots;  // in the order in which they claim a moment
  };
  // An occurrence, wherever the user is.
  struct Civil {
    Uuid entryID;
    std::chrono::local_days day;
    bool operator==(const Civil&) const = default;
  };
  struct Next {
    Date foundAt;
    std::chrono::local_days day;  // of foundAt
    std::optional<Slot> slot;
    std::chrono::local_days slotDay;
  };

  Value<std::vector<ScheduleEntry>>& listOf(ScheduleOperatingMode planner);
  void load();
  std::vector<ScheduleEntry> loadList(ScheduleOperatingMode planner);
  void save();
  Preferences::Changes passChanges() const;
  void didChange();
  void syncScheduleAgentSoon();
  void syncScheduleAgent();
  void replace(ScheduleOperatingMode planner, std::vector<ScheduleEntry> with,
               UndoManager* undoManager, const std::string& actionName);

  const Day& dayOf(Date at) const;
  const Slot* slotAt(Date at) const;
  std::optional<Civil> civilAt(Date at) const;
  void forgetDerived();

  void round();
  void followZone();
  void forgetPass();
  void keepTicking();
  void noteStepBack(Date now);
  bool isStopped(const Uuid& entryID, Date now);
  bool isRunning(const Uuid& entryID, const Slot& occurrence) const;
  void startMission(const Slot& occurrence);
  void endMission(bool recordCompletion, Date now);
  void refreshNextBlock(Date now);
  Next findNext(Date now) const;

  TimerService& timer_;
  FocusPresetStore& presets_;
  FocusSessionCoordinator& screens_;
  const StoredSwitch& uses24HourTime_;
  const Ports ports_;
  const Neighbours& neighbours_;

  Calendar calendar_;
  std::optional<Date> passBlockedUntil_;
  std::optional<Civil> passed_;   // what the pass was used on
  std::optional<Civil> stopped_;  // what the user has stopped by hand
  // Stored lists that could not be read, until they are set aside, and what they were lists of,
  // until the user makes another one.
  std::map<ScheduleOperatingMode, PreferenceValue> damaged_;
  std::set<ScheduleOperatingMode> unread_;
  mutable std::optional<Day> day_;
  std::optional<Next> next_;
  enum class Monitoring { notYet, on, stopped };
  Monitoring monitoring_ = Monitoring::notYet;
  bool isTicking_ = false;
  bool ticksAgain_ = false;

  Subscription monitor_;
  Subscription agentSync_;
};

}  // namespace velmora
