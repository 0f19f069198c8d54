// What the core costs: virtual time, and a saved timer position on the real store.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>

#include "core/StoredSettings.h"
#include "platform/linux/SqlitePreferences.h"
#include "support/SimDevice.h"

namespace velmora {
namespace {

// A pomodoro day: sixteen focus phases with their breaks, soft mode, one browser window in sight.
void dayOfPomodoros(sim::SimDevice& d, sim::World& world) {
  d.app->timer.reset();
  d.app->timer.start(false);
  world.advance(std::chrono::hours(9));
  d.app->timer.pause();
  world.jump(std::chrono::hours(15));
}

void SimulatedYear(benchmark::State& state) {
  double days = 0;
  for (auto _ : state) {
    sim::World world;
    sim::SimDevice d(world);
    PomodoroSettings settings;
    settings.isSoftBlocklistEnabled = true;
    settings.autoStart = true;
    savePomodoroSettings(d.preferences, settings);
    d.kill();
    d.boot();
    d.start();
    d.app->lists.addSite("reddit.com");
    d.screen->open("org.chromium.Chromium", "https://example.org/");
    for (int day = 0; day < 365; ++day) {
      dayOfPomodoros(d, world);
      d.log.debugLines.clear();
      d.notifications.posted.clear();
      d.sounds.played.clear();
    }
    days += 365;
  }
  state.counters["virtual_s_per_s"] =
      benchmark::Counter(days * 86400, benchmark::Counter::kIsRate);
}
BENCHMARK(SimulatedYear)->Unit(benchmark::kSecond)->Iterations(1);

struct QuietLog final : Log {
  bool debugEnabled() const override { return false; }
  void debug(std::string_view, std::string_view) override {}
  void notice(std::string_view) override {}
};

// One saved timer position: the twenty-odd scalars of the table, one transaction, on disk.
void SavedTimerPosition(benchmark::State& state) {
  QuietLog log;
  const std::string folder = std::filesystem::temp_directory_path() / "velmora-benchmark";
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder);
  const auto preferences = SqlitePreferences::open(folder + "/preferences.sqlite3", log);
  sim::World world;
  sim::FakeClock clock(world);
  sim::Lane lane(world);
  sim::FakeNotifications notifications;
  sim::FakeSounds sounds;
  TimerService::Neighbours neighbours;
  TimerService timer(*preferences, clock, lane, notifications, sounds, neighbours);
  for (auto _ : state) {
    world.jump(Seconds(1));
    timer.saveState();
  }
  std::filesystem::remove_all(folder);
}
BENCHMARK(SavedTimerPosition)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace velmora
