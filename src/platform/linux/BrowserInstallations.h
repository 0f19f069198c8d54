#pragma once

#include <string>
#include <vector>

namespace velmora {

// A browser found on this machine that our extension can work in.
struct BrowserInstallation {
  enum class Kind { chromium, firefox };
  enum class Packaging { native, snap, flatpak };
  std::string name;
  std::string bundleID;
  Kind kind = Kind::chromium;
  Packaging packaging = Packaging::native;
  std::string manifestFolder;  // where this user's native messaging manifests are read

  std::string manifestPath() const;
};

// Finds browsers, and tells each how to reach our native messaging host.
class BrowserInstallations {
 public:
  struct Environment {
    std::string home;
    std::string configHome;            // $XDG_CONFIG_HOME, else ~/.config
    std::vector<std::string> path;     // folders of $PATH
    std::vector<std::string> flatpak;  // folders of installed flatpak applications
    static Environment current();
  };
  // `host` is the absolute path of the native messaging host.
  BrowserInstallations(Environment environment, std::string host)
      : environment_(std::move(environment)), host_(std::move(host)) {}

  static constexpr const char* hostName = "com.velmora.browser_host";
  static constexpr const char* chromiumExtension = "nkdpfmfnjaaoipnaclmafjfpkamnkpca";
  static constexpr const char* firefoxExtension = "browser-link@velmora.invalid";

  std::vector<BrowserInstallation> find() const;
  std::string manifest(BrowserInstallation::Kind kind) const;
  // Whether the manifest in place is the one that we would write.
  bool isLinked(const BrowserInstallation& browser) const;
  // Writes the manifest whole or not at all; false, with the reason in `error`, on failure.
  bool link(const BrowserInstallation& browser, std::string& error) const;

 private:
  Environment environment_;
  std::string host_;
};

}  // namespace velmora
