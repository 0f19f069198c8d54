#pragma once

#include <map>

#include "ports/CoverPanels.h"
#include "ports/RunLoop.h"

namespace velmora::sim {

// The panels that are on screen, without the picture.
class FakeCoverPanels final : public CoverPanels {
 public:
  struct Shown {
    Rect rectangle;
    bool isFading = false;
    bool operator==(const Shown&) const = default;
  };

  explicit FakeCoverPanels(RunLoop& loop) : loop_(loop) {}

  Panel show(const Rect& rectangle) override {
    panels[++last_] = {rectangle};
    return last_;
  }
  void showAgain(Panel panel) override {
    if (const auto it = panels.find(panel); it != panels.end()) it->second.isFading = false;
    fades_.erase(panel);
  }
  void fadeOut(Panel panel, Seconds duration) override {
    const auto it = panels.find(panel);
    if (it == panels.end()) return;
    it->second.isFading = true;
    fades_[panel] = loop_.after(duration, [this, panel] { panels.erase(panel); });
  }

  std::map<Panel, Shown> panels;

 private:
  RunLoop& loop_;
  Panel last_ = 0;
  std::map<Panel, Subscription> fades_;
};

}  // namespace velmora::sim
