#include "platform/sim/FakeScreen.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace velmora::sim {

int32_t FakeScreen::pidOf(const std::string& bundleID) const {
  int32_t pid = 100;
  for (const char c : bundleID) pid = pid * 31 % 30000 + c;
  return pid;
}

FakeScreen::Window& FakeScreen::open(const std::string& bundleID, const std::string& address,
                                     Rect frame) {
  Window window{std::to_string(nextWindow_++), bundleID, pidOf(bundleID), frame};
  window.address = address;
  windows.insert(windows.begin(), window);
  tell(bundleID);
  return windows.front();
}

FakeScreen::Window& FakeScreen::window(const std::string& id) {
  const auto it = std::ranges::find(windows, id, &Window::id);
  if (it == windows.end()) {
    std::fprintf(stderr, "sim: no window %s\n", id.c_str());
    std::abort();
  }
  return *it;
}

void FakeScreen::navigate(const std::string& id, const std::string& address) {
  window(id).address = address;
  tell(window(id).bundleID);
}

void FakeScreen::raise(const std::string& id) {
  const auto it = std::ranges::find(windows, id, &Window::id);
  std::rotate(windows.begin(), it, it + 1);
}

void FakeScreen::tell(const std::string& bundleID) {
  if (onChange_ && watched_.contains(bundleID)) onChange_(bundleID);
}

DesktopSnapshot FakeScreen::snapshot(Wants wants) {
  ++snapshots;
  DesktopSnapshot out;
  out.displays = displays;
  if (wants.pointer) out.pointer = pointer;
  std::set<int32_t> seen;
  for (const auto& window : windows) {
    if (seen.insert(window.pid).second) out.applications.push_back({window.pid, window.bundleID});
    if (!window.isMinimised && !out.frontmost && window.layer == kNormalLayer)
      out.frontmost = window.bundleID;
  }
  if (!isWindowListAvailable) return out;
  out.windows.emplace();
  for (const auto& window : windows)
    if (!window.isMinimised)
      out.windows->push_back({window.pid, window.layer, window.alpha, window.frame});
  return out;
}

void FakeScreen::read(const ReadRequest& request, std::function<void(TabReport)> done) {
  std::vector<std::string> names;
  bool isMute = false;
  for (const auto& browser : request.browsers) {
    names.push_back(browser.bundleID);
    isMute = isMute || muteBrowsers.contains(browser.bundleID);
  }
  reads.push_back(names);
  answers_.push_back(loop_.after(isMute ? Seconds(3) : latency, [this, request, done] {
    TabReport report;
    for (const auto& browser : request.browsers) {
      if (muteBrowsers.contains(browser.bundleID)) continue;
      int index = 0;
      for (const auto& window : windows) {
        if (window.bundleID != browser.bundleID) continue;
        ++index;
        if (window.isMinimised) continue;
        std::optional<Rect> bounds;
        if (browser.reportsBounds) bounds = window.frame;
        report[browser.bundleID].push_back({window.id, index, bounds, window.address});
      }
    }
    done(report);
  }));
}

void FakeScreen::send(const Browser&, const WindowTab& tab, const std::string& address) {
  sent.push_back({tab.id, address});
  answers_.push_back(loop_.after(latency, [this, id = tab.id, from = tab.address, address] {
    const auto it = std::ranges::find(windows, id, &Window::id);
    if (it != windows.end() && it->address == from) navigate(id, address);
  }));
}

void FakeScreen::watch(std::set<std::string> bundleIDs,
                       std::function<void(const std::string&)> onChange) {
  watched_ = std::move(bundleIDs);
  onChange_ = std::move(onChange);
}

void FakeScreen::unwatch() { onChange_ = nullptr; }

}  // namespace velmora::sim
