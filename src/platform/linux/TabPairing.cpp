#include "platform/linux/TabPairing.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <string_view>
#include <tuple>
#include <utility>

namespace velmora {
namespace {

constexpr double kTolerance = 4.0;  // device pixels
constexpr std::array kUsualScales{1.25, 1.5, 1.75, 2.0, 2.25, 2.5, 3.0};

enum class TitleRelation { same, unknown, different };

// Browsers put their own name behind the tab's title, after a dash of some length.
bool namesAPage(std::string_view xTitle) {
  for (const std::string_view dash : {" - ", " \u2013 ", " \u2014 "})
    if (xTitle.find(dash) != std::string_view::npos) return true;
  return false;
}

TitleRelation relation(std::string_view title, std::string_view xTitle) {
  if (title.empty()) return TitleRelation::unknown;
  if (xTitle.starts_with(title)) return TitleRelation::same;
  return namesAPage(xTitle) ? TitleRelation::different : TitleRelation::unknown;
}

bool isNear(double a, double b) {
  return std::abs(a - b) <= kTolerance;
}

// Origin and size, not edges: rounding to the browser's units shifts each by less than a unit.
bool samePlace(const Rect& bounds, double scale, const Rect& x) {
  return isNear(bounds.x * scale, x.x) && isNear(bounds.y * scale, x.y) &&
         isNear(bounds.width * scale, x.width) && isNear(bounds.height * scale, x.height);
}

// Chromium tells the client's rectangle, shadow included; Firefox the frame; and where the client
// draws its own frame, its shadow may be left out.
bool samePlace(const TabWindow& window, double scale, const X11Window& x) {
  if (!window.bounds) return false;
  return samePlace(*window.bounds, scale, x.client) || samePlace(*window.bounds, scale, x.frame) ||
         samePlace(*window.bounds, scale, x.clientWithoutShadow);
}

using XWindows = std::vector<const X11Window*>;

// The scale at which most windows are where X has one; of several the earliest.
double findScale(const std::vector<TabWindow>& windows, const XWindows& xWindows, double hint) {
  std::vector<double> scales{1.0, hint};
  scales.insert(scales.end(), kUsualScales.begin(), kUsualScales.end());
  double best = 1.0;
  std::ptrdiff_t most = 0;
  for (const double scale : scales) {
    const auto count = std::ranges::count_if(windows, [&](const TabWindow& window) {
      return std::ranges::any_of(xWindows,
                                 [&](const X11Window* x) { return samePlace(window, scale, *x); });
    });
    if (count > most) {
      most = count;
      best = scale;
    }
  }
  return best;
}

// How much speaks for a pair, the best first.
enum class Ground { placeAndTitle, place, title, placeAgainstTitle, none };

Ground groundOf(bool isSamePlace, TitleRelation titles) {
  if (titles == TitleRelation::same) return isSamePlace ? Ground::placeAndTitle : Ground::title;
  if (!isSamePlace) return Ground::none;
  return titles == TitleRelation::unknown ? Ground::place : Ground::placeAgainstTitle;
}

struct Candidate {
  Ground ground;
  size_t window;
  size_t x;
};

class Pairing {
 public:
  Pairing(const std::vector<TabWindow>& windows, const XWindows& xWindows, double scaleHint)
      : windows_(windows), xWindows_(xWindows), isTaken_(xWindows.size(), false) {
    result_.partners.resize(windows.size());
    result_.scale = findScale(windows, xWindows, scaleHint);
  }

  TabPairs run() {
    for (const auto& candidate : candidates()) take(candidate);
    pairTheRest();
    result_.isDoubtful = result_.isDoubtful || someoneIsAlone();
    return std::move(result_);
  }

 private:
  std::vector<Candidate> candidates() const {
    std::vector<Candidate> all;
    for (size_t w = 0; w < windows_.size(); ++w) {
      for (size_t x = 0; x < xWindows_.size(); ++x) {
        const auto& window = windows_[w];
        const Ground ground = groundOf(samePlace(window, result_.scale, *xWindows_[x]),
                                       relation(window.title, xWindows_[x]->title));
        if (ground != Ground::none) all.push_back({ground, w, x});
      }
    }
    std::ranges::stable_sort(all, {}, [this](const Candidate& c) { return order(c); });
    return all;
  }

  // Of two titles that both begin an X title the longer one is meant. A focused window is the
  // front one of those in question, which comes first among the X windows.
  std::tuple<Ground, size_t, bool, bool> order(const Candidate& c) const {
    const auto& window = windows_[c.window];
    const bool titled = c.ground == Ground::placeAndTitle || c.ground == Ground::title;
    return {c.ground, SIZE_MAX - (titled ? window.title.size() : 0),
            window.isMinimised == xWindows_[c.x]->onScreen, !window.isFocused};
  }

  void take(const Candidate& c) {
    if (result_.partners[c.window] || isTaken_[c.x]) return;
    result_.partners[c.window] = c.x;
    isTaken_[c.x] = true;
    if (c.ground == Ground::title || c.ground == Ground::none) result_.isDoubtful = true;
  }

  // In order, the windows that both sides hold for visible, or for hidden, among themselves first.
  void pairTheRest() {
    std::vector<size_t> windows;
    for (size_t w = 0; w < windows_.size(); ++w)
      if (!result_.partners[w]) windows.push_back(w);
    std::ranges::stable_sort(windows, {}, [this](size_t w) { return !windows_[w].isFocused; });
    for (const bool isAgreementAsked : {true, false})
      for (const size_t w : windows)
        for (size_t x = 0; x < xWindows_.size(); ++x)
          if (!isAgreementAsked || windows_[w].isMinimised != xWindows_[x]->onScreen)
            take({Ground::none, w, x});
  }

  bool someoneIsAlone() const {
    for (size_t w = 0; w < windows_.size(); ++w)
      if (!result_.partners[w] && !windows_[w].isMinimised) return true;
    for (size_t x = 0; x < xWindows_.size(); ++x)
      if (!isTaken_[x] && xWindows_[x]->onScreen) return true;
    return false;
  }

  const std::vector<TabWindow>& windows_;
  const XWindows& xWindows_;
  std::vector<bool> isTaken_;
  TabPairs result_;
};

}  // namespace

TabPairs pairWindows(const std::vector<TabWindow>& windows, const XWindows& xWindows,
                     double scaleHint) {
  return Pairing(windows, xWindows, scaleHint).run();
}

}  // namespace velmora
