#pragma once

#include "app/BlockerBindings.h"
#include "app/Platform.h"
#include "blocking/AppBlockerService.h"
#include "blocking/BlockCover.h"
#include "blocking/BlockPageServer.h"
#include "blocking/BlocklistStore.h"
#include "blocking/BrowserMonitorService.h"
#include "blocking/SiteBlockEngine.h"
#include "blocking/WebsiteBlockerService.h"
#include "core/BlockingCoordinator.h"
#include "core/FocusPresetStore.h"
#include "core/FocusSessionCoordinator.h"
#include "core/LaunchAtLogin.h"
#include "core/Lifecycle.h"
#include "core/ModuleStore.h"
#include "core/StoredSwitch.h"
#include "core/TimerService.h"
#include "schedule/MissionEditing.h"
#include "schedule/ScheduleService.h"
#include "sync/SyncBridge.h"

namespace velmora {

// Owns every service and wires them; has no behaviour of its own. Nothing is posted and no port
// touched before start(), except that stores load. Several Apps may live in one process.
struct App {
  explicit App(const Platform& platform);
  App(const App&) = delete;
  App& operator=(const App&) = delete;

  // Begins to serve, to resume and to enforce, in the order that the services need.
  void start(Lifecycle::Launch launch = Lifecycle::Launch::shown);

 private:
  // Bound once, in the constructor.
  TimerService::Neighbours timerNeighbours_;
  SiteBlockEngine::Neighbours engineNeighbours_;
  WebsiteBlockerService::Neighbours websiteNeighbours_;
  BlockingCoordinator::Neighbours coordinatorNeighbours_;
  ScheduleService::Neighbours scheduleNeighbours_;
  LateRef<Lifecycle::Schedule> lifecycleSchedule_;

 public:
  LateRef<ModuleStore::Commitment> commitment;  // unbound while there is none
  // The timer restores its position before the presets load: a mission cut short by a crash takes
  // its context with it.
  TimerService timer;
  BlocklistStore lists;
  FocusPresetStore presets;
  ModuleStore modules;
  StoredSwitch uses24HourTime;
  BlockPageServer blockPage;
  SiteBlockEngine engine;
  BrowserMonitorService monitor;
  BlockCover cover;
  AppBlockerService appBlocker;
  WebsiteBlockerService websites;
  FocusSessionCoordinator screens;
  ScheduleService schedule;
  MissionEditing missions;
  SyncBridge sync;
  BlockingCoordinator coordinator;
  LaunchAtLogin launchAtLogin;
  Lifecycle lifecycle;

 private:
  AppBlockerBinding appBlockerBinding_{appBlocker};
  WebsiteBlockerBinding websiteBinding_{websites};
};

}  // namespace velmora
