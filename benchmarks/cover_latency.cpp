// From the call that shows a cover until its corners are black on the screen, as another client of
// the server reads them back. Needs DISPLAY; benchmarks/cover_latency.sh brings one, with and
// without a compositor.

#include <benchmark/benchmark.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <vector>

#include "platform/linux/EventLoop.h"
#include "platform/linux/SystemClock.h"
#include "platform/linux/X11CoverPanels.h"

namespace velmora {
namespace {

using std::chrono::steady_clock;

constexpr uint32_t kWhite = 0xFFFFFF;

// The owner of a white window at the place, who reads the screen.
class Watcher {
 public:
  explicit Watcher(const Rect& place) : connection_(xcb_connect(nullptr, nullptr)), place_(place) {
    if (!works()) return;
    const auto* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
    root_ = screen->root;
    const uint32_t look[] = {screen->white_pixel, 1};
    const xcb_window_t window = xcb_generate_id(connection_);
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window, root_, int16_t(place_.x),
                      int16_t(place_.y), uint16_t(place_.width), uint16_t(place_.height), 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, look);
    xcb_map_window(connection_, window);
    xcb_flush(connection_);
  }
  ~Watcher() { xcb_disconnect(connection_); }
  Watcher(const Watcher&) = delete;
  Watcher& operator=(const Watcher&) = delete;
  bool works() const { return xcb_connection_has_error(connection_) == 0; }

  // Whether the outermost pixels of the place have this colour.
  bool sees(uint32_t colour) {
    return pixel(place_.minX(), place_.minY()) == colour &&
           pixel(place_.maxX() - 1, place_.maxY() - 1) == colour;
  }

 private:
  uint32_t pixel(double x, double y) {
    const auto question = xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, root_, int16_t(x),
                                        int16_t(y), 1, 1, ~0u);
    const std::unique_ptr<xcb_get_image_reply_t, decltype(&std::free)> image(
        xcb_get_image_reply(connection_, question, nullptr), &std::free);
    return image ? *reinterpret_cast<uint32_t*>(xcb_get_image_data(image.get())) & kWhite : 1;
  }

  xcb_connection_t* connection_;
  const Rect place_;
  xcb_window_t root_ = 0;
};

void runFor(EventLoop& loop, Seconds time) {
  const auto end = loop.after(time, [&] { loop.quit(); });
  loop.run();
}

void CoverFromCallToBlackPixels(benchmark::State& state) {
  const Rect place{40, 40, double(state.range(0)), double(state.range(1))};
  Watcher watcher(place);
  if (!watcher.works()) return state.SkipWithError("no display");
  EventLoop loop;
  const SystemClock clock;
  X11CoverPanels panels(loop, clock);
  std::vector<double> milliseconds;
  for (auto _ : state) {
    while (!watcher.sees(kWhite)) runFor(loop, Seconds(0.005));
    runFor(loop, Seconds(0.02));
    const auto start = steady_clock::now();
    const auto panel = panels.show(place);
    while (!watcher.sees(0)) {}
    const std::chrono::duration<double> taken = steady_clock::now() - start;
    milliseconds.push_back(taken.count() * 1e3);
    state.SetIterationTime(taken.count());
    panels.fadeOut(panel, Seconds(0));
    runFor(loop, Seconds(0.02));
  }
  std::ranges::sort(milliseconds);
  const auto share = [&](double part) {
    return milliseconds[static_cast<size_t>(part * double(milliseconds.size() - 1))];
  };
  state.counters["median_ms"] = share(0.5);
  state.counters["p95_ms"] = share(0.95);
  state.counters["max_ms"] = share(1.0);
}
BENCHMARK(CoverFromCallToBlackPixels)
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Args({600, 500})
    ->Args({1200, 800})
    ->Iterations(200);

}  // namespace
}  // namespace velmora
