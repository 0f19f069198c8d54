#pragma once

#include <string>

#include "ports/AppCatalog.h"
#include "ports/Applications.h"
#include "ports/Authentication.h"
#include "ports/BrowserControl.h"
#include "ports/Clipboard.h"
#include "ports/Clock.h"
#include "ports/CoverPanels.h"
#include "ports/Desktop.h"
#include "ports/Files.h"
#include "ports/InstalledApplications.h"
#include "ports/LaunchAgent.h"
#include "ports/Listeners.h"
#include "ports/Log.h"
#include "ports/Notifications.h"
#include "ports/Preferences.h"
#include "ports/Random.h"
#include "ports/RunLoop.h"
#include "ports/ScheduleAgent.h"
#include "ports/Sounds.h"
#include "ports/StatusItem.h"

namespace velmora {

// What an App needs of the system that it runs on. Everything outlives the App.
struct Platform {
  Clock& clock;
  RunLoop& loop;
  SerialQueue& blockPageQueue;
  SerialQueue& scanQueue;  // reads the disk for the pickers
  Preferences& preferences;
  Random& random;
  Desktop& desktop;
  BrowserControl& browsers;
  CoverPanels& coverPanels;
  Applications& applications;
  const InstalledApplications& installed;
  const AppCatalog& catalog;
  Listeners& listeners;
  Files& files;
  Notifications& notifications;
  Sounds& sounds;
  Clipboard& clipboard;
  Log& log;
  StatusItem& statusItem;
  LaunchAgent& guardian;    // brings the program back when it is killed
  LaunchAgent& loginAgent;  // starts it at login
  ScheduleAgent& scheduleAgent;  // starts it for a mission
  Authentication& authentication;
  SerialQueue& agentQueue;  // of all agents
  std::string blockPage;   // the wall, as HTML
  std::string homeDomain;  // the product's own web domain
};

}  // namespace velmora
