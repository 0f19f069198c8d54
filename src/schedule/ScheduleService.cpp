#include "schedule/ScheduleService.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "core/StoredSettings.h"
#include "core/model/AppTimeFormat.h"
#include "schedule/ScheduleWatch.h"

namespace velmora {
namespace {

namespace chrono = std::chrono;
using chrono::local_days;
using Mode = ScheduleOperatingMode;

constexpr const char* kEnabledKey = "vm_schedule_enabled";
constexpr const char* kModeKey = "vm_schedule_planner_mode";
constexpr const char* kHardRoutineKey = "vm_schedule_hardRoutine_v3";
constexpr const char* kPassKey = "vm_schedule_passUntil";
constexpr const char* kPassEntryKey = "vm_schedule_passEntry";
constexpr const char* kPassDayKey = "vm_schedule_passDay";  // days since 1970
constexpr const char* kQuitKey = "vm_schedule_quitAt";  // which the watchdog reads as well
constexpr const char* kAutoStartedKey = "vm_schedule_autoStarted";
constexpr const char* kZoneKey = "vm_schedule_zone";  // in which the stored dates are days

constexpr Seconds kTick(1.0);
constexpr Seconds kTickTolerance(0.1);
constexpr Seconds kAgentDelay(0.4);  // a burst of edits rewrites the watchdog once
constexpr Seconds kNoticeDuration(5.0);
constexpr Seconds kPassWithoutMission(3600);
constexpr int kLookAheadDays = 7;
constexpr int kEndOfDay = 1440;

std::string listKey(Mode planner) {
  return planner == Mode::simple ? "vm_schedule_simple_entries_v1" : "vm_schedule_entries";
}
std::string unreadKey(Mode planner) {
  return listKey(planner) + "_unread";
}
// The first one is not overwritten: it may be the one that matters.
std::string damagedKey(Mode planner, const Preferences& preferences) {
  const std::string first = listKey(planner) + "_damaged";
  std::string key = first;
  for (int n = 2; preferences.has(key); ++n) key = first + "_" + std::to_string(n);
  return key;
}

// Rounded up to minutes, then to the nearest hour or day.
std::string relativeText(Seconds until) {
  const auto minutes = static_cast<int64_t>(std::ceil(until.count() / 60));
  const auto text = [](int64_t n, const char* unit) {
    return "in " + std::to_string(n) + " " + unit;
  };
  if (minutes < 60) return text(minutes, "min.");
  const int64_t hours = (minutes + 30) / 60;
  if (hours < 24) return text(hours, "hr.");
  const int64_t days = (hours + 12) / 24;
  return text(days, days == 1 ? "day" : "days");
}

}  // namespace

ScheduleService::ScheduleService(TimerService& timer, FocusPresetStore& presets,
                                 FocusSessionCoordinator& screens,
                                 const StoredSwitch& uses24HourTime, const Ports& ports,
                                 const Neighbours& neighbours)
    : timer_(timer),
      presets_(presets),
      screens_(screens),
      uses24HourTime_(uses24HourTime),
      ports_(ports),
      neighbours_(neighbours),
      calendar_(ports.clock.zone()) {
  load();
}

// --- loading and saving --------------------------------------------------------------------------

void ScheduleService::load() {
  const Preferences& preferences = ports_.preferences;
  // Whoever has travelled meanwhile is followed by the first tick.
  if (const auto zone = Zone::named(preferences.text(kZoneKey).value_or("")))
    calendar_ = Calendar(*zone);
  isEnabled.set(preferences.boolean(kEnabledKey));
  for (const Mode planner : {Mode::calendar, Mode::simple}) {
    if (preferences.boolean(unreadKey(planner))) unread_.insert(planner);
    listOf(planner).set(loadList(planner));
  }
  if (preferences.text(kModeKey) == "simple") operatingMode.set(Mode::simple);
  hardRoutineEnabled.set(preferences.has(kHardRoutineKey)
                             ? preferences.boolean(kHardRoutineKey)
                             : loadPomodoroSettings(preferences).isHardcore);
  if (const double until = preferences.number(kPassKey); until > 0)
    passBlockedUntil_ = Date::sinceUnixEpoch(until);
  if (const auto id = Uuid::parse(preferences.text(kPassEntryKey).value_or("")))
    passed_ = Civil{*id, local_days(chrono::days(preferences.integer(kPassDayKey)))};
}

std::vector<ScheduleEntry> ScheduleService::loadList(Mode planner) {
  const Preferences& preferences = ports_.preferences;
  const std::string key = listKey(planner);
  const auto stored = preferences.read(key);
  if (!stored) return {};
  const auto global = [&preferences]<class T>(const char* name) -> json::Result<std::vector<T>> {
    const auto blob = preferences.blob(name);
    if (!blob) return std::vector<T>{};
    return json::decodeText<std::vector<T>>(*blob);
  };
  const PomodoroSettings settings = loadPomodoroSettings(preferences);
  const bool wasBrak = settings.isBrakModeEnabled && !settings.isSoftBlocklistEnabled;
  const ScheduleEntry::Older older{
      wasBrak ? ScheduleProtectionMode::brak : ScheduleProtectionMode::soft,
      [&] { return global.template operator()<BlockedApp>("vm_blockedApps"); },
      [&] { return global.template operator()<BlockedSite>("vm_blockedSites"); },
      [this] { return ports_.random.uuid(); }};
  auto value = json::parse(preferences.blob(key).value_or(""));
  auto list = value ? decodeScheduleEntries(*value, calendar_, older)
                    : json::Result<std::vector<ScheduleEntry>>(std::unexpected(value.error()));
  if (!list) {
    damaged_.emplace(planner, *stored);
    unread_.insert(planner);
    return {};
  }
  return std::move(*list);
}

void ScheduleService::save() {
  const auto blob = [](const std::vector<ScheduleEntry>& list) {
    return blobValue(json::dump(encodeScheduleEntries(list)));
  };
  const bool isSimple = operatingMode.get() == Mode::simple;
  Preferences::Changes changes{{listKey(Mode::calendar), blob(entries.get())},
                               {listKey(Mode::simple), blob(simpleEntries.get())},
                               {kEnabledKey, isEnabled.get()},
                               {kModeKey, isSimple ? "simple" : "calendar"},
                               {kHardRoutineKey, hardRoutineEnabled.get()},
                               {kZoneKey, calendar_.zone().name()}};
  for (auto& [planner, value] : std::exchange(damaged_, {})) {
    const std::string key = damagedKey(planner, ports_.preferences);
    ports_.log.notice("Missions: a stored list that could not be read is kept as " + key);
    changes.emplace_back(key, std::move(value));
  }
  for (const Mode planner : {Mode::calendar, Mode::simple}) {
    std::optional<PreferenceValue> mark;
    if (unread_.contains(planner)) mark = true;
    changes.emplace_back(unreadKey(planner), mark);
  }
  for (auto& change : passChanges()) changes.push_back(std::move(change));
  ports_.preferences.write(changes);
}

Preferences::Changes ScheduleService::passChanges() const {
  std::optional<PreferenceValue> until, id, day;
  if (passBlockedUntil_) until = passBlockedUntil_->secondsSinceUnixEpoch();
  if (passBlockedUntil_ && passed_) {
    id = passed_->entryID.text();
    day = int64_t{passed_->day.time_since_epoch().count()};
  }
  return {{kPassKey, until}, {kPassEntryKey, id}, {kPassDayKey, day}};
}

bool ScheduleService::isListUnread(Mode planner) const {
  return unread_.contains(planner);
}

// --- what the user changes -----------------------------------------------------------------------

ScheduleService::Value<std::vector<ScheduleEntry>>& ScheduleService::listOf(Mode planner) {
  return planner == Mode::simple ? simpleEntries : entries;
}

void ScheduleService::didChange() {
  forgetDerived();
  save();
  tick();
  syncScheduleAgentSoon();
}

void ScheduleService::setEnabled(bool on) {
  if (on != isEnabled.get()) isEnabled.set(on, [this] { didChange(); });
}

void ScheduleService::setHardRoutineEnabled(bool on) {
  if (on != hardRoutineEnabled.get()) hardRoutineEnabled.set(on, [this] { didChange(); });
}

void ScheduleService::replaceEntries(std::vector<ScheduleEntry> with, UndoManager* undoManager,
                                     const std::string& actionName) {
  replace(Mode::calendar, std::move(with), undoManager, actionName);
}

void ScheduleService::replaceSimpleEntries(std::vector<ScheduleEntry> with,
                                           UndoManager* undoManager,
                                           const std::string& actionName) {
  replace(Mode::simple, std::move(with), undoManager, actionName);
}

void ScheduleService::replace(Mode planner, std::vector<ScheduleEntry> with,
                              UndoManager* undoManager, const std::string& actionName) {
  auto& list = listOf(planner);
  for (auto& entry : with) entry.normalizeDates(calendar_);
  if (with == list.get()) return;
  const std::vector<ScheduleEntry> old = list.get();
  const Calendar oldCalendar = calendar_;
  unread_.erase(planner);
  list.set(std::move(with), [this] { didChange(); });
  if (!undoManager) return;
  undoManager->registerUndo(actionName, {planner, old},
                            [this, planner, old, oldCalendar, undoManager, actionName] {
                              auto restored = old;
                              // The user may have travelled since.
                              for (auto& e : restored) e.moveDates(oldCalendar, calendar_);
                              replace(planner, std::move(restored), undoManager, actionName);
                            });
}

bool ScheduleService::changeOperatingMode(Mode to, bool interruptCurrent) {
  if (to == operatingMode.get()) return true;
  if (isCurrentlyInBlock.get()) {
    if (hardRoutineEnabled.get() || !interruptCurrent) return false;
    if (timer_.isScheduledSessionActive.get()) timer_.endScheduledBlock(false);
  }
  stopped_.reset();
  forgetPass();
  operatingMode.set(to, [this] { didChange(); });
  return true;
}

// --- questions -----------------------------------------------------------------------------------

const std::vector<ScheduleEntry>& ScheduleService::activeScheduleEntries() const {
  return operatingMode.get() == Mode::simple ? simpleEntries.get() : entries.get();
}

bool ScheduleService::overlaps(const ScheduleEntry& entry) const {
  return overlapsAny(entry, entries.get(), calendar_);
}

bool ScheduleService::simpleOverlaps(const ScheduleEntry& entry) const {
  return overlapsAny(entry, simpleEntries.get(), calendar_);
}

std::string ScheduleService::timeText(int minutes) const {
  return AppTimeFormat::string(minutes, uses24HourTime_.isOn.get());
}

bool ScheduleService::hasPass() const {
  return passBlockedUntil_ && ports_.clock.now() < *passBlockedUntil_;
}

std::optional<ScheduleService::Occurrence> ScheduleService::activeOccurrence(Date at) const {
  const Slot* slot = slotAt(at);
  if (!slot) return {};
  return Occurrence{activeScheduleEntries()[slot->index], slot->start, slot->end};
}

bool ScheduleService::isEntryCurrentlyActive(const ScheduleEntry& entry) const {
  const Slot* slot = slotAt(ports_.clock.now());
  return slot && activeScheduleEntries()[slot->index].id == entry.id;
}

// The civil work of a day is done once; a tick then only compares instants.
const ScheduleService::Day& ScheduleService::dayOf(Date at) const {
  if (day_ && at >= day_->start && at < day_->end) return *day_;
  const local_days day = ScheduleCalendarMath::day(at, calendar_);
  Day& today =
      day_.emplace(Day{day, calendar_.instant(day, 0), calendar_.instant(day, kEndOfDay), {}});
  const auto& list = activeScheduleEntries();
  for (size_t i = 0; i < list.size(); ++i)
    if (const auto times = list[i].occurrence(day, calendar_))
      today.slots.push_back({i, times->first, times->second});
  std::ranges::stable_sort(today.slots, {}, [&](const Slot& slot) {
    return std::pair(list[slot.index].startMinutes, list[slot.index].endMinutes);
  });
  return today;
}

const ScheduleService::Slot* ScheduleService::slotAt(Date at) const {
  if (!isEnabled.get()) return nullptr;
  const auto& slots = dayOf(at).slots;
  const auto it = std::ranges::find_if(
      slots, [at](const Slot& slot) { return slot.start <= at && at < slot.end; });
  return it == slots.end() ? nullptr : &*it;
}

std::optional<ScheduleService::Civil> ScheduleService::civilAt(Date at) const {
  const Slot* slot = slotAt(at);
  if (!slot) return {};
  return Civil{activeScheduleEntries()[slot->index].id, dayOf(at).day};
}

void ScheduleService::forgetDerived() {
  day_.reset();
  next_.reset();
}

// --- the tick ------------------------------------------------------------------------------------

void ScheduleService::startMonitoring() {
  monitoring_ = Monitoring::on;
  ports_.preferences.remove(kQuitKey);
  monitor_.reset();
  syncScheduleAgent();
  tick();
}

void ScheduleService::stopMonitoring() {
  monitoring_ = Monitoring::stopped;
  monitor_.reset();
  if (agentSync_) syncScheduleAgent();
}

void ScheduleService::noteQuit() {
  const double now = std::floor(ports_.clock.now().secondsSinceUnixEpoch());
  ports_.preferences.set(kQuitKey, static_cast<int64_t>(now));
}

void ScheduleService::tick() {
  if (monitoring_ == Monitoring::stopped) return;
  ticksAgain_ = true;
  if (isTicking_) return;
  isTicking_ = true;
  while (std::exchange(ticksAgain_, false)) round();
  isTicking_ = false;
  keepTicking();
}

// Without any mission the program sleeps until something is changed. Missions that are not in force
// keep it awake all the same: their days follow a traveller.
void ScheduleService::keepTicking() {
  const bool isPlanned = !entries.get().empty() || !simpleEntries.get().empty();
  if (monitoring_ != Monitoring::on || (!isPlanned && !passBlockedUntil_))
    monitor_.reset();
  else if (!monitor_)
    monitor_ = ports_.loop.every(kTick, kTickTolerance, [this] { tick(); });
}

// An observer that changes the schedule meanwhile has asked for another round: this one ends where
// it would go by what no longer holds.
void ScheduleService::round() {
  followZone();
  const Date now = ports_.clock.now();
  std::optional<Slot> occurrence;  // a copy: observers may change the schedule below
  if (const Slot* slot = slotAt(now)) occurrence = *slot;
  isCurrentlyInBlock.setIfChanged(occurrence.has_value());
  if (ticksAgain_) return;

  if (!occurrence) stopped_.reset();
  // A pass that has run out is over for good, also when the clock is then set back.
  if (!occurrence || (passBlockedUntil_ && now >= *passBlockedUntil_)) forgetPass();
  const bool isPassActive = passBlockedUntil_.has_value();

  const bool isHard = occurrence && hardRoutineEnabled.get() && !isPassActive;
  isHardRoutineActive.setIfChanged(isHard);
  if (ticksAgain_) return;
  timer_.setScheduledHardModeActive(isHard);
  if (ticksAgain_) return;

  if (!occurrence || isPassActive) {
    endMission(!isPassActive, now);
  } else {
    const Uuid id = activeScheduleEntries()[occurrence->index].id;
    const bool isLeftAlone = isStopped(id, now) && !hardRoutineEnabled.get();
    // A mission that was put in front of the stopped one is over, and nothing takes its place. The
    // stopped one itself is just being ended by whoever stopped it.
    const bool runsAnother =
        timer_.isScheduledSessionActive.get() && timer_.scheduledBlockID.get() != id;
    if (isLeftAlone && runsAnother) endMission(true, now);
    if (isLeftAlone || isRunning(id, *occurrence))
      activeEntryID.setIfChanged(id);
    else
      startMission(*occurrence);
  }
  refreshNextBlock(now);
}

// Missions go by the clock on the wall of wherever the user is: their dates stay the same civil
// days in another zone. A pass is for the rest of one mission, which now ends when the clock on
// this wall says so; where another one or none is due, it is over.
void ScheduleService::followZone() {
  Zone zone = ports_.clock.zone();
  if (zone == calendar_.zone()) return;
  const Calendar from = std::exchange(calendar_, Calendar(std::move(zone)));
  const auto moved = [&](std::vector<ScheduleEntry> list) {
    for (auto& entry : list) entry.moveDates(from, calendar_);
    return list;
  };
  forgetDerived();
  entries.setIfChanged(moved(entries.get()));
  forgetDerived();  // what an observer has asked for meanwhile
  simpleEntries.setIfChanged(moved(simpleEntries.get()));
  forgetDerived();
  if (passBlockedUntil_) {
    const Date now = ports_.clock.now();
    const bool isSame = passed_ && civilAt(now) == passed_;
    passBlockedUntil_ = isSame ? std::optional(slotAt(now)->end) : std::nullopt;
  }
  travelled.send(calendar_.zone());
  save();
  syncScheduleAgentSoon();
}

void ScheduleService::forgetPass() {
  passBlockedUntil_.reset();
  passed_.reset();
  ports_.preferences.write(passChanges());
}

// A stop holds for the rest of that occurrence and for no later one.
bool ScheduleService::isStopped(const Uuid& entryID, Date now) {
  if (!stopped_) return false;
  const Day& today = dayOf(now);
  const auto& list = activeScheduleEntries();
  const bool holds =
      stopped_->day == today.day && std::ranges::any_of(today.slots, [&](const Slot& slot) {
        return list[slot.index].id == stopped_->entryID && slot.start <= now && now < slot.end;
      });
  if (!holds) stopped_.reset();
  return holds && stopped_->entryID == entryID;
}

// With its present times: they differ from those handed over when the mission goes on into another
// day, or after an edit or a journey.
bool ScheduleService::isRunning(const Uuid& entryID, const Slot& occurrence) const {
  return timer_.isScheduledSessionActive.get() && timer_.scheduledBlockID.get() == entryID &&
         timer_.scheduledStartDate() == occurrence.start &&
         timer_.scheduledEndDate() == occurrence.end;
}

void ScheduleService::startMission(const Slot& occurrence) {
  const ScheduleEntry entry = activeScheduleEntries()[occurrence.index];
  const bool isSame =
      timer_.isScheduledSessionActive.get() && timer_.scheduledBlockID.get() == entry.id;
  const Date now = ports_.clock.now();
  noteStepBack(now);
  // Another occurrence of it is over, or has not begun after all.
  if (isSame && (timer_.scheduledEndDate() <= now || now < timer_.scheduledStartDate()))
    timer_.endScheduledBlock(true);
  if (stopped_ && stopped_->entryID == entry.id) stopped_.reset();

  const bool isSoft = entry.protectionMode == ScheduleProtectionMode::soft;
  const FocusPreset* preset = isSoft ? nullptr : presets_.resolve(entry.presetID);
  timer_.expectScheduledBlock(true);
  const std::string presetName = preset ? preset->name : "Focus protection";
  if (preset)
    presets_.beginFocus(*preset, entry.label);
  else
    presets_.clearActiveContext();
  screens_.dismissFocusSelection();

  TimerService::ScheduledBlock block;
  block.entryID = entry.id;
  block.missionName = entry.label;
  block.startDate = occurrence.start;
  block.endDate = occurrence.end;
  block.protectionMode = entry.protectionMode;
  block.protectionName = isSoft ? "Soft protection" : presetName;
  if (isSoft) {
    block.blockedApps = entry.softBlockedApps;
    block.blockedSites = entry.softBlockedSites;
  }
  block.rhythm = entry.rhythm;
  block.showFloatingProgress = entry.showFloatingProgress;
  timer_.startScheduledBlock(block);
  if (!isRunning(entry.id, occurrence)) {  // its end has just passed
    presets_.clearActiveContext();
    timer_.expectScheduledBlock(false);
    return;
  }
  activeEntryID.setIfChanged(entry.id);
  ports_.preferences.set(kAutoStartedKey, true);
  screens_.showScheduledTransition({entry.label, isSoft ? "Soft Block" : presetName,
                                    timeText(entry.startMinutes) + " – " +
                                        timeText(entry.endMinutes) + " · " +
                                        std::string(title(entry.rhythm)),
                                    kNoticeDuration});
}

void ScheduleService::endMission(bool recordCompletion, Date now) {
  noteStepBack(now);
  timer_.endScheduledBlock(recordCompletion);
  activeEntryID.setIfChanged(std::nullopt);
  ports_.preferences.set(kAutoStartedKey, false);
  screens_.dismissScheduledTransition();
}

void ScheduleService::noteStepBack(Date now) {
  if (const auto start = timer_.scheduledStartDate(); start && now < *start)
    ports_.log.notice("Missions: the clock was set back to before the start of “" +
                      timer_.scheduledMissionName.get() + "”, which ends");
}

// --- stop and pass -------------------------------------------------------------------------------

void ScheduleService::suppressCurrentOccurrence() {
  if (hardRoutineEnabled.get()) return;
  const Date now = ports_.clock.now();
  auto id = activeEntryID.get();
  if (const Slot* slot = slotAt(now); !id && slot) id = activeScheduleEntries()[slot->index].id;
  stopped_.reset();
  if (id) stopped_ = Civil{*id, dayOf(now).day};
  ports_.preferences.set(kAutoStartedKey, false);
  if (id && neighbours_.bridge) neighbours_.bridge->blockStoppedHere(*id);
}

Preferences::Changes ScheduleService::activateEmergencyPass() {
  stopped_.reset();
  const Date now = ports_.clock.now();
  const Slot* slot = slotAt(now);
  const Date until = slot ? slot->end : now + kPassWithoutMission;
  passBlockedUntil_ = until;
  passed_ = civilAt(now);
  isHardRoutineActive.setIfChanged(false);
  timer_.setScheduledHardModeActive(false);
  screens_.dismissScheduledTransition();
  keepTicking();  // until the pass is over
  return passChanges();
}

// --- the next mission ----------------------------------------------------------------------------

void ScheduleService::refreshNextBlock(Date now) {
  if (!isEnabled.get()) {
    nextBlockDescription.setIfChanged("");
    return;
  }
  const local_days today = dayOf(now).day;
  const bool stands = next_ && next_->day == today && now >= next_->foundAt &&
                      (!next_->slot || now < next_->slot->start);
  if (!stands) next_ = findNext(now);
  if (!next_->slot) {
    nextBlockDescription.setIfChanged("");
    return;
  }
  const ScheduleEntry& entry = activeScheduleEntries()[next_->slot->index];
  const auto days = (next_->slotDay - today).count();
  const std::string day = days == 0   ? "Today"
                          : days == 1 ? "Tomorrow"
                                      : std::string(fullName(weekdayOf(next_->slotDay)));
  nextBlockDescription.setIfChanged(entry.label + " · " + day + " " + timeText(entry.startMinutes) +
                                    " · " + relativeText(next_->slot->start - now));
}

ScheduleService::Next ScheduleService::findNext(Date now) const {
  const local_days today = dayOf(now).day;
  const auto& list = activeScheduleEntries();
  Next next{now, today, {}, {}};
  const auto consider = [&](size_t index, local_days day) {
    const auto times = list[index].occurrence(day, calendar_);
    if (!times || times->first <= now) return;
    if (next.slot && next.slot->start <= times->first) return;
    next.slot = Slot{index, times->first, times->second};
    next.slotDay = day;
  };
  const auto isOnce = [](const ScheduleEntry& e) {
    return e.recurrence == ScheduleRecurrence::once;
  };
  for (size_t i = 0; i < list.size(); ++i)
    if (isOnce(list[i]) && list[i].scheduledDate)
      consider(i, ScheduleCalendarMath::day(*list[i].scheduledDate, calendar_));
  for (int offset = 0; offset <= kLookAheadDays; ++offset)
    for (size_t i = 0; i < list.size(); ++i)
      if (!isOnce(list[i])) consider(i, today + chrono::days(offset));
  return next;
}

// --- the watchdog --------------------------------------------------------------------------------

void ScheduleService::syncScheduleAgentSoon() {
  agentSync_ = ports_.loop.after(kAgentDelay, [this] { syncScheduleAgent(); });
}

void ScheduleService::syncScheduleAgent() {
  agentSync_.reset();
  WatchTable table;
  if (isEnabled.get())
    table = makeWatchTable(activeScheduleEntries(), calendar_, ports_.clock.now(),
                           hardRoutineEnabled.get());
  ports_.agentQueue.post([&agent = ports_.agent, table = std::move(table)] {
    if (table.entries.empty())
      agent.remove();
    else
      agent.install(table);
  });
}

}  // namespace velmora
