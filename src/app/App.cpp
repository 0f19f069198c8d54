#include "app/App.h"

#include "core/model/AppTimeFormat.h"

namespace velmora {

App::App(const Platform& p)
    : timer(p.preferences, p.clock, p.loop, p.notifications, p.sounds, timerNeighbours_),
      lists(p.preferences, p.random),
      presets(p.preferences, p.random),
      modules(p.preferences, commitment),
      uses24HourTime(p.preferences, std::string(AppTimeFormat::uses24HourKey), true),
      blockPage(p.listeners, p.blockPageQueue, p.loop, p.log, p.blockPage),
      engine(p.clock, p.loop, p.desktop, p.browsers, p.catalog, blockPage, p.log, p.homeDomain,
             engineNeighbours_),
      monitor(engine),
      cover(p.coverPanels, p.loop),
      appBlocker(p.applications, p.installed, p.catalog, p.scanQueue, p.loop),
      websites(blockPage, p.files, websiteNeighbours_),
      screens(timer, presets, p.preferences, p.loop),
      schedule(timer, presets, screens, uses24HourTime,
               {p.preferences, p.clock, p.loop, p.random, p.log, p.scheduleAgent, p.agentQueue},
               scheduleNeighbours_),
      missions(schedule, timer, presets, lists, {p.clipboard, p.clock, p.random}),
      coordinator(timer, presets, lists, monitor, p.catalog, p.clock, coordinatorNeighbours_),
      launchAtLogin(p.loginAgent, p.agentQueue, p.loop),
      lifecycle(timer, presets, lists, modules, coordinator, p.preferences, p.loop,
                {p.statusItem, p.guardian, p.authentication, p.agentQueue}, commitment,
                lifecycleSchedule_) {
  timerNeighbours_.focusContext.bind(presets);
  timerNeighbours_.screens.bind(screens);
  timerNeighbours_.coordinator.bind(coordinator);
  timerNeighbours_.schedule.bind(schedule);
  lifecycleSchedule_.bind(schedule);
  coordinatorNeighbours_.shared.bind(sync);
  coordinatorNeighbours_.apps.bind(appBlockerBinding_);
  coordinatorNeighbours_.websites.bind(websiteBinding_);
  engineNeighbours_.cover.bind(cover);
}

void App::start(Lifecycle::Launch launch) {
  websites.refreshStatus();
  blockPage.start();
  timer.resumeRestored();
  launchAtLogin.look();
  appBlocker.preloadInstalledApps();
  lifecycle.applicationDidFinishLaunching(launch);
}

}  // namespace velmora
