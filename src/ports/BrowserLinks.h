#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/Property.h"

namespace velmora {

// A browser whose extension is linked to us, for the eyes of the user.
struct LinkedBrowser {
  struct Page {
    std::string address;
    std::string title;
    bool isPrivate = false;
    bool operator==(const Page&) const = default;
  };
  std::string bundleID;  // empty while nobody knows which application the process is
  int32_t pid = 0;
  // What the extension said of itself; all empty until it has.
  std::string kind;
  std::string version;
  std::string extensionVersion;
  bool privateAllowed = false;
  std::vector<Page> pages;  // what its windows show, minimised ones left out
  bool operator==(const LinkedBrowser&) const = default;
};

// Which browsers can be read and redirected right now. Main thread only.
class BrowserLinks {
 public:
  virtual ~BrowserLinks() = default;
  // In the order in which they came.
  virtual std::vector<LinkedBrowser> linked() const = 0;
  // Another number whenever linked() may have become another list.
  virtual const Property<uint64_t>& linkedRevision() const = 0;
};

}  // namespace velmora
