// What the schedule's tick costs, once a second for the life of the process, beside what it costs
// without any mission; and the tick that has to work a day out anew.

#include <benchmark/benchmark.h>

#include "support/SimDevice.h"

namespace velmora {
namespace {

// Weekly missions of five to sixty-four minutes all over the day, each with lists of its own.
std::vector<ScheduleEntry> missions(Random& random, int64_t count) {
  std::vector<ScheduleEntry> list;
  for (int i = 0; i < count; ++i) {
    ScheduleEntry e;
    e.id = random.uuid();
    e.label = "Mission " + std::to_string(i);
    e.startMinutes = i * 397 % 1370;
    e.endMinutes = e.startMinutes + 5 + i % 60;
    for (int site = 0; site < 20; ++site)
      e.softBlockedSites.push_back({random.uuid(), "site" + std::to_string(site) + ".com"});
    list.push_back(std::move(e));
  }
  return list;
}

struct Bench {
  explicit Bench(int64_t count) {
    device.clock.localZone = *Zone::named("Europe/Berlin");
    device.start();
    world.advance(Seconds(1));
    device.app->schedule.replaceEntries(missions(device.random, count), nullptr, "");
    device.app->schedule.setEnabled(true);
    world.advance(Seconds(1));
  }
  sim::World world;
  sim::SimDevice device{world};
};

void ScheduleTick(benchmark::State& state) {
  Bench bench(state.range(0));
  for (auto _ : state) bench.device.app->schedule.tick();
}
BENCHMARK(ScheduleTick)->Arg(0)->Arg(40)->Arg(200)->Unit(benchmark::kMicrosecond);

void ScheduleTickOnAnotherDay(benchmark::State& state) {
  Bench bench(state.range(0));
  for (auto _ : state) {
    bench.device.clock.skew += Seconds(86400);
    bench.device.app->schedule.tick();
  }
}
BENCHMARK(ScheduleTickOnAnotherDay)->Arg(0)->Arg(200)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace velmora
