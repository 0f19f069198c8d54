#include "shell/Resident.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <memory>
#include <utility>
#include <vector>

#include "app/App.h"
#include "control/CommandTable.h"
#include "control/ControlServer.h"
#include "control/StateDocument.h"
#include "platform/linux/BrowserLink.h"
#include "platform/linux/CommandProcesses.h"
#include "platform/linux/DesktopActivation.h"
#include "platform/linux/DesktopEntries.h"
#include "platform/linux/DesktopNotifications.h"
#include "platform/linux/DesktopStatusItem.h"
#include "platform/linux/DisplayWatch.h"
#include "platform/linux/EventLoop.h"
#include "platform/linux/InstalledDesktopFiles.h"
#include "platform/linux/InstanceLock.h"
#include "platform/linux/LaunchAgents.h"
#include "platform/linux/LinuxAppCatalog.h"
#include "platform/linux/LinuxDiagnostics.h"
#include "platform/linux/LinuxScheduleAgent.h"
#include "platform/linux/LogindSession.h"
#include "platform/linux/Paths.h"
#include "platform/linux/PolkitAuthentication.h"
#include "platform/linux/ProcessIdentity.h"
#include "platform/linux/ScheduleTable.h"
#include "platform/linux/SocketListeners.h"
#include "platform/linux/SqlitePreferences.h"
#include "platform/linux/SystemClock.h"
#include "platform/linux/SystemFiles.h"
#include "platform/linux/SystemLog.h"
#include "platform/linux/SystemRandom.h"
#include "platform/linux/ThemeSounds.h"
#include "platform/linux/WorkerQueue.h"
#include "platform/linux/X11Applications.h"
#include "platform/linux/X11Clipboard.h"
#include "platform/linux/X11CoverPanels.h"
#include "platform/linux/X11Desktop.h"
#include "shell/ControlClient.h"
#include "shell/LocalCommands.h"
#include "shell/WindowHost.h"
#include "velmora_resources.h"

namespace velmora {
namespace {

constexpr Seconds kQuitDelay(0.05);  // for the answer to reach whoever asked
constexpr Seconds kStopPatience(3);  // for the blocks to lift before we end all the same
// A display server that is gone for so long has not just crashed: the desktop session is over.
constexpr Seconds kDisplayPatience(10);
constexpr int kReopenTries = 20;  // of a tenth of a second, while the other one is starting

// The real platform, with an App on it. Members are in the order in which they need each other.
class Resident {
 public:
  Resident(const std::string& dataFolder, const std::string& runtimeFolder)
      : preferences_(SqlitePreferences::open(dataFolder + "/preferences.sqlite3", log_)),
        pageQueue_("blockpage"),
        scanQueue_("scan"),
        listeners_(runtimeFolder, {SocketLane(loop_), SocketLane(pageQueue_)}),
        session_(loop_),
        desktop_(loop_, catalog_, clock_,
                 {.onConsoleAndUnlocked = [this] { return session_.onConsoleAndUnlocked(); }}),
        identity_(catalog_, processes_),
        link_(loop_, desktop_, log_,
              {.parentOf = parentProcess,
               .identityOf =
                   [this](int32_t pid) {
                     identity_.recheck(pid);
                     return identity_.of(pid, "", "");
                   }}),
        coverPanels_(loop_, clock_),
        applications_(loop_, desktop_),
        notifications_(loop_, log_),
        sounds_(loop_, log_, local::shareFolder() + "/sounds"),
        clipboard_(loop_),
        statusItem_(loop_),
        guardian_(AgentPlaces::current(local::residentProgram()), commandLine_),
        loginAgent_(AgentPlaces::current(local::residentProgram())),
        scheduleAgent_(AgentPlaces::current(local::residentProgram()),
                       scheduleTablePath(dataFolder), commandLine_, agentClock_),
        authentication_(loop_, log_),
        agentQueue_("keepalive"),
        app_(Platform{clock_, loop_, pageQueue_, scanQueue_, *preferences_, random_, desktop_,
                      link_, coverPanels_, applications_, installed_, catalog_, listeners_, files_,
                      notifications_, sounds_, clipboard_, log_, statusItem_, guardian_,
                      loginAgent_, scheduleAgent_, authentication_, agentQueue_,
                      std::string(resources::blockPage()), VELMORA_HOME_DOMAIN}),
        diagnostics_({catalog_, desktop_, link_, statusItem_,
                      local::programFolder() + "/velmora-browser-host",
                      AgentPlaces::current(local::residentProgram()).userManager}),
        state_(app_, catalog_, link_, VELMORA_VERSION),
        commands_({app_, catalog_, *preferences_, state_, diagnostics_, authentication_,
                   [this] { quitSoon(); }, local::installBrowserLink}),
        control_(listeners_, loop_, log_, commands_, state_),
        window_(loop_, log_,
                {local::programFolder() + "/velmora-window", "--resident",
                 std::to_string(getpid()), "--socket", controlSocketPath()}),
        activation_(loop_, [this] { app_.lifecycle.applicationShouldHandleReopen(); }),
        display_(loop_, kDisplayPatience, [this] { end(); }) {}

