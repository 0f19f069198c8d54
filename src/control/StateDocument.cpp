#include "control/StateDocument.h"

#include <algorithm>

#include "base/Text.h"
#include "control/MissionJson.h"

namespace velmora {

using json::Value;
using Object = json::Value::Object;

Value StateDocument::status() const {
  const TimerService& t = app_.timer;
  Object out;
  out.emplace_back("version", version_);
  out.emplace_back("session", session());
  out.emplace_back("stopwatch", Object{{"elapsed", t.stopwatchElapsed.get()},
                                       {"running", t.stopwatchRunning.get()},
                                       {"time", t.stopwatchString()}});
  out.emplace_back("countdown", Object{{"duration", t.countdownDuration.get()},
                                       {"remaining", t.countdownRemaining.get()},
                                       {"running", t.countdownRunning.get()},
                                       {"time", t.countdownString()}});
  out.emplace_back("scheduled", scheduled());
  const auto& gate = app_.screens.gateReason.get();
  out.emplace_back("gate", Object{{"showing", gate.has_value()}, {"reason", gate.value_or("")}});
  const auto& context = app_.presets.activeContext.get();
  out.emplace_back("focus", context ? json::encode(*context) : Value());
  Object pass{{"available", t.emergencyPassAvailable()}};
  if (const auto used = t.emergencyPassUsedAt.get())
    pass.emplace_back("usedAt", used->secondsSinceUnixEpoch());
  out.emplace_back("emergencyPass", std::move(pass));
  out.emplace_back("enforcement", enforcement());
  out.emplace_back("browsers", browsers());
  out.emplace_back("wall", Object{{"state", rawText(app_.blockPage.state().get())},
                                  {"port", int64_t{BlockPageServer::port}}});
  return out;
}

Value StateDocument::session() const {
  const TimerService& t = app_.timer;
  const TimerService::Controls controls = t.controls();
  const char* screen = !t.isStopwatchMode.get()        ? "pomodoro"
                       : t.isChronoCountdownMode.get() ? "countdown"
                                                       : "stopwatch";
  return Object{{"type", rawText(t.currentSessionType.get())},
                {"label", label(t.currentSessionType.get())},
                {"running", t.isRunning.get()},
                {"active", t.isSessionActive.get()},
                {"remaining", t.timeRemaining.get()},
                {"time", t.timeString()},
                {"progress", t.progress()},
                {"completed", t.completedSessions.get()},
                {"inBlock", t.focusSessionsInBlock.get()},
                {"stopsAfterBreak", t.stopsAfterCurrentBreak()},
                {"mode", t.effectiveBrakModeEnabled() ? "brak" : "soft"},
                {"hardcore", t.effectiveIsHardcore()},
                {"locked", app_.lifecycle.isSessionHard()},
                {"screen", screen},
                {"controls", Object{{"reset", controls.reset},
                                    {"playPause", controls.playPause},
                                    {"skip", controls.skip},
                                    {"switchType", controls.switchType},
                                    {"hardcoreSwitch", controls.hardcoreSwitch},
                                    {"emergencyPass", controls.emergencyPass}}}};
}

Value StateDocument::scheduled() const {
  const TimerService& t = app_.timer;
  Object out{{"active", t.isScheduledSessionActive.get()},
             {"hard", t.scheduledHardModeActive.get()}};
  if (!t.isScheduledSessionActive.get()) return out;
  if (const auto id = t.scheduledBlockID.get()) out.emplace_back("id", id->text());
  out.emplace_back("mission", t.scheduledMissionName.get());
  out.emplace_back("protection", rawText(t.scheduledProtectionMode.get()));
  out.emplace_back("protectionName", t.scheduledProtectionName.get());
  out.emplace_back("rhythm", rawText(t.scheduledRhythm.get()));
  out.emplace_back("remaining", t.scheduledMissionRemaining.get());
  if (const auto minutes = t.scheduledEndMinutes()) out.emplace_back("endMinutes", *minutes);
  return out;
}

Value StateDocument::enforcement() const {
  Object out{{"blocking", app_.engine.isRunning()}};
  const auto list = [&](const char* rule, const DomainSet& domains) {
    out.emplace_back("rule", rule);
    Value::Array items;
    for (const auto& domain : domains) items.emplace_back(domain);
    out.emplace_back("domains", std::move(items));
  };
  const auto& focus = app_.engine.focus();
  if (const auto* block = std::get_if<SiteBlockEngine::Blocklist>(&focus))
    list("blocklist", block->domains);
  else if (const auto* allow = std::get_if<SiteBlockEngine::Allowlist>(&focus))
    list("allowlist", allow->domains);
  else
    list("off", {});
  out.emplace_back("redirects", app_.engine.redirects().get());
  const NativeBlockerStatus& sites = app_.websites.status.get();
  out.emplace_back("sites", Object{{"domains", json::encode(sites.blockedDomains)},
                                   {"session", sites.sessionType}});
  out.emplace_back("apps", appRule(app_.appBlocker));
  return out;
}

const char* StateDocument::appRule(const AppBlockerService& blocker) {
  if (!blocker.isBlocking.get()) return "off";
  return blocker.mode() == AppBlockerService::Mode::allowlist ? "allowlist" : "blocklist";
}

Value StateDocument::browsers() const {
  Value::Array out;
  for (const auto& browser : links_.linked()) {
    const auto& known = catalog_.browsers();
    const auto row = std::ranges::find(known, browser.bundleID, &Browser::bundleID);
    Value::Array tabs;
    for (const auto& page : browser.pages)
      tabs.push_back(
          Object{{"address", page.address}, {"title", page.title}, {"private", page.isPrivate}});
    out.push_back(Object{{"id", browser.bundleID},
                         {"name", row == known.end() ? browser.bundleID : row->name},
                         {"kind", browser.kind},
                         {"version", browser.version},
                         {"extension", browser.extensionVersion},
                         {"privateAllowed", browser.privateAllowed},
                         {"pid", int64_t{browser.pid}},
                         {"tabs", std::move(tabs)}});
  }
  return out;
}

Value StateDocument::settings(const PomodoroSettings& settings) {
  return json::encode(settings);
}

Value StateDocument::modules(const ModuleStore& modules) {
  Value::Array out;
  for (const auto& module : BrakModule::all())
    out.push_back(Object{{"name", module.rawText},
                         {"title", module.title},
                         {"subtitle", module.subtitle},
                         {"category", module.category},
                         {"enabled", modules.isEnabled(module)}});
  return out;
}

// The records of the lists as stored, with what a screen can't know beside it.
Value StateDocument::sites() const {
  Value::Array out;
  for (const auto& site : app_.lists.blockedSites.get()) {
    Object record = *json::encode(site).asObject();
    record.emplace_back("cleanDomain", site.cleanDomain());
    out.emplace_back(std::move(record));
  }
  return out;
}

Value StateDocument::apps(const std::vector<BlockedApp>& apps) const {
  const auto& installed = app_.appBlocker.installedApps.get();
  Value::Array out;
  for (const auto& app : apps) {
    const auto found = std::ranges::find(installed, app.bundleID, &InstalledApp::bundleID);
    Object record = *json::encode(app).asObject();
    record.emplace_back("icon", found == installed.end() ? "" : found->icon);
    out.emplace_back(std::move(record));
  }
  return out;
}

Value StateDocument::presets() const {
  Value::Array out;
  for (const auto& preset : app_.presets.presets.get()) {
    Object record = *json::encode(preset).asObject();
    for (auto& [name, value] : record)
      if (name == "allowedApps") value = apps(preset.allowedApps);
    out.emplace_back(std::move(record));
  }
  return out;
}

Value StateDocument::tabs() const {
  Value::Array out;
  for (auto tab = AppTab::focus; tab <= AppTab::settings;
       tab = static_cast<AppTab>(static_cast<int>(tab) + 1))
    out.push_back(Object{{"name", text::lowercased(title(tab))},
                         {"title", title(tab)},
                         {"shown", app_.modules.isTabShown(tab)}});
  return out;
}

Value StateDocument::missions(const App& app, ScheduleOperatingMode planner) {
  const ScheduleService& s = app.schedule;
  const bool isSimple = planner == ScheduleOperatingMode::simple;
  const bool isInForce = planner == s.operatingMode.get();
  const auto active = isInForce ? app.missions.activeEntry() : std::nullopt;
  Value::Array out;
  for (const auto& entry : app.missions.list(planner))
    out.push_back(
        missions::encode(entry, {.calendar = s.calendar(),
                                 .uses24Hour = app.uses24HourTime.isOn.get(),
                                 .overlaps = isSimple ? s.simpleOverlaps(entry) : s.overlaps(entry),
                                 .isActive = entry.id == active}));
  return out;
}

Value StateDocument::schedule() const {
  const ScheduleService& s = app_.schedule;
  const MissionEditing& editing = app_.missions;
  const auto active = s.activeEntryID.get();
  const auto name = [](const std::optional<std::string>& text) {
    return text ? Value(*text) : Value();
  };
  return Object{
      {"isEnabled", s.isEnabled.get()},
      {"operatingMode", json::encode(s.operatingMode.get())},
      {"hardRoutineEnabled", s.hardRoutineEnabled.get()},
      {"isHardRoutineActive", s.isHardRoutineActive.get()},
      {"isCurrentlyInBlock", s.isCurrentlyInBlock.get()},
      {"activeEntryID", active ? Value(active->text()) : Value()},
      {"next", s.nextBlockDescription.get()},
      {"hasPass", s.hasPass()},
      {"uses24Hour", app_.uses24HourTime.isOn.get()},
      {"today", missions::dayText(ScheduleCalendarMath::day(editing.today(), s.calendar()))},
      {"entries", missions(app_, ScheduleOperatingMode::calendar)},
      {"simpleEntries", missions(app_, ScheduleOperatingMode::simple)},
      {"undo", name(editing.undo.undoActionName())},
      {"redo", name(editing.undo.redoActionName())}};
}

// What has to stand on the screen now.
Value StateDocument::surfaces() const {
  const auto& screens = app_.screens;
  const auto& gate = screens.gateReason.get();
  const auto& origin = screens.hudOrigin.get();
  const auto& notice = screens.scheduledTransition.get();
  static constexpr std::string_view kLockNames[] = {"none", "asked", "locked"};
  return Object{{"window", Object{{"wanted", app_.lifecycle.isWindowWanted.get()},
                                  {"request", app_.lifecycle.windowRequests.get()}}},
                {"gate", Object{{"showing", gate.has_value()},
                                {"reason", gate.value_or("")},
                                {"lock", kLockNames[static_cast<size_t>(screens.screenLock.get())]}}},
                {"hud", Object{{"showing", screens.isHUDShowing.get()},
                               {"x", origin ? Value(origin->x) : Value()},
                               {"y", origin ? Value(origin->y) : Value()}}},
                {"notice", notice ? Value(Object{{"mission", notice->mission},
                                                 {"presetName", notice->presetName},
                                                 {"timeRange", notice->timeRange},
                                                 {"duration", notice->duration.count()}})
                                  : Value()}};
}

Value StateDocument::menu() const {
  Value::Array out;
  for (const auto& item : app_.lifecycle.menu.get())
    out.push_back(Object{{"title", item.title}, {"action", item.action}, {"key", item.key}});
  return out;
}

Value StateDocument::desktop() const {
  const Lifecycle& lifecycle = app_.lifecycle;
  return Object{{"showInDock", lifecycle.showsInDock.isOn.get()},
                {"sidebar", lifecycle.showsSidebar.isOn.get()},
                {"launchAtLogin", app_.launchAtLogin.isEnabled.get()},
                {"guardian", lifecycle.guardianInstalled.get().value_or(false)},
                {"locked", lifecycle.isLocked()},
                {"welcomed", lifecycle.hasSeenWelcome.isOn.get()},
                {"uses24HourTime", app_.uses24HourTime.isOn.get()}};
}

Value StateDocument::whole() const {
  Object out = *status().asObject();
  out.emplace_back("settings", settings(app_.timer.settings.get()));
  out.emplace_back("sites", sites());
  out.emplace_back("apps", apps(app_.lists.blockedApps.get()));
  out.emplace_back("presets", presets());
  out.emplace_back("modules", modules(app_.modules));
  out.emplace_back("tabs", tabs());
  Value::Array quick;
  for (const auto& site : BlocklistStore::quickSites())
    quick.push_back(Object{{"name", site.name}, {"domain", site.domain}, {"symbol", site.symbol}});
  out.emplace_back("quickSites", std::move(quick));
  out.emplace_back("applicationsRevision",
                   static_cast<int64_t>(app_.appBlocker.installedRevision()));
  out.emplace_back("schedule", schedule());
  out.emplace_back("surfaces", surfaces());
  out.emplace_back("menu", menu());
  out.emplace_back("desktop", desktop());
  return out;
}

std::vector<Subscription> StateDocument::observe(std::function<void()> changed) const {
  const TimerService& t = app_.timer;
  std::vector<Subscription> out;
  const auto on = [&](const auto&... properties) {
    (out.push_back(properties.onWrite([changed](const auto&) { changed(); })), ...);
  };
  on(t.isRunning, t.currentSessionType, t.completedSessions, t.focusSessionsInBlock,
     t.isSessionActive, t.emergencyPassUsedAt, t.scheduledHardModeActive,
     t.isScheduledSessionActive, t.scheduledBlockID, t.scheduledMissionRemaining, t.settings,
     t.timeRemaining, t.isStopwatchMode, t.stopwatchElapsed, t.stopwatchRunning,
     t.isChronoCountdownMode, t.countdownDuration, t.countdownRemaining, t.countdownRunning,
     app_.lists.blockedApps, app_.lists.blockedSites, app_.presets.presets,
     app_.presets.activeContext, app_.modules.enabledModules, app_.screens.gateReason,
     app_.screens.screenLock, app_.screens.isHUDShowing, app_.screens.hudOrigin,
     app_.screens.scheduledTransition,
     app_.lifecycle.isWindowWanted, app_.lifecycle.windowRequests, app_.lifecycle.menu,
     app_.lifecycle.showsInDock.isOn, app_.lifecycle.showsSidebar.isOn,
     app_.lifecycle.guardianInstalled, app_.websites.status, app_.appBlocker.isBlocking,
     app_.appBlocker.installedApps,
     app_.launchAtLogin.isEnabled, app_.lifecycle.hasSeenWelcome.isOn, app_.uses24HourTime.isOn,
     app_.schedule.isEnabled, app_.schedule.entries, app_.schedule.simpleEntries,
     app_.schedule.operatingMode, app_.schedule.hardRoutineEnabled,
     app_.schedule.nextBlockDescription, app_.schedule.isCurrentlyInBlock,
     app_.schedule.isHardRoutineActive, app_.schedule.activeEntryID,
     app_.blockPage.state(), app_.engine.redirects(), links_.linkedRevision());
  out.push_back(app_.schedule.travelled.subscribe([changed](const Zone&) { changed(); }));
  return out;
}

std::optional<Value> mergePatch(const Value& from, const Value& to) {
  if (from == to) return {};
  const auto* before = from.asObject();
  const auto* after = to.asObject();
  if (!before || !after) return to;
  Object patch;
  for (const auto& [key, value] : *after) {
    const Value* old = from.find(key);
    if (!old) {
      patch.emplace_back(key, value);
    } else if (auto change = mergePatch(*old, value)) {
      patch.emplace_back(key, std::move(*change));
    }
  }
  for (const auto& [key, value] : *before)
    if (!to.find(key)) patch.emplace_back(key, Value());
  return patch;
}

}  // namespace velmora
