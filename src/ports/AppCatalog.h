#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "ports/BrowserControl.h"

namespace velmora {

// This program.
inline constexpr std::string_view kOwnBundleID = "com.velmora.app";

// What keeps a Mac usable, this program, and OBS, whose stream must never break off. Every platform
// protects these, since lists travel between a user's devices.
inline constexpr std::string_view kProtectedEverywhere[] = {
    kOwnBundleID,
    "com.apple.finder",
    "com.apple.dock",
    "com.apple.systemuiserver",
    "com.apple.controlcenter",
    "com.apple.notificationcenterui",
    "com.apple.loginwindow",
    "com.apple.WindowManager",
    "com.apple.Spotlight",
    "com.apple.preference.security",
    "com.apple.systempreferences",
    "com.apple.ScreenSaver.Engine",
    "com.obsproject.obs-studio",
};

// What the platform knows of applications. Safe from every thread; the references stay valid and
// their values as they are.
class AppCatalog {
 public:
  virtual ~AppCatalog() = default;
  // The browsers whose tabs can be read, in the order in which they are read and judged.
  virtual const std::vector<Browser>& browsers() const = 0;
  // Every known browser, also those that can't be read.
  virtual const std::set<std::string>& browserBundleIDs() const = 0;
  // What is never closed, whatever a list says.
  virtual const std::set<std::string>& protectedBundleIDs() const = 0;
  // Folds every alias of an application into one identity; an unknown one is kept as it is, but may
  // be known later, when the application has been installed.
  virtual std::string canonicalID(std::string_view id) const = 0;
};

}  // namespace velmora
