#include "app/App.h"

namespace velmora {

App::App(const Platform& p)
    : timer(p.preferences, p.clock, p.loop, p.notifications, p.sounds, timerNeighbours_),
      lists(p.preferences, p.random),
      presets(p.preferences, p.random),
      modules(p.preferences, commitment_),
      blockPage(p.listeners, p.blockPageQueue, p.loop, p.log, p.blockPage),
      engine(p.clock, p.loop, p.desktop, p.browsers, p.catalog, blockPage, p.log, p.homeDomain,
             engineNeighbours_),
      monitor(engine),
      screens(timer, presets),
      coordinator(timer, presets, lists, monitor, p.catalog, p.clock, coordinatorNeighbours_),
      lifecycle(timer, presets, lists, coordinator, p.loop) {
  timerNeighbours_.focusContext.bind(presets);
  timerNeighbours_.screens.bind(screens);
  timerNeighbours_.coordinator.bind(coordinator);
  coordinatorNeighbours_.shared.bind(sync);
}

void App::start() {
  blockPage.start();
  timer.resumeRestored();
  lifecycle.applicationDidFinishLaunching();
}

}  // namespace velmora
