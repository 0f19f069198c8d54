#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "platform/sim/World.h"
#include "ports/AppCatalog.h"
#include "ports/Clock.h"
#include "ports/Log.h"
#include "ports/Notifications.h"
#include "ports/Preferences.h"
#include "ports/Processes.h"
#include "ports/Random.h"
#include "ports/Sounds.h"

namespace velmora::sim {

// A device's clocks. The wall clock may be stepped and the device may travel.
class FakeClock final : public Clock {
 public:
  explicit FakeClock(const World& world) : world_(world) {}
  Date now() const override {
    const Date read = start + world_.sinceBoot() + skew;
    skew += perReading;
    return read;
  }
  Monotonic monotonic() const override {
    return Monotonic(world_.sinceBoot());
  }
  Zone zone() const override { return localZone; }

  Date start = Date::sinceUnixEpoch(1767603600);  // Monday 2026-01-05 09:00:00 UTC
  mutable Seconds skew{0};
  Seconds perReading{0};  // so much later each reading finds it
  Zone localZone = Zone::utc();

 private:
  const World& world_;
};

// The whole store in memory. What a crash leaves is what write() was told.
class FakePreferences final : public Preferences {
 public:
  std::optional<PreferenceValue> read(std::string_view key) const override;
  void write(const Changes& changes) override;
  std::map<std::string, PreferenceValue> all() const override {
    return {values_.begin(), values_.end()};
  }
  int64_t writes() const { return writes_; }
  // While set, each write that changes something is kept there too, for one who wants to lose the
  // last ones.
  std::vector<Changes>* journal = nullptr;

 private:
  std::map<std::string, PreferenceValue, std::less<>> values_;
  int64_t writes_ = 0;
};

// Distinct, repeatable identities.
class FakeRandom final : public Random {
 public:
  explicit FakeRandom(uint8_t device = 0) : device_(device) {}
  Uuid uuid() override;

 private:
  uint8_t device_;
  uint32_t next_ = 0;
};

class FakeNotifications final : public Notifications {
 public:
  void requestAuthorization() override { ++requests; }
  void post(const std::string& title, const std::string& body) override {
    posted.push_back({title, body});
  }
  struct Notice {
    std::string title;
    std::string body;
    bool operator==(const Notice&) const = default;
  };
  int requests = 0;
  std::vector<Notice> posted;
};

class FakeSounds final : public Sounds {
 public:
  void play(std::string_view name) override { played.emplace_back(name); }
  std::vector<std::string> played;
};

class FakeLog final : public Log {
 public:
  bool debugEnabled() const override { return true; }
  void debug(std::string_view category, std::string_view message) override {
    debugLines.push_back(std::string(category) + ": " + std::string(message));
  }
  void notice(std::string_view message) override { notices.emplace_back(message); }
  std::vector<std::string> debugLines;
  std::vector<std::string> notices;
};

// Two browsers with bounds, one without, and one that can't be read; a file manager is protected.
class FakeCatalog final : public AppCatalog {
 public:
  const std::vector<Browser>& browsers() const override { return browsers_; }
  const std::set<std::string>& browserBundleIDs() const override { return ids_; }
  const std::set<std::string>& protectedBundleIDs() const override { return protected_; }
  std::string canonicalID(std::string_view id) const override {
    return id == "chromium" ? "org.chromium.Chromium" : std::string(id);
  }

 private:
  std::vector<Browser> browsers_{{"Arc", "company.thebrowser.Browser", false, false},
                                 {"Chromium", "org.chromium.Chromium", false, true},
                                 {"Firefox", "org.mozilla.firefox", false, true}};
  std::set<std::string> ids_{"company.thebrowser.Browser", "org.chromium.Chromium",
                             "org.mozilla.firefox", "org.gnome.Epiphany"};
  std::set<std::string> protected_{"com.velmora.app", "org.gnome.Nautilus"};
};

// Answers each run with what a test prepared, in order; without an answer the program is missing.
class FakeProcesses final : public Processes {
 public:
  std::optional<Outcome> run(const std::vector<std::string>& arguments) override;
  std::vector<std::optional<Outcome>> answers;
  std::vector<std::vector<std::string>> runs;
};

}  // namespace velmora::sim
