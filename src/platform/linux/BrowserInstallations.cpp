#include "platform/linux/BrowserInstallations.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "base/Json.h"
#include "base/Text.h"
#include "platform/linux/Paths.h"

namespace velmora {
namespace fs = std::filesystem;
namespace {

using Kind = BrowserInstallation::Kind;
using Packaging = BrowserInstallation::Packaging;

// Where each browser's user level manifests are is told by its maker's documentation of native
// messaging; the folders are below the configuration folder, Firefox's below the home folder.
struct Row {
  const char* name;
  const char* bundleID;
  Kind kind;
  const char* folder;
  std::vector<const char*> executables;
  const char* flatpak;
};

const std::vector<Row>& rows() {
  static const std::vector<Row> kRows{
      {"Brave Browser", "com.brave.Browser", Kind::chromium, "BraveSoftware/Brave-Browser",
       {"brave-browser", "brave"}, "com.brave.Browser"},
      {"Google Chrome", "com.google.Chrome", Kind::chromium, "google-chrome",
       {"google-chrome-stable", "google-chrome"}, "com.google.Chrome"},
      {"Google Chrome Beta", "com.google.Chrome", Kind::chromium, "google-chrome-beta",
       {"google-chrome-beta"}, ""},
      {"Google Chrome Dev", "com.google.Chrome", Kind::chromium, "google-chrome-unstable",
       {"google-chrome-unstable"}, ""},
      {"Microsoft Edge", "com.microsoft.edgemac", Kind::chromium, "microsoft-edge",
       {"microsoft-edge-stable", "microsoft-edge"}, "com.microsoft.Edge"},
      {"Microsoft Edge Beta", "com.microsoft.edgemac", Kind::chromium, "microsoft-edge-beta",
       {"microsoft-edge-beta"}, ""},
      {"Microsoft Edge Dev", "com.microsoft.edgemac", Kind::chromium, "microsoft-edge-dev",
       {"microsoft-edge-dev"}, ""},
      {"Chromium", "org.chromium.Chromium", Kind::chromium, "chromium",
       {"chromium", "chromium-browser"}, "org.chromium.Chromium"},
      {"Vivaldi", "com.vivaldi.Vivaldi", Kind::chromium, "vivaldi",
       {"vivaldi-stable", "vivaldi"}, "com.vivaldi.Vivaldi"},
      {"Opera", "com.operasoftware.Opera", Kind::chromium, "opera", {"opera"}, "com.opera.Opera"},
      {"Firefox", "org.mozilla.firefox", Kind::firefox, ".mozilla/native-messaging-hosts",
       {"firefox", "firefox-esr"}, "org.mozilla.firefox"},
  };
  return kRows;
}

std::string environmentText(const char* name, std::string otherwise) {
  const char* value = std::getenv(name);
  return value && *value ? value : std::move(otherwise);
}

std::string fileText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream out;
  out << in.rdbuf();
  return out.str();
}

}  // namespace

std::string BrowserInstallation::manifestPath() const {
  return manifestFolder + "/" + BrowserInstallations::hostName + ".json";
}

BrowserInstallations::Environment BrowserInstallations::Environment::current() {
  Environment e;
  e.home = paths::home();
  e.configHome = environmentText("XDG_CONFIG_HOME", e.home + "/.config");
  const std::string path = environmentText("PATH", "/usr/local/bin:/usr/bin:/bin");
  for (const auto folder : text::split(path, ':'))
    if (!folder.empty()) e.path.emplace_back(folder);
  e.path.emplace_back("/snap/bin");
  e.flatpak = {environmentText("XDG_DATA_HOME", e.home + "/.local/share") + "/flatpak/app",
               "/var/lib/flatpak/app"};
  return e;
}

std::vector<BrowserInstallation> BrowserInstallations::find() const {
  std::vector<BrowserInstallation> found;
  const auto add = [&](const Row& row, Packaging packaging) {
    const std::string folder =
        row.kind == Kind::firefox
            ? environment_.home + "/" + row.folder
            : environment_.configHome + "/" + row.folder + "/NativeMessagingHosts";
    found.push_back({row.name, row.bundleID, row.kind, packaging, folder});
  };
  for (const Row& row : rows()) {
    std::string executable;
    for (const auto* name : row.executables)
      for (const auto& folder : environment_.path)
        if (executable.empty() && access((folder + "/" + name).c_str(), X_OK) == 0)
          executable = folder + "/" + name;
    if (!executable.empty()) {
      // Snap's launchers are all links to one program of that name.
      std::error_code error;
      const std::string real = fs::canonical(executable, error).string();
      const bool isSnap = executable.starts_with("/snap/") || real.starts_with("/snap/") ||
                          real.ends_with("/bin/snap");
      add(row, isSnap ? Packaging::snap : Packaging::native);
    }
    for (const auto& folder : environment_.flatpak)
      if (*row.flatpak && fs::is_directory(folder + "/" + row.flatpak)) {
        add(row, Packaging::flatpak);
        break;
      }
  }
  return found;
}

std::string BrowserInstallations::manifest(Kind kind) const {
  json::Value::Object out{{"name", hostName},
                          {"description", "Velmora's link to the browser"},
                          {"path", host_},
                          {"type", "stdio"}};
  if (kind == Kind::chromium)
    out.emplace_back("allowed_origins", json::Value::Array{std::string("chrome-extension://") +
                                                           chromiumExtension + "/"});
  else
    out.emplace_back("allowed_extensions", json::Value::Array{firefoxExtension});
  return json::dump(out) + "\n";
}

bool BrowserInstallations::isLinked(const BrowserInstallation& browser) const {
  return fileText(browser.manifestPath()) == manifest(browser.kind);
}

bool BrowserInstallations::link(const BrowserInstallation& browser, std::string& error) const {
  std::error_code problem;
  fs::create_directories(browser.manifestFolder, problem);
  const std::string path = browser.manifestPath();
  const std::string fresh = path + ".new";
  {
    std::ofstream out(fresh, std::ios::binary | std::ios::trunc);
    out << manifest(browser.kind);
    out.flush();
    if (!out) {
      error = path + ": " + std::strerror(errno);
      return false;
    }
  }
  fs::rename(fresh, path, problem);
  if (problem) error = path + ": " + problem.message();
  return !problem;
}

}  // namespace velmora