  int run(Lifecycle::Launch launch) {
    std::string error;
    if (!link_.listen(listeners_, error)) log_.notice("No browser can be linked: " + error);
    control_.start();
    hostWindow();
    app_.start(launch);
    agentQueue_.post([this] { guardian_.revive(); });
    stopped_ = app_.lifecycle.hasStopped.onWrite([this](bool) { loop_.quit(); });
    // A mission that is due by now does not wait for its second.
    awakenings_ =
        session_.awakenings().onWrite([this](const auto&) { app_.schedule.tick(); });
    signals_ = loop_.onSignal({SIGTERM, SIGINT, SIGHUP}, [this](int) { end(); });
    loop_.run();
    return 0;
  }

 private:
  void quitSoon() {
    quit_ = loop_.after(kQuitDelay, [this] {
      if (app_.lifecycle.applicationShouldTerminate()) end();
    });
  }
  // The desktop, the system or a signal: never refused.
  void end() {
    if (std::exchange(isEnding_, true)) return;
    quit_ = loop_.after(kStopPatience, [this] { loop_.quit(); });
    app_.lifecycle.stop();
  }

  // The window process follows what is to be seen.
  void hostWindow() {
    const auto update = [this](const auto&) { updateWindow(); };
    windowNews_.push_back(app_.lifecycle.isWindowWanted.observe(update));
    windowNews_.push_back(app_.screens.gateReason.observe(update));
    windowNews_.push_back(session_.screenLock().observe(
        [this](ScreenLock lock) { app_.screens.setScreenLock(lock); }));
    windowNews_.push_back(app_.screens.isHUDShowing.observe(update));
    windowNews_.push_back(app_.screens.scheduledTransition.observe(update));
    windowNews_.push_back(
        app_.lifecycle.windowRequests.onWrite([this](const auto&) { window_.request(); }));
    windowNews_.push_back(
        app_.lifecycle.windowSigns.onWrite([this](const auto&) { window_.noteSign(); }));
  }
  void updateWindow() {
    const auto& screens = app_.screens;
    const bool isGate = screens.isGateShowing();
    window_.setWanted({.any = isGate || app_.lifecycle.isWindowWanted.get() ||
                              screens.isHUDShowing.get() || screens.scheduledTransition.get(),
                       .gate = isGate});
  }

  SystemLog log_;
  SystemClock clock_;
  SystemRandom random_;
  DesktopEntries entries_{DesktopEntries::Environment::current()};
  LinuxAppCatalog catalog_{&entries_};
  InstalledDesktopFiles installed_{catalog_, entries_};
  ProcSource processes_;
  std::unique_ptr<SqlitePreferences> preferences_;
  EventLoop loop_;
  WorkerQueue pageQueue_;
  WorkerQueue scanQueue_;
  SocketListeners listeners_;
  LogindSession session_;
  X11Desktop desktop_;
  ProcessIdentity identity_;
  BrowserLink link_;
  X11CoverPanels coverPanels_;
  X11Applications applications_;
  SystemFiles files_;
  DesktopNotifications notifications_;
  ThemeSounds sounds_;
  X11Clipboard clipboard_;
  DesktopStatusItem statusItem_;
  CommandProcesses commandLine_;
  GuardianAgent guardian_;
  LoginAgent loginAgent_;
  SystemClock agentClock_;  // of the queue of agents
  LinuxScheduleAgent scheduleAgent_;
  PolkitAuthentication authentication_;
  WorkerQueue agentQueue_;
  App app_;
  LinuxDiagnostics diagnostics_;
  StateDocument state_;
  CommandTable commands_;
  ControlServer control_;
  WindowHost window_;
  DesktopActivation activation_;
  DisplayWatch display_;
  std::vector<Subscription> windowNews_;
  bool isEnding_ = false;
  Subscription quit_;
  Subscription stopped_;
  Subscription awakenings_;
  Subscription signals_;
};

int cannot(const std::string& why) {
  std::fprintf(stderr, "velmora: %s\n", why.c_str());
  return 1;
}

// Another one is resident: the user sees its window. It may be starting, or just ending.
int reopen() {
  for (int tries = 0; tries < kReopenTries; ++tries) {
    if (auto client = ControlClient::connect(controlSocketPath())) {
      const auto result = client->run("window", {"show"});
      return result.status == 0 ? 0 : cannot(result.error);
    }
    usleep(100'000);
  }
  return cannot("Velmora is already running, but does not answer");
}

}  // namespace

std::string controlSocketPath() {
  std::string error;
  const auto folder = paths::runtimeFolder(error);
  return folder ? *folder + "/" + std::string(ControlServer::socketName) + ".sock" : "";
}

std::string instanceLockPath(const std::string& dataFolder) {
  return dataFolder + "/velmora.lock";
}

std::string scheduleTablePath(const std::string& dataFolder) {
  return dataFolder + "/" + watch::kTableFile;
}

int runResident(Lifecycle::Launch launch) {
  // A display server that dies while we write to it must not take us along.
  std::signal(SIGPIPE, SIG_IGN);
  std::string error;
  const auto data = paths::dataFolder(error);
  if (!data) return cannot(error);
  const auto runtime = paths::runtimeFolder(error);
  if (!runtime) return cannot(error);
  const auto lock = InstanceLock::acquire(instanceLockPath(*data));
  if (!lock) return launch == Lifecycle::Launch::silent ? 0 : reopen();
  return std::make_unique<Resident>(*data, *runtime)->run(launch);
}

}  // namespace velmora
