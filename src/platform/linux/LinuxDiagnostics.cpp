#include "platform/linux/LinuxDiagnostics.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "base/Text.h"
#include "platform/linux/BrowserInstallations.h"

namespace velmora {
namespace {

using Grade = Finding::Grade;
using Packaging = BrowserInstallation::Packaging;

bool isSet(const char* variable) {
  const char* value = std::getenv(variable);
  return value && *value;
}

bool isInstalled(const char* program) {
  for (const auto& folder : BrowserInstallations::Environment::current().path)
    if (access((folder + "/" + program).c_str(), X_OK) == 0) return true;
  return false;
}

}  // namespace

LinuxDiagnostics::LinuxDiagnostics(const LinuxAppCatalog& catalog, Desktop& desktop,
                                   const BrowserLinks& links, std::string host)
    : catalog_(catalog), desktop_(desktop), links_(links), host_(std::move(host)) {}

std::vector<Finding> LinuxDiagnostics::examine() {
  std::vector<Finding> all{windows()};
  for (auto& finding : browsers()) all.push_back(std::move(finding));
  all.push_back(applications(all.front().grade));
  all.push_back(players());
  return all;
}

Finding LinuxDiagnostics::windows() {
  const auto snapshot = desktop_.snapshot({});
  if (snapshot.windows) {
    const std::string count = std::to_string(snapshot.windows->size()) + " window(s) on " +
                              std::to_string(snapshot.displays.size()) + " display(s) in sight";
    if (snapshot.displays.empty())
      return {Grade::limited, "Windows",
              "the session is locked, not on the console, or its displays sleep", ""};
    if (isSet("WAYLAND_DISPLAY"))
      return {Grade::limited, "Windows",
              "Wayland: only windows of X11 programs can be seen (" + count + ")",
              "log in to an X11 session, or start the browser as an X11 program"};
    return {Grade::works, "Windows", count, ""};
  }
  if (isSet("WAYLAND_DISPLAY"))
    return {Grade::missing, "Windows", "this Wayland session shows no windows to other programs",
            "log in to an X11 session"};
  return {Grade::missing, "Windows", "no X server can be reached",
          "start Velmora inside a desktop session, where DISPLAY is set"};
}

Finding LinuxDiagnostics::applications(Grade windows) {
  if (windows == Grade::missing)
    return {windows, "Applications", "without their windows no application is found or closed", ""};
  return {Grade::works, "Applications",
          "closed when a window of theirs opens; terminals and what runs inside them count as one",
          ""};
}

std::vector<Finding> LinuxDiagnostics::browsers() {
  std::vector<Finding> all;
  const BrowserInstallations installations(BrowserInstallations::Environment::current(), host_);
  const auto linked = links_.linked();
  for (const auto& browser : installations.find()) {
    const auto link = std::ranges::find(linked, browser.bundleID, &LinkedBrowser::bundleID);
    const std::string topic = browser.name;
    if (link != linked.end()) {
      all.push_back({link->privateAllowed ? Grade::works : Grade::limited, topic,
                     link->privateAllowed ? "linked" : "linked; private windows are out of sight",
                     link->privateAllowed ? ""
                                          : "allow the extension in private windows, in the "
                                            "browser's extension settings"});
    } else if (browser.packaging == Packaging::flatpak ||
               (browser.packaging == Packaging::snap &&
                browser.kind == BrowserInstallation::Kind::chromium)) {
      all.push_back({Grade::missing, topic, "its sandbox cannot start Velmora's link",
                     "install the browser as an ordinary package"});
    } else if (!installations.isLinked(browser)) {
      all.push_back({Grade::missing, topic, "not linked", "velmora install-browser-link"});
    } else {
      all.push_back({Grade::limited, topic,
                     "ready to be linked; not running, or without the extension",
                     "start it; if this stays, velmora install-browser-link tells how to add the "
                     "extension"});
    }
  }
  if (all.empty())
    all.push_back({Grade::missing, "Browsers", "none that can be linked was found",
                   "install Chromium or Firefox"});
  std::string names;
  for (const auto& name : catalog_.browsersWithoutLink())
    names += (names.empty() ? "" : ", ") + name;
  all.push_back({Grade::limited, "Other browsers", names + " cannot be read or redirected",
                 "use a linked browser during sessions"});
  return all;
}

Finding LinuxDiagnostics::players() {
  for (const auto* player : {"pw-play", "paplay", "aplay"})
    if (isInstalled(player)) return {Grade::works, "Sounds", std::string("played by ") + player, ""};
  return {Grade::limited, "Sounds", "no player found: phases end silently",
          "install pipewire-bin, pulseaudio-utils or alsa-utils"};
}

}  // namespace velmora
