#include "platform/linux/LinuxAppCatalog.h"

#include <algorithm>
#include <array>
#include <span>

#include "base/Text.h"
#include "platform/linux/DesktopEntries.h"
#include "platform/linux/ProtectedApplications.h"

namespace velmora {
namespace {

using Names = std::array<std::string_view, 6>;  // unused places are empty

struct LinkedBrowser {
  std::string_view name;
  std::string_view id;
  bool isSafari;
  bool reportsBounds;
  Names aliases;
};

// In the order in which their tabs are read and judged. "Navigator" is a window instance that all
// of Firefox's relatives share, so it names none of them.
constexpr LinkedBrowser kLinked[] = {
    {"Brave Browser", "com.brave.Browser", false, true, {"brave-browser", "brave"}},
    {"Arc", "company.thebrowser.Browser", false, false, {}},
    {"Google Chrome",
     "com.google.Chrome",
     false,
     true,
     {"google-chrome", "google-chrome-stable", "google-chrome-beta", "google-chrome-unstable",
      "chrome"}},
    {"Microsoft Edge",
     "com.microsoft.edgemac",
     false,
     true,
     {"microsoft-edge", "microsoft-edge-stable", "microsoft-edge-beta", "microsoft-edge-dev",
      "com.microsoft.Edge", "msedge"}},
    {"Safari", "com.apple.Safari", true, true, {}},
    {"Chromium",
     "org.chromium.Chromium",
     false,
     true,
     {"chromium", "chromium-browser", "chromium_chromium"}},
    {"Vivaldi", "com.vivaldi.Vivaldi", false, true, {"vivaldi-stable", "vivaldi", "vivaldi-bin"}},
    {"Opera", "com.operasoftware.Opera", false, true, {"opera", "com.opera.Opera"}},
    {"Firefox",
     "org.mozilla.firefox",
     false,
     true,
     {"firefox", "firefox-esr", "firefox_firefox", "firefox-bin"}},
};

struct KnownApplication {
  std::string_view name;
  std::string_view id;
  Names aliases;
};

constexpr KnownApplication kElsewhere[] = {
    {"Google Chrome Canary", "com.google.Chrome.canary", {}},
    {"Orion", "com.kagi.kagimacOS", {}},
};

constexpr KnownApplication kWithoutLink[] = {
    {"LibreWolf", "librewolf", {"io.gitlab.librewolf-community"}},
    {"GNOME Web", "org.gnome.Epiphany", {"epiphany", "epiphany-browser"}},
    {"Falkon", "org.kde.falkon", {"falkon"}},
    {"Konqueror", "org.kde.konqueror", {"konqueror"}},
    {"qutebrowser", "org.qutebrowser.qutebrowser", {"qutebrowser"}},
};

constexpr KnownApplication kOthers[] = {
    {"Velmora", "com.velmora.app", {"velmora", "velmora-window"}},
    {"Discord",
     "com.hnc.Discord",
     {"discord", "com.discordapp.Discord", "discord_discord"}},
    {"WhatsApp", "net.whatsapp.WhatsApp", {}},
    {"OBS Studio", "com.obsproject.obs-studio", {"obs", "com.obsproject.Studio"}},
    {"Slack", "com.tinyspeck.slackmacgap", {"slack", "com.slack.Slack", "slack_slack"}},
    {"Spotify", "com.spotify.client", {"spotify", "spotify_spotify", "com.spotify.Client"}},
};

// Identities are ASCII; other letters keep their case.
std::string lowercase(std::string_view id) {
  std::string out(id);
  std::ranges::transform(out, out.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return out;
}

std::string_view withoutDesktopSuffix(std::string_view id) {
  constexpr std::string_view suffix = ".desktop";
  if (id.size() > suffix.size() && lowercase(id).ends_with(suffix)) id.remove_suffix(suffix.size());
  return id;
}

}  // namespace

LinuxAppCatalog::LinuxAppCatalog(const DesktopEntries* installed) : installed_(installed) {
  const auto learn = [this](std::string_view id, std::span<const std::string_view> aliases) {
    canonical_.emplace(lowercase(id), id);
    for (const std::string_view alias : aliases) {
      if (!alias.empty()) canonical_.emplace(lowercase(alias), id);
    }
  };
  const auto learnAll = [&](std::span<const KnownApplication> applications, bool areBrowsers) {
    for (const auto& application : applications) {
      learn(application.id, application.aliases);
      if (areBrowsers) browserBundleIDs_.emplace(application.id);
    }
  };
  for (const auto& browser : kLinked) {
    browsers_.push_back({std::string(browser.name), std::string(browser.id), browser.isSafari,
                         browser.reportsBounds});
    browserBundleIDs_.emplace(browser.id);
    learn(browser.id, browser.aliases);
  }
  learnAll(kElsewhere, true);
  learnAll(kWithoutLink, true);
  learnAll(kOthers, false);
  for (const auto& application : protectedApplications()) {
    learn(application.id, text::split(application.names, ' '));
    protectedBundleIDs_.emplace(application.id);
  }
}

std::string LinuxAppCatalog::canonicalID(std::string_view id) const {
  return known(id).value_or(std::string(withoutDesktopSuffix(id)));
}

std::optional<std::string> LinuxAppCatalog::known(std::string_view id) const {
  id = withoutDesktopSuffix(id);
  if (id.empty()) return std::nullopt;
  if (const std::string* listed = find(id)) return *listed;
  return installed_ ? folded(installed_->named(id)) : std::nullopt;
}

std::optional<std::string> LinuxAppCatalog::ofProgram(std::string_view program) const {
  if (program.empty()) return std::nullopt;
  if (const std::string* listed = find(program)) return *listed;
  return installed_ ? folded(installed_->startedBy(program)) : std::nullopt;
}

std::vector<std::string> LinuxAppCatalog::browsersWithoutLink() const {
  std::vector<std::string> names;
  for (const auto& browser : kWithoutLink) names.emplace_back(browser.name);
  return names;
}

std::optional<std::string> LinuxAppCatalog::folded(std::optional<std::string> desktopID) const {
  const std::string* listed = desktopID ? find(*desktopID) : nullptr;
  return listed ? std::optional(*listed) : desktopID;
}

const std::string* LinuxAppCatalog::find(std::string_view id) const {
  const auto found = canonical_.find(lowercase(id));
  return found == canonical_.end() ? nullptr : &found->second;
}

}  // namespace velmora
