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

std::vector<Finding> LinuxDiagnostics::examine() {
  std::vector<Finding> all{windows()};
  for (auto& finding : browsers()) all.push_back(std::move(finding));
  all.push_back(applications(all.front().grade));
  all.push_back(statusItem());
  all.push_back(guardian());
  all.push_back(ownersProof());
  all.push_back(players());
  return all;
}

Finding LinuxDiagnostics::windows() {
  const auto snapshot = subjects_.desktop.snapshot({});
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
  const BrowserInstallations installations(BrowserInstallations::Environment::current(),
                                           subjects_.host);
  const auto linked = subjects_.links.linked();
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
  for (const auto& name : subjects_.catalog.browsersWithoutLink())
    names += (names.empty() ? "" : ", ") + name;
  all.push_back({Grade::limited, "Other browsers", names + " cannot be read or redirected",
                 "use a linked browser during sessions"});
  return all;
}

Finding LinuxDiagnostics::statusItem() const {
  switch (subjects_.statusItem.place()) {
    case DesktopStatusItem::Place::panel:
      return {Grade::works, "Status item", "shown by the panel", ""};
    case DesktopStatusItem::Place::tray:
      return {Grade::works, "Status item", "shown in the system tray", ""};
    case DesktopStatusItem::Place::nowhere:
      break;
  }
  return {Grade::limited, "Status item", "no panel of this desktop shows it",
          "add a system tray to the panel, or the AppIndicator extension to GNOME"};
}

Finding LinuxDiagnostics::guardian() const {
  if (access(subjects_.userManager.c_str(), F_OK) == 0)
    return {Grade::works, "Guardian",
            "in a hard session a timer of the user manager brings Velmora back within 15 seconds",
            ""};
  return {Grade::works, "Guardian",
          "in a hard session a process of our own brings Velmora back within 15 seconds", ""};
}

// The question that polkit asks is described by a file which only an administrator can place.
Finding LinuxDiagnostics::ownersProof() {
  if (access("/usr/share/polkit-1/actions/com.velmora.app.policy", R_OK) == 0)
    return {Grade::works, "Owner's proof", "polkit asks for it when a session is to be stopped", ""};
  return {Grade::missing, "Owner's proof",
          "polkit does not know the question, so a session can't be stopped that way",
          "sudo cp share/velmora/desktop/com.velmora.app.policy /usr/share/polkit-1/actions/"};
}

Finding LinuxDiagnostics::players() {
  for (const auto* player : {"pw-play", "paplay", "aplay"})
    if (isInstalled(player)) return {Grade::works, "Sounds", std::string("played by ") + player, ""};
  return {Grade::limited, "Sounds", "no player found: phases end silently",
          "install pipewire-bin, pulseaudio-utils or alsa-utils"};
}

}  // namespace velmora
