#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/Property.h"

namespace velmora {

// A browser that is connected to the program right now.
struct LinkedBrowser {
  struct Tab {
    std::string windowID;
    std::string address;
    bool isPrivate = false;
    bool isMinimised = false;
    bool operator==(const Tab&) const = default;
  };
  std::string bundleID;
  std::string version;           // the browser's own, empty when it does not tell
  std::string extensionVersion;
  bool privateAllowed = false;   // whether private windows can be seen
  int32_t pid = 0;
  std::vector<Tab> tabs;         // the tab that each window shows
  bool operator==(const LinkedBrowser&) const = default;
};

// Which browsers can be read and redirected. Main thread only.
class BrowserLinks {
 public:
  virtual ~BrowserLinks() = default;
  virtual const Property<std::vector<LinkedBrowser>>& linked() const = 0;
};

}  // namespace velmora
