#include "shell/Resident.h"

#include <csignal>
#include <cstdio>
#include <memory>

#include "app/App.h"
#include "control/CommandTable.h"
#include "control/ControlServer.h"
#include "control/StateDocument.h"
#include "platform/linux/BrowserLink.h"
#include "platform/linux/DesktopNotifications.h"
#include "platform/linux/EventLoop.h"
#include "platform/linux/InstanceLock.h"
#include "platform/linux/LinuxAppCatalog.h"
#include "platform/linux/LinuxDiagnostics.h"
#include "platform/linux/LogindSession.h"
#include "platform/linux/Paths.h"
#include "platform/linux/ProcessIdentity.h"
#include "platform/linux/SocketListeners.h"
#include "platform/linux/SqlitePreferences.h"
#include "platform/linux/SystemClock.h"
#include "platform/linux/SystemLog.h"
#include "platform/linux/SystemRandom.h"
#include "platform/linux/ThemeSounds.h"
#include "platform/linux/WorkerQueue.h"
#include "platform/linux/X11Desktop.h"
#include "shell/LocalCommands.h"
#include "velmora_resources.h"

namespace velmora {
namespace {

constexpr Seconds kQuitDelay(0.05);  // for the answer to reach whoever asked

// The real platform, with an App on it. Members are in the order in which they need each other.
class Resident {
 public:
  Resident(const std::string& dataFolder, const std::string& runtimeFolder)
      : preferences_(SqlitePreferences::open(dataFolder + "/preferences.sqlite3", log_)),
        pageQueue_("blockpage"),
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
        notifications_(loop_, log_),
        sounds_(loop_, log_, local::shareFolder() + "/sounds"),
        app_(Platform{clock_, loop_, pageQueue_, *preferences_, random_, desktop_, link_, catalog_,
                      listeners_, notifications_, sounds_, log_,
                      std::string(resources::blockPage()), VELMORA_HOME_DOMAIN}),
        diagnostics_(catalog_, desktop_, link_, local::programFolder() + "/velmora-browser-host"),
        state_(app_, catalog_, link_, VELMORA_VERSION),
        commands_({app_, catalog_, *preferences_, state_, diagnostics_, [this] { quitSoon(); }}),
        control_(listeners_, loop_, log_, commands_, state_) {}

  int run() {
    std::string error;
    if (!link_.listen(listeners_, error)) log_.notice("No browser can be linked: " + error);
    control_.start();
    app_.start();
    signals_ = loop_.onSignal({SIGTERM, SIGINT, SIGHUP}, [this](int) { end(); });
    loop_.run();
    return 0;
  }

 private:
  void quitSoon() {
    quit_ = loop_.after(kQuitDelay, [this] { end(); });
  }
  void end() {
    app_.lifecycle.stop();
    loop_.quit();
  }

  SystemLog log_;
  SystemClock clock_;
  SystemRandom random_;
  LinuxAppCatalog catalog_;
  ProcSource processes_;
  std::unique_ptr<SqlitePreferences> preferences_;
  EventLoop loop_;
  WorkerQueue pageQueue_;
  SocketListeners listeners_;
  LogindSession session_;
  X11Desktop desktop_;
  ProcessIdentity identity_;
  BrowserLink link_;
  DesktopNotifications notifications_;
  ThemeSounds sounds_;
  App app_;
  LinuxDiagnostics diagnostics_;
  StateDocument state_;
  CommandTable commands_;
  ControlServer control_;
  Subscription quit_;
  Subscription signals_;
};

int cannot(const std::string& why) {
  std::fprintf(stderr, "velmora: %s\n", why.c_str());
  return 1;
}

}  // namespace

std::string controlSocketPath() {
  std::string error;
  const auto folder = paths::runtimeFolder(error);
  return folder ? *folder + "/" + std::string(ControlServer::socketName) + ".sock" : "";
}

int runResident() {
  // A display server that dies while we write to it must not take us along.
  std::signal(SIGPIPE, SIG_IGN);
  std::string error;
  const auto data = paths::dataFolder(error);
  if (!data) return cannot(error);
  const auto runtime = paths::runtimeFolder(error);
  if (!runtime) return cannot(error);
  const auto lock = InstanceLock::acquire(*data + "/velmora.lock");
  if (!lock) return cannot("Velmora is already running. Try: velmora status");
  return std::make_unique<Resident>(*data, *runtime)->run();
}

}  // namespace velmora
