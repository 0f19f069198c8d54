#include "schedule/MissionEditing.h"

#include <algorithm>
#include <utility>

#include "base/Domain.h"

namespace velmora {
namespace {

using std::chrono::days;
using std::chrono::local_days;
using Entries = std::vector<ScheduleEntry>;

constexpr auto kCalendar = ScheduleOperatingMode::calendar;

struct Covering {
  const ScheduleEntry* entry = nullptr;
  Date start;
  Date end;
};

// What the schedule would run: of those that cover the moment the first to start, then to end.
std::optional<Covering> covering(const Entries& entries, Date now, const Calendar& calendar) {
  std::optional<Covering> best;
  const auto minutes = [](const ScheduleEntry& e) {
    return std::pair(e.startMinutes, e.endMinutes);
  };
  const local_days day = ScheduleCalendarMath::day(now, calendar);
  for (const auto& entry : entries) {
    const auto span = entry.occurrence(day, calendar);
    if (!span || now < span->first || now >= span->second) continue;
    if (!best || minutes(entry) < minutes(*best->entry))
      best = Covering{&entry, span->first, span->second};
  }
  return best;
}

// A mission blocks all that it lists, in the form in which sites are judged.
bool blocksAllOf(const ScheduleEntry& was, const ScheduleEntry& is) {
  DomainSet sites;
  for (const auto& site : is.softBlockedSites)
    if (auto domain = normalizedDomain(site.domain)) sites.insert(std::move(*domain));
  const auto hasApp = [&](const BlockedApp& app) {
    return std::ranges::find(is.softBlockedApps, app.bundleID, &BlockedApp::bundleID) !=
           is.softBlockedApps.end();
  };
  const auto hasSite = [&](const BlockedSite& site) {
    const auto domain = normalizedDomain(site.domain);
    return !domain || matches(*domain, sites);
  };
  return std::ranges::all_of(was.softBlockedApps, hasApp) &&
         std::ranges::all_of(was.softBlockedSites, hasSite);
}

// Each mode leaves open what the other closes, as do two presets.
bool isSofter(const ScheduleEntry& was, const ScheduleEntry& is, const FocusPresetStore& presets) {
  if (is.protectionMode != was.protectionMode) return true;
  if (was.protectionMode == ScheduleProtectionMode::brak)
    return presets.resolve(is.presetID) != presets.resolve(was.presetID);
  return !blocksAllOf(was, is);
}

// Breaks lift the blocks, and a start that moves brings them at other times.
bool hasOtherBreaks(const Covering& was, const Covering& is) {
  if (is.entry->rhythm == ScheduleRhythm::continuous) return false;
  return was.entry->rhythm == ScheduleRhythm::continuous || is.start != was.start;
}

void appendExcludedDate(ScheduleEntry& entry, Date day) {
  if (std::ranges::find(entry.excludedDates, day) == entry.excludedDates.end())
    entry.excludedDates.push_back(day);
}

}  // namespace

bool loosens(const Entries& before, const Entries& after, Date now, const Calendar& calendar,
             const FocusPresetStore& presets) {
  const auto was = covering(before, now, calendar);
  if (!was) return false;
  const auto is = covering(after, now, calendar);
  return !is || is->end < was->end || isSofter(*was->entry, *is->entry, presets) ||
         hasOtherBreaks(*was, *is);
}

MissionEditing::MissionEditing(ScheduleService& schedule, const TimerService& timer,
                               const FocusPresetStore& presets, const BlocklistStore& lists,
                               const Ports& ports)
    : schedule_(schedule),
      timer_(timer),
      presets_(presets),
      lists_(lists),
      ports_(ports),
      travelled_(schedule.travelled.subscribe([this](const Zone&) { undo.removeAllActions(); })) {
}

const Entries& MissionEditing::list(ScheduleOperatingMode planner) const {
  return planner == ScheduleOperatingMode::simple ? schedule_.simpleEntries.get()
                                                  : schedule_.entries.get();
}

const ScheduleEntry* MissionEditing::find(ScheduleOperatingMode planner, const Uuid& id) const {
  const auto& all = list(planner);
  const auto at = std::ranges::find(all, id, &ScheduleEntry::id);
  return at == all.end() ? nullptr : &*at;
}

local_days MissionEditing::dayOf(Date date) const {
  return ScheduleCalendarMath::day(date, schedule_.calendar());
}

Date MissionEditing::startOf(local_days day) const {
  return schedule_.calendar().instant(day, 0);
}

Date MissionEditing::today() const {
  return startOf(dayOf(ports_.clock.now()));
}

std::optional<Uuid> MissionEditing::activeEntry() const {
  const auto occurrence = schedule_.activeOccurrence(ports_.clock.now());
  return occurrence ? std::optional(occurrence->entry.id) : std::nullopt;
}

// --- the road to the lists -----------------------------------------------------------------------

bool MissionEditing::isHeld(ScheduleOperatingMode planner, const Entries& after) const {
  if (!schedule_.isHardRoutineActive.get() || planner != schedule_.operatingMode.get())
    return false;
  return loosens(list(planner), after, ports_.clock.now(), schedule_.calendar(), presets_);
}

MissionResult<void> MissionEditing::replace(ScheduleOperatingMode planner, Entries with,
                                            const std::string& actionName) {
  if (isHeld(planner, with)) return std::unexpected(MissionRefusal::hardRoutine);
  if (planner == ScheduleOperatingMode::simple)
    schedule_.replaceSimpleEntries(std::move(with), &undo, actionName);
  else
    schedule_.replaceEntries(std::move(with), &undo, actionName);
  return {};
}

MissionResult<MissionEditing::Place> MissionEditing::open(ScheduleOperatingMode planner,
                                                          const Uuid& id) const {
  const auto& all = list(planner);
  const auto at = std::ranges::find(all, id, &ScheduleEntry::id);
  if (at == all.end()) return std::unexpected(MissionRefusal::gone);
  if (planner == schedule_.operatingMode.get() && schedule_.isEntryCurrentlyActive(*at))
    return std::unexpected(schedule_.isHardRoutineActive.get() ? MissionRefusal::hardRoutine
                                                               : MissionRefusal::running);
  return Place{all, at - all.begin()};
}

MissionResult<std::string> MissionEditing::takeBack() {
  return step(undo.undoRestores(), undo.undoActionName(), &UndoManager::undo);
}

MissionResult<std::string> MissionEditing::doAgain() {
  return step(undo.redoRestores(), undo.redoActionName(), &UndoManager::redo);
}

MissionResult<std::string> MissionEditing::step(const UndoManager::List* restores,
                                                std::optional<std::string> name,
                                                bool (UndoManager::*take)()) {
  if (!restores) return std::unexpected(MissionRefusal::nothingToUndo);
  if (isHeld(restores->planner, restores->entries))
    return std::unexpected(MissionRefusal::hardRoutine);
  (undo.*take)();
  return name.value_or("");
}

// --- missions of either planner ------------------------------------------------------------------

ScheduleEntry MissionEditing::newMission() const {
  ScheduleEntry entry;
  entry.id = ports_.random.uuid();
  const auto& settings = timer_.settings.get();
  const auto& presets = presets_.presets.get();
  const bool isBrak = settings.isBrakModeEnabled && !settings.isSoftBlocklistEnabled;
  entry.protectionMode = isBrak ? ScheduleProtectionMode::brak : ScheduleProtectionMode::soft;
  if (isBrak && !presets.empty()) entry.presetID = presets.front().id;
  std::ranges::copy_if(lists_.blockedApps.get(), std::back_inserter(entry.softBlockedApps),
                       &BlockedApp::isBlocked);
  std::ranges::copy_if(lists_.blockedSites.get(), std::back_inserter(entry.softBlockedSites),
                       &BlockedSite::isBlocked);
  return entry;
}

MissionResult<void> MissionEditing::addMission(ScheduleOperatingMode planner, ScheduleEntry entry) {
  Entries all = list(planner);
  all.push_back(std::move(entry));
  return replace(planner, std::move(all), "Create Mission");
}

MissionResult<void> MissionEditing::updateMission(ScheduleOperatingMode planner,
                                                  const ScheduleEntry& updated,
                                                  const std::string& actionName) {
  auto found = open(planner, updated.id);
  if (!found) return std::unexpected(found.error());
  found->entry() = updated;
  return replace(planner, std::move(found->entries), actionName);
}

MissionResult<void> MissionEditing::removeMission(ScheduleOperatingMode planner, const Uuid& id) {
  auto found = open(planner, id);
  if (!found) return std::unexpected(found.error());
  found->remove();
  return replace(planner, std::move(found->entries), "Delete Mission");
}

// --- the calendar planner ------------------------------------------------------------------------

ScheduleEntry MissionEditing::onceOn(Date date, ScheduleEntry entry) const {
  const local_days day = dayOf(date);
  entry.id = ports_.random.uuid();
  entry.recurrence = ScheduleRecurrence::once;
  entry.scheduledDate = startOf(day);
  entry.recurrenceStartDate.reset();
  entry.recurrenceEndDate.reset();
  entry.excludedDates.clear();
  entry.days = {weekdayOf(day)};
  return entry;
}

MissionResult<MissionEditing::Selection> MissionEditing::replace(Entries with,
                                                                 const std::string& actionName,
                                                                 const Selection& selection) {
  const auto done = replace(kCalendar, std::move(with), actionName);
  if (!done) return std::unexpected(done.error());
  return selection;
}

MissionResult<MissionEditing::Selection> MissionEditing::place(ScheduleEntry entry,
                                                               const std::string& actionName) {
  const Selection selection{entry.id, *entry.scheduledDate};
  Entries all = schedule_.entries.get();
  all.push_back(std::move(entry));
  return replace(std::move(all), actionName, selection);
}

MissionResult<MissionEditing::Selection> MissionEditing::createMission(Date date, int start,
                                                                       int end) {
  ScheduleEntry entry = onceOn(date, newMission());
  entry.startMinutes = start;
  entry.endMinutes = end;
  return place(std::move(entry), "Create Mission");
}

MissionResult<MissionEditing::Selection> MissionEditing::applyEditToSingleOccurrence(
    const PendingScheduleSeriesEdit& edit) {
  auto found = open(kCalendar, edit.original.id);
  if (!found) return std::unexpected(found.error());
  const ScheduleEntry copy = onceOn(edit.targetDate, edit.updated);
  found->entry() = edit.original;
  appendExcludedDate(found->entry(), startOf(dayOf(edit.occurrenceDate)));
  found->insertBehind(copy);
  return replace(std::move(found->entries), "Edit Occurrence", {copy.id, *copy.scheduledDate});
}

MissionResult<MissionEditing::Selection> MissionEditing::applyEditToFutureOccurrences(
    const PendingScheduleSeriesEdit& edit) {
  auto found = open(kCalendar, edit.original.id);
  if (!found) return std::unexpected(found.error());
  const ScheduleEntry& original = edit.original;
  const local_days occurrence = dayOf(edit.occurrenceDate), target = dayOf(edit.targetDate);
  const local_days split = std::min(occurrence, target);
  ScheduleEntry copy = edit.updated;
  copy.id = ports_.random.uuid();
  copy.recurrence = original.recurrence;
  copy.scheduledDate.reset();
  copy.recurrenceStartDate = startOf(split);
  // The occurrence that was moved has to occur on its new day.
  if (copy.recurrence == ScheduleRecurrence::weekly && target != occurrence) {
    copy.days.erase(weekdayOf(occurrence));
    copy.days.insert(weekdayOf(target));
  }
  if (copy.recurrenceEndDate && dayOf(*copy.recurrenceEndDate) < target)
    copy.recurrenceEndDate = startOf(target);
  copy.excludedDates = original.excludedDates;
  std::erase_if(copy.excludedDates, [&](Date excluded) {
    const local_days day = dayOf(excluded);
    return day < split || day == target;
  });
  const Selection selection{copy.id, startOf(target)};
  if (original.recurrenceStartDate && dayOf(*original.recurrenceStartDate) >= split) {
    found->entry() = std::move(copy);  // nothing lies before
  } else {
    found->entry() = original;
    endBefore(found->entry(), split);
    found->insertBehind(std::move(copy));
  }
  return replace(std::move(found->entries), "Edit Future Occurrences", selection);
}

void MissionEditing::endBefore(ScheduleEntry& series, local_days day) const {
  const local_days last = day - days(1);
  series.recurrenceEndDate = startOf(last);
  std::erase_if(series.excludedDates, [&](Date excluded) { return dayOf(excluded) > last; });
}

MissionResult<void> MissionEditing::deleteSingleOccurrence(
    const PendingScheduleSeriesDelete& deletion) {
  auto found = open(kCalendar, deletion.entry.id);
  if (!found) return std::unexpected(found.error());
  appendExcludedDate(found->entry(), startOf(dayOf(deletion.occurrenceDate)));
  return replace(kCalendar, std::move(found->entries), "Delete Occurrence");
}

MissionResult<void> MissionEditing::deleteFutureOccurrences(
    const PendingScheduleSeriesDelete& deletion) {
  auto found = open(kCalendar, deletion.entry.id);
  if (!found) return std::unexpected(found.error());
  const local_days day = dayOf(deletion.occurrenceDate);
  const auto first = found->entry().recurrenceStartDate;
  if (first && dayOf(*first) >= day)
    found->remove();
  else
    endBefore(found->entry(), day);
  return replace(kCalendar, std::move(found->entries), "Delete Future Occurrences");
}

// --- the clipboard -------------------------------------------------------------------------------

void MissionEditing::copyMission(const ScheduleEntry& entry) {
  ports_.clipboard.write(pasteboardType, json::dump(entry.encode()));
}

MissionResult<MissionEditing::Selection> MissionEditing::pasteMission(Date on) {
  const auto data = ports_.clipboard.read(pasteboardType);
  const auto value = data ? json::parse(*data) : std::unexpected(json::Error{});
  if (!value) return std::unexpected(MissionRefusal::emptyClipboard);
  // What a mission of another version lacks it gets from what a new one would have.
  const ScheduleEntry fresh = newMission();
  const auto entry = ScheduleEntry::decode(*value, schedule_.calendar(),
                                           {.protectionMode = fresh.protectionMode,
                                            .blockedApps = [&] { return fresh.softBlockedApps; },
                                            .blockedSites = [&] { return fresh.softBlockedSites; },
                                            .newID = [&] { return fresh.id; }});
  if (!entry) return std::unexpected(MissionRefusal::emptyClipboard);
  return place(onceOn(on, *entry), "Paste Mission");
}

MissionResult<MissionEditing::Selection> MissionEditing::duplicateMission(
    const ScheduleEntry& entry, Date on) {
  return place(onceOn(on, entry), "Duplicate Mission");
}

}  // namespace velmora
