#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "app/App.h"
#include "base/Json.h"
#include "ports/BrowserLinks.h"

namespace velmora {

// The whole visible state of the program as one JSON document, for the command line and for the
// processes that draw windows.
class StateDocument {
 public:
  StateDocument(const App& app, const AppCatalog& catalog, const BrowserLinks& links,
                std::string version)
      : app_(app), catalog_(catalog), links_(links), version_(std::move(version)) {}

  // What `status` shows.
  json::Value status() const;
  // Status, and the lists, presets, settings and modules.
  json::Value whole() const;
  // Tells of every write that may change the document.
  std::vector<Subscription> observe(std::function<void()> changed) const;

  static json::Value settings(const PomodoroSettings& settings);
  static json::Value modules(const ModuleStore& modules);
  // "off", "blocklist" or "allowlist".
  static const char* appRule(const AppBlockerService& blocker);
  static json::Value missions(const App& app, ScheduleOperatingMode planner);

 private:
  json::Value session() const;
  json::Value scheduled() const;
  json::Value schedule() const;
  json::Value enforcement() const;
  json::Value browsers() const;
  json::Value sites() const;
  json::Value apps(const std::vector<BlockedApp>& apps) const;
  json::Value presets() const;
  json::Value tabs() const;
  json::Value surfaces() const;
  json::Value menu() const;
  json::Value desktop() const;

  const App& app_;
  const AppCatalog& catalog_;
  const BrowserLinks& links_;
  const std::string version_;
};

// What turns `from` into `to`, as a JSON merge patch (RFC 7386): only changed members, null for
// those that are gone, lists as a whole. Nothing when the two are equal.
std::optional<json::Value> mergePatch(const json::Value& from, const json::Value& to);

}  // namespace velmora
