#pragma once

#include <vector>

#include "blocking/SiteBlockEngine.h"
#include "ports/CoverPanels.h"
#include "ports/RunLoop.h"

namespace velmora {

// Hides a window in the turn in which it is sent away, for a second after the last time: about as
// long as a browser needs to load the wall. Main lane only.
class BlockCover final : public SiteBlockEngine::Cover {
 public:
  BlockCover(CoverPanels& panels, RunLoop& loop) : panels_(panels), loop_(loop) {}

  // In display coordinates. A rectangle of 40 points or less in width or height stays bare.
  void cover(const Rect& rectangle) override;

 private:
  struct Standing {
    CoverPanels::Panel panel;
    Rect frame;
    Subscription until;
  };
  void lift(CoverPanels::Panel panel);

  CoverPanels& panels_;
  RunLoop& loop_;
  std::vector<Standing> covers_;
};

}  // namespace velmora
