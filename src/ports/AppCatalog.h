#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "ports/BrowserControl.h"

namespace velmora {

// What the platform knows of applications. Immutable.
class AppCatalog {
 public:
  virtual ~AppCatalog() = default;
  // The browsers whose tabs can be read, in the order in which they are read and judged.
  virtual const std::vector<Browser>& browsers() const = 0;
  // Every known browser, also those that can't be read.
  virtual const std::set<std::string>& browserBundleIDs() const = 0;
  // Folds every alias of an application into one identity; an unknown one is kept as it is.
  virtual std::string canonicalID(std::string_view id) const = 0;
};

}  // namespace velmora
