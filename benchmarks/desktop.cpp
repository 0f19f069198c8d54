// One look of the engine at a real display with thirty windows. Needs DISPLAY and a window manager;
// benchmarks/look.sh brings both.

#include <benchmark/benchmark.h>
#include <time.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <new>

#include "blocking/SiteBlockEngine.h"
#include "platform/linux/EventLoop.h"
#include "platform/linux/LinuxAppCatalog.h"
#include "platform/linux/SystemClock.h"
#include "platform/linux/X11Desktop.h"
#include "platform/sim/FakeListeners.h"
#include "platform/sim/Fakes.h"
#include "platform/sim/World.h"

namespace {

std::size_t allocations = 0;  // of this process; the benchmark has one thread

}  // namespace

// The pair below is matched; the compiler inlines one half and warns of the other.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
void* operator new(std::size_t size) {
  ++allocations;
  if (void* p = std::malloc(size)) return p;
  throw std::bad_alloc();
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }

namespace velmora {
namespace {

constexpr int kWindows = 30;

class Windows {
 public:
  Windows() : connection_(xcb_connect(nullptr, nullptr)) {
    if (xcb_connection_has_error(connection_)) return;
    const auto* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
    for (int i = 0; i < kWindows; ++i) {
      const xcb_window_t window = xcb_generate_id(connection_);
      xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, 640, 480, 0,
                        XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, 0, nullptr);
      // A browser by its class, so that the engine has something to judge.
      const std::string_view name(i % 3 ? "editor\0Editor\0" : "chromium\0Chromium\0",
                                  i % 3 ? 14 : 18);
      xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS,
                          XCB_ATOM_STRING, 8, static_cast<uint32_t>(name.size()), name.data());
      xcb_map_window(connection_, window);
      windows_.push_back(window);
    }
    sync();
    usleep(1500000);  // the window manager takes them over one by one
  }
  ~Windows() { xcb_disconnect(connection_); }
  bool works() const { return !windows_.empty(); }

  void move(int step) {
    const uint32_t position[] = {static_cast<uint32_t>(100 + step % 7), 100};
    xcb_configure_window(connection_, windows_[static_cast<size_t>(step) % windows_.size()],
                         XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, position);
    sync();
    usleep(20000);
  }

 private:
  void sync() {
    std::free(
        xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
  }
  xcb_connection_t* connection_;
  std::vector<xcb_window_t> windows_;
};

// Answers from memory, as the browsers' link does.
class StillBrowsers final : public BrowserControl {
 public:
  explicit StillBrowsers(RunLoop& loop) : loop_(loop) {}
  void read(const ReadRequest&, std::function<void(TabReport)> done) override {
    loop_.post([done = std::move(done)] { done({}); });
  }
  void send(const Browser&, const WindowTab&, const std::string&) override {}
  void watch(std::set<std::string>, std::function<void(const std::string&)>) override {}
  void unwatch() override {}

 private:
  RunLoop& loop_;
};

double threadMicroseconds() {
  timespec t{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) * 1e6 + static_cast<double>(t.tv_nsec) / 1e3;
}

struct QuietLog final : Log {
  bool debugEnabled() const override { return false; }
  void debug(std::string_view, std::string_view) override {}
  void notice(std::string_view) override {}
};

void look(benchmark::State& state, bool changes) {
  Windows windows;
  if (!windows.works()) return state.SkipWithError("no display");
  EventLoop loop;
  SystemClock clock;
  LinuxAppCatalog catalog;
  QuietLog log;
  sim::FakeListeners listeners;
  sim::World world;
  sim::Lane lane(world);
  X11Desktop desktop(loop, catalog, clock, {});
  StillBrowsers browsers(lane);
  BlockPageServer server(listeners, lane, lane, log, "");
  SiteBlockEngine::Neighbours neighbours;
  SiteBlockEngine engine(clock, lane, desktop, browsers, catalog, server, log, "velmora.invalid",
                         neighbours);
  engine.setFocus(SiteBlockEngine::Blocklist{{"reddit.com"}});
  world.settle();
  const auto trips = desktop.roundTrips();
  double cpu = 0;
  std::size_t allocated = 0;
  int step = 0;
  for (auto _ : state) {
    if (changes) {
      state.PauseTiming();
      windows.move(step++);
      state.ResumeTiming();
    }
    const double cpuBefore = threadMicroseconds();
    const std::size_t before = allocations;
    engine.lookAtOnce();
    world.settle();
    cpu += threadMicroseconds() - cpuBefore;
    allocated += allocations - before;
  }
  const auto looks = static_cast<double>(state.iterations());
  state.counters["own_cpu_us"] = cpu / looks;
  state.counters["round_trips"] = static_cast<double>(desktop.roundTrips() - trips) / looks;
  state.counters["allocations"] = static_cast<double>(allocated) / looks;
}

void LookAtThirtyWindowsUnchanged(benchmark::State& state) { look(state, false); }
void LookAtThirtyWindowsAfterAChange(benchmark::State& state) { look(state, true); }
BENCHMARK(LookAtThirtyWindowsUnchanged)->Unit(benchmark::kMicrosecond)->Iterations(1000);
BENCHMARK(LookAtThirtyWindowsAfterAChange)->Unit(benchmark::kMicrosecond)->Iterations(100);

}  // namespace
}  // namespace velmora
